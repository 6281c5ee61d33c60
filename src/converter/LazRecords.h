#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "converter/LasRecords.h"
#include "converter/LazRuns.h"
#include "converter/LazSequence.h"
#include "core/FileSystem.h"
#include "formats/laz/ChunkDecoder.h"
#include "formats/laz/LazVlr.h"

namespace Converter {

/// Records that are compressed. A block is some whole chunks, which are decoded on the thread that asks for
/// them; the blocks of larger chunks, and of points whose chunks are not known, come out of a LazSequence.
/// What cannot be decoded is an InputLazDecodeError.
class LazRecords final : public LasRecords {
 public:
  /// @param file  outlives this.
  LazRecords(const Core::ReadableFile& file, std::string fileName, Formats::Laz::LazVlr vlr,
             std::vector<LazRun> runs, bool allowTruncated);
  ~LazRecords() override;

  [[nodiscard]] std::uint64_t numBlocks() const override { return blocks_.size(); }
  [[nodiscard]] std::size_t mostPointsOf(std::uint64_t block) const override;
  std::size_t read(std::uint64_t block, Fields fields, const Use& use) const override;

  /// Takes the first points of every k-th chunk, so that few chunks need to be decoded.
  void sample(std::size_t count, const Use& use) const override;

 private:
  struct Block {
    std::size_t numPoints = 0;
    std::size_t firstRun = 0;
    std::size_t numRuns = 0;          // whole chunks
    LazSequence* sequence = nullptr;  // or this, and
    std::uint64_t blockOfSequence = 0;
  };
  class Decoder;

  void addBlocks(std::size_t run);
  /// Whether a run is a chunk that is decoded at once.
  [[nodiscard]] bool isShort(const LazRun& run) const;
  [[nodiscard]] bool joinsLastBlock(std::size_t run) const;
  std::size_t sampleRun(const LazRun& run, std::size_t count, std::size_t first, const Use& use) const;
  std::size_t readChunks(const Block& block, Fields fields, const Use& use) const;
  /// Hands out the first points of a chunk whose bytes were fetched.
  void decode(Decoder& decoder, const LazRun& run, std::span<const std::byte> bytes, std::size_t numPoints,
              Fields fields, std::size_t first, const Use& use) const;
  [[nodiscard]] std::unique_ptr<Decoder> takeDecoder() const;
  void giveBack(std::unique_ptr<Decoder> decoder) const;

  const Core::ReadableFile& file_;
  std::string fileName_;
  Formats::Laz::LazVlr vlr_;
  std::size_t recordLength_;
  std::vector<LazRun> runs_;
  bool allowTruncated_;
  std::vector<Block> blocks_;
  std::vector<std::unique_ptr<LazSequence>> sequences_;

  mutable std::mutex mutex_;                                // guards what follows
  mutable std::vector<std::unique_ptr<Decoder>> decoders_;  // that no thread is using
};

}  // namespace Converter
