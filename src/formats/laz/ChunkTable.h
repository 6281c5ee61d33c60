#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "core/FormatError.h"

namespace Formats::Laz {

/// Where the points of a chunk lie in a file.
struct Chunk {
  std::uint64_t offset = 0;
  std::uint64_t size = 0;  ///< bytes
  std::uint64_t numPoints = 0;

  bool operator==(const Chunk&) const = default;
};

/// Bytes before the chunk table's entries: its version and their number.
inline constexpr std::size_t kChunkTableHeadSize = 8;
/// No entry takes more bytes of the file.
inline constexpr std::size_t kMostBytesPerChunkEntry = 24;

/// What chunks must agree with.
struct ChunkTablePlan {
  std::uint64_t chunksBegin = 0;  ///< where the first chunk stands in the file
  std::uint64_t chunksEnd = 0;    ///< what no chunk reaches beyond
  std::uint32_t chunkSize = 0;    ///< points of each but the last, or LazVlr::kVariableChunkSize
  std::uint64_t numPoints = 0;    ///< of the file
  std::size_t recordLength = 0;   ///< the least size of a chunk that holds points
};

/// The number of chunks that a chunk table announces, 0 included.
/// @param head  kChunkTableHeadSize bytes.
/// @throws FormatError when the version is none that is known, or the chunks would not fit their place.
[[nodiscard]] std::uint32_t readChunkTableHead(std::span<const std::byte> head, const ChunkTablePlan& plan,
                                               const Core::Source& source);

/// The chunks of a file, in its order. Those without points are left out.
/// @param entries  the table's bytes behind its head, or more; followed by kLookahead readable bytes.
/// @throws FormatError when chunks would not fit their place or do not add up to the file's points.
[[nodiscard]] std::vector<Chunk> readChunkTable(std::span<const std::byte> entries, std::uint32_t numChunks,
                                                const ChunkTablePlan& plan, const Core::Source& source);

}  // namespace Formats::Laz
