#include "formats/laz/LayeredDecoder.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <string>

#include "core/ByteReader.h"

namespace Formats::Laz {
namespace {

// Decoded layer after layer: their records stay in the processor's nearest caches.
constexpr std::size_t kPointsAtOnce = 512;
// Those of POINT14 that hold coordinates come first.
constexpr std::size_t kCoordinateLayers = 2;

}  // namespace

std::uint64_t LayeredChunkHead::chunkSize() const {
  return std::accumulate(layerSizes.begin(), layerSizes.end(), std::uint64_t{size});
}

LayeredDecoder::LayeredDecoder(const std::vector<Item>& items) : traces_(kPointsAtOnce) {
  for (const Item& item : items) {
    parts_.push_back({recordLength_, makeLayeredItem(item)});
    numLayers_ += parts_.back().decoder->layers().size();
    recordLength_ += item.size;
  }
}

std::size_t LayeredDecoder::headSize() const {
  return recordLength_ + (1 + numLayers_) * sizeof(std::uint32_t);
}

LayeredChunkHead LayeredDecoder::readHead(std::span<const std::byte> bytes,
                                          const Core::Source& source) const {
  Core::ByteReader reader(bytes, source);
  (void)reader.take(recordLength_, "first point of a chunk");
  LayeredChunkHead head;
  head.numPoints = reader.read<std::uint32_t>("number of points in a chunk");
  for (std::size_t i = 0; i < numLayers_; ++i) {
    head.layerSizes.push_back(reader.read<std::uint32_t>("size of a layer"));
  }
  head.size = reader.position();
  if (head.numPoints > 1 && head.layerSizes.front() == 0) {
    throw Core::FormatError({source.name, source.offset + recordLength_ + sizeof(std::uint32_t)},
                            "size of the layer of X and Y",
                            "some bytes for " + std::to_string(head.numPoints) + " points", "0");
  }
  return head;
}

void LayeredDecoder::start(std::span<const std::byte> chunk, std::uint64_t numPoints,
                           const Core::Source& source, Wanted wanted) {
  const LayeredChunkHead head = readHead(chunk, source);
  const Core::Source headSource{source.name, source.offset + recordLength_};
  if (head.numPoints != numPoints) {
    throw Core::FormatError(headSource, "number of points in a chunk",
                            std::to_string(numPoints) + " by the chunk table and the header",
                            std::to_string(head.numPoints));
  }
  if (head.chunkSize() != chunk.size()) {
    throw Core::FormatError(headSource, "sizes of the layers of a chunk",
                            std::to_string(chunk.size() - head.size) + " bytes together",
                            std::to_string(head.chunkSize() - head.size));
  }
  source_ = source;
  chunk_ = chunk.data();
  hasFirst_ = true;
  const std::size_t channel = channelOf(chunk_);
  std::size_t offset = head.size;
  std::size_t number = 0;
  for (const Part& part : parts_) {
    for (Layer& layer : part.decoder->layers()) {
      const bool isWanted = wanted == Wanted::All || number < kCoordinateLayers;
      const std::size_t size = head.layerSizes[number++];
      layer.start(chunk.subspan(offset, isWanted ? size : 0));
      offset += size;
    }
    part.decoder->start(chunk_ + part.offset, channel);
  }
}

void LayeredDecoder::decode(std::span<std::byte> records) {
  std::byte* out = records.data();
  std::byte* const end = out + records.size() / recordLength_ * recordLength_;
  if (hasFirst_ && out != end) {
    std::memcpy(out, chunk_, recordLength_);
    hasFirst_ = false;
    out += recordLength_;
  }
  while (out != end) {
    const std::size_t left = static_cast<std::size_t>(end - out) / recordLength_;
    const auto traces = std::span(traces_).first(std::min(left, traces_.size()));
    decodeSome({out, recordLength_, traces});
    out += traces.size() * recordLength_;
  }
}

void LayeredDecoder::decodeSome(const LayeredPoints& points) {
  for (const Part& part : parts_) {
    part.decoder->decode({points.records + part.offset, points.recordLength, points.traces});
  }
  checkLayers();
}

void LayeredDecoder::checkLayers() const {
  for (const Part& part : parts_) {
    for (const Layer& layer : part.decoder->layers()) {
      if (layer.isEmpty() || !layer.decoder.overran()) continue;
      throw Core::FormatError(placeOf(layer), "layer " + layer.name,
                              "more than its " + std::to_string(layer.bytes.size()) + " bytes",
                              "their end, or nonsense before");
    }
  }
}

void LayeredDecoder::finish() const {
  for (const Part& part : parts_) {
    for (const Layer& layer : part.decoder->layers()) {
      if (layer.isEmpty() || layer.decoder.position() == layer.bytes.size()) continue;
      throw Core::FormatError(placeOf(layer), "layer " + layer.name,
                              "points that take its " + std::to_string(layer.bytes.size()) + " bytes",
                              "points that take " + std::to_string(layer.decoder.position()));
    }
  }
}

Core::Source LayeredDecoder::placeOf(const Layer& layer) const {
  return {source_.name, source_.offset + static_cast<std::uint64_t>(layer.bytes.data() - chunk_)};
}

}  // namespace Formats::Laz
