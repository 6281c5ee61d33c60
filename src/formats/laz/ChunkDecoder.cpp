#include "formats/laz/ChunkDecoder.h"

#include "formats/laz/LayeredDecoder.h"
#include "formats/laz/PointwiseDecoder.h"

namespace Formats::Laz {

std::unique_ptr<ChunkDecoder> makeChunkDecoder(const LazVlr& vlr) {
  if (vlr.compressor == Compressor::Layered) return std::make_unique<LayeredDecoder>(vlr.items);
  return std::make_unique<PointwiseDecoder>(vlr.items);
}

}  // namespace Formats::Laz
