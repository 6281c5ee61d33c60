#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "formats/laz/LazVlr.h"

namespace Formats::Laz {

/// Compresses chunks, each of whose bytes depend on its records alone. Keeps its memory, of some megabytes,
/// from chunk to chunk. Threads: for one at a time.
class ChunkEncoder {
 public:
  ChunkEncoder() = default;
  virtual ~ChunkEncoder() = default;
  ChunkEncoder(const ChunkEncoder&) = delete;
  ChunkEncoder& operator=(const ChunkEncoder&) = delete;

  /// @param records  whole records, at least one.
  /// @return the chunk's bytes; valid until the next call.
  /// @throws std::invalid_argument for records that are not whole ones.
  [[nodiscard]] virtual std::span<const std::byte> encode(std::span<const std::byte> records) = 0;
};

/// @param vlr  as lazVlrFor() gives it for a point format of 0 to 3 or 6 to 8.
/// @throws std::invalid_argument for items that are not written.
[[nodiscard]] std::unique_ptr<ChunkEncoder> makeChunkEncoder(const LazVlr& vlr);

/// The table that stands behind chunks of a fixed number of points.
/// @param chunkSizes  bytes of each, below 2^32.
[[nodiscard]] std::vector<std::byte> encodeChunkTable(std::span<const std::size_t> chunkSizes);

}  // namespace Formats::Laz
