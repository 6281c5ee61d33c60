#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "brotli/BitWriter.h"
#include "brotli/BlockTypes.h"
#include "brotli/Commands.h"
#include "brotli/HistogramGroups.h"
#include "brotli/LengthCodes.h"
#include "brotli/LiteralContexts.h"
#include "brotli/PrefixCode.h"

namespace Brotli {

/// The last distances, latest first, as decoders keep them (RFC 7932, section 4).
using LastDistances = std::array<std::uint32_t, 4>;
inline constexpr LastDistances kFirstLastDistances{4, 11, 15, 16};

/// Writes meta-blocks (RFC 7932, section 9.2), none of them the last. Keeps memory for the next one, about
/// 24 bytes a command. Not to be used by two threads at once.
class MetaBlockWriter {
 public:
  static constexpr std::size_t kMostSegments = 128;
  static constexpr std::size_t kMostBytes = std::size_t{1} << 24U;

  /// Writes the bytes of @p block as its commands say, or as they stand where that is shorter.
  /// @param data       the stream from its first byte on.
  /// @param block      of at most kMostSegments and kMostBytes; its commands give its bytes.
  /// @param distances  those of the decoder, before and after.
  void write(std::span<const std::byte> data, const MetaBlock& block, LastDistances& distances,
             BitWriter& out);

 private:
  struct CodedCommand {
    std::uint64_t lengthExtra;  // of both lengths
    std::uint32_t distanceExtra;
    std::uint16_t symbol;
    std::uint16_t distanceSymbol;  // kNoSymbol where the copy says it all
    std::uint8_t lengthExtraBits;
    std::uint8_t distanceExtraBits;
  };
  static constexpr std::uint16_t kNoSymbol = 0xFFFF;

  void codeCommands(const MetaBlock& block, LastDistances& lastDistances);
  void modelLiterals(std::span<const std::byte> data, const MetaBlock& block);
  void chooseBlockTypes(const MetaBlock& block);
  void describe(const MetaBlock& block, BitWriter& out);
  [[nodiscard]] std::uint64_t bodyBits() const;
  void writeBody(std::span<const std::byte> data, const MetaBlock& block, BitWriter& out);
  [[nodiscard]] std::size_t writeWithinBlocks(std::span<const std::byte> data, const MetaBlock& block,
                                              std::size_t first, std::size_t& position, BitWriter& out);
  void writeAcrossBlocks(std::span<const std::byte> data, std::size_t position, const Command& command,
                         const CodedCommand& coded, BitWriter& out);
  void enterLiteralBlock(BitWriter& out);
  void chooseLiteralCodes();
  void addLiterals(std::span<const std::byte> data, std::size_t begin, std::size_t end, BitCursor& out) const;

  DistanceCodes coding_;
  std::vector<CodedCommand> coded_;
  std::uint64_t extraBits_ = 0;  // of lengths and distances

  // A part for each segment; of literals, for each cluster of each type.
  HistogramGroups commands_;
  HistogramGroups distances_;
  HistogramGroups literals_;
  std::vector<std::uint32_t> numLiterals_;
  std::vector<std::size_t> literalTypeOf_;
  struct LiteralType {
    LiteralModel model;
    std::size_t firstCluster = 0;  // in literals_
  };
  std::vector<LiteralType> literalTypes_;

  BlockTypes commandBlocks_;
  BlockTypes distanceBlocks_;
  BlockTypes literalBlocks_;
  std::vector<std::uint8_t> literalTrees_;   // of each type and context
  std::vector<std::uint8_t> distanceTrees_;  // of each type and context
  std::vector<PrefixCode> commandCodes_;
  std::vector<PrefixCode> distanceCodes_;
  std::vector<PrefixCode> literalCodes_;

  // Of the literal block that is being written.
  const ContextTable* contexts_ = nullptr;  // none where all contexts have one code
  std::array<const PrefixCode*, kNumContexts> codeOfContext_{};
};

}  // namespace Brotli
