#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "core/FormatError.h"
#include "formats/laz/LazVlr.h"

namespace Formats::Laz {

/// Which attributes a decoder is asked for. Those that are not may hold anything.
enum class Wanted { All, Coordinates };

/// Decodes the points of compressed chunks, as many at a time as are wanted. Keeps its memory, of some
/// megabytes at most, from chunk to chunk. Threads: for one at a time.
class ChunkDecoder {
 public:
  virtual ~ChunkDecoder() = default;

  /// Begins a chunk.
  /// @param chunk      its bytes; they outlive its decoding and are followed by kLookahead readable bytes.
  /// @param numPoints  that the chunk is said to hold, at least 1.
  /// @param source     what the bytes belong to, with their offset; its name outlives this, too.
  /// @throws FormatError when bytes and points cannot belong together.
  virtual void start(std::span<const std::byte> chunk, std::uint64_t numPoints, const Core::Source& source,
                     Wanted wanted) = 0;

  /// Writes the records of the next points, which are no more than the chunk holds.
  /// @param[out] records  room for whole records.
  /// @throws FormatError naming the item whose bytes ended too soon. Records before may have been written.
  virtual void decode(std::span<std::byte> records) = 0;

  /// To be called when all points of a chunk were decoded.
  /// @throws FormatError when that did not use all of its bytes: they were something else.
  virtual void finish() const = 0;
};

/// @param vlr  of a compressor other than None.
[[nodiscard]] std::unique_ptr<ChunkDecoder> makeChunkDecoder(const LazVlr& vlr);

}  // namespace Formats::Laz
