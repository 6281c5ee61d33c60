#pragma once

#include <span>
#include <string>
#include <vector>

#include "formats/laz/ChunkDecoder.h"
#include "formats/laz/LazVlr.h"
#include "formats/laz/RangeDecoder.h"

namespace Testing {

inline std::span<const std::byte> bytesOf(const std::string& text) { return std::as_bytes(std::span(text)); }

/// The records that a chunk holds.
/// @throws FormatError, also when they do not take all of its bytes.
inline std::string decodedChunk(const Formats::Laz::LazVlr& vlr, std::span<const std::byte> chunk,
                                std::size_t numPoints) {
  std::vector<std::byte> bytes(chunk.begin(), chunk.end());
  bytes.resize(bytes.size() + Formats::Laz::kLookahead);
  std::string records(numPoints * vlr.recordLength(), '\0');
  const auto decoder = Formats::Laz::makeChunkDecoder(vlr);
  decoder->start(std::span(bytes).first(chunk.size()), numPoints, {"chunk"}, Formats::Laz::Wanted::All);
  decoder->decode(std::as_writable_bytes(std::span(records)));
  decoder->finish();
  return records;
}

}  // namespace Testing
