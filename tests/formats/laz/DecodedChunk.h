#pragma once

#include <span>
#include <string>
#include <vector>

#include "formats/laz/LayeredDecoder.h"
#include "formats/laz/LazVlr.h"
#include "formats/laz/PointwiseDecoder.h"

namespace Testing {

inline std::span<const std::byte> bytesOf(const std::string& text) { return std::as_bytes(std::span(text)); }

/// The records that a chunk's bytes hold; @p end is where the decoder of point-wise chunks has got to.
inline std::string decodedChunk(const Formats::Laz::LazVlr& vlr, std::span<const std::byte> chunk,
                                std::size_t numPoints, std::size_t* end = nullptr) {
  std::vector<std::byte> bytes(chunk.begin(), chunk.end());
  bytes.resize(bytes.size() + Formats::Laz::kLookahead);
  const std::span<const std::byte> view = std::span<const std::byte>(bytes).first(chunk.size());
  std::string records(numPoints * vlr.recordLength(), '\0');
  if (vlr.compressor == Formats::Laz::Compressor::Layered) {
    Formats::Laz::LayeredDecoder decoder(vlr.items);
    (void)decoder.start(view, {"chunk"});
    decoder.decode(std::as_writable_bytes(std::span(records)));
  } else {
    Formats::Laz::PointwiseDecoder decoder(vlr.items);
    decoder.start(view, {"chunk"});
    decoder.decode(std::as_writable_bytes(std::span(records)));
    if (end != nullptr) *end = decoder.position();
  }
  return records;
}

}  // namespace Testing
