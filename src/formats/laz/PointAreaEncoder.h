#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "formats/laz/LazVlr.h"

namespace Formats::Laz {

/// Compresses the point area of a file, which begins with the place of the chunk table: the records go in,
/// the bytes behind that place come out. Records are kept back until there are chunks for all processors,
/// which are then encoded at once; the bytes do not depend on how many there are. Not to be used by two
/// threads at once.
class PointAreaEncoder {
 public:
  /// Bytes in front of the first chunk: where the chunk table begins in the file.
  static constexpr std::size_t kTablePlaceSize = 8;

  /// @param vlr  of a fixed chunk size; see encodeChunk().
  explicit PointAreaEncoder(LazVlr vlr);

  /// @param records  whole records.
  /// @return the chunks that are complete, often none; valid until the next call.
  [[nodiscard]] std::span<const std::byte> add(std::span<const std::byte> records);

  /// @return the rest of the chunks and their table; valid as long as this object. Once, and no more is
  /// added.
  [[nodiscard]] std::span<const std::byte> finish();

  /// Bytes of all chunks so far.
  [[nodiscard]] std::uint64_t chunkBytes() const { return chunkBytes_; }

 private:
  void encodePending();

  LazVlr vlr_;
  std::size_t chunkLength_;         // bytes of a chunk's records
  std::size_t pendingLimit_;        // bytes of the records that are encoded at once
  std::vector<std::byte> pending_;  // records
  std::vector<std::byte> encoded_;  // of the last call
  std::vector<std::size_t> chunkSizes_;
  std::uint64_t chunkBytes_ = 0;
};

}  // namespace Formats::Laz
