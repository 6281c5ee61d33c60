#include "formats/laz/LayeredItemEncoders.h"

#include <algorithm>

#include "formats/laz/RecordFields.h"

namespace Formats::Laz {
namespace {

std::vector<std::size_t> changing(std::span<const std::byte> changes) {
  std::vector<std::size_t> places;
  for (std::size_t i = 0; i < changes.size(); ++i) {
    if (changes[i] != std::byte{0}) places.push_back(i);
  }
  return places;
}

}  // namespace

void Rgb14Encoder::Models::reset() {
  rgb.reset();
  nir.reset();
}

void Rgb14Encoder::start(std::size_t channel, const std::byte* first, std::span<const std::byte> changes) {
  isWritten_[0] = anyBit(changes.first(RgbEncoder::kSize));
  isWritten_[1] = hasNir_ && anyBit(changes.subspan(RgbEncoder::kSize, NirEncoder::kSize));
  for (RangeEncoder& layer : layers_) layer.restart();
  models_.start(channel, first);
}

void Rgb14Encoder::encode(std::size_t channel, const std::byte* color) {
  const ChannelModels<Models>::Selected selected = models_.select(channel);
  if (isWritten_[0]) selected.models.rgb.encode(color, selected.last, layers_[0]);
  if (isWritten_[1]) {
    selected.models.nir.encode(color + RgbEncoder::kSize, selected.last + RgbEncoder::kSize, layers_[1]);
  }
  selected.last = color;
}

void Rgb14Encoder::finish(std::vector<std::span<const std::byte>>& layers) {
  for (std::size_t i = 0; i < (hasNir_ ? 2 : 1); ++i) {
    layers.push_back(isWritten_[i] ? layers_[i].finish() : std::span<const std::byte>());
  }
}

void Byte14Encoder::Models::reset() {
  for (auto& model : bytes) model.reset();
}

void Byte14Encoder::start(std::size_t channel, const std::byte* first, std::span<const std::byte> changes) {
  written_ = changing(changes);
  for (RangeEncoder& layer : layers_) layer.restart();
  models_.start(channel, first);
}

void Byte14Encoder::encode(std::size_t channel, const std::byte* bytes) {
  const ChannelModels<Models>::Selected selected = models_.select(channel);
  selected.models.bytes.resize(layers_.size());
  for (const std::size_t at : written_) {
    layers_[at].makeRoom(1);
    layers_[at].encode(selected.models.bytes[at], (byteAt(bytes, at) - byteAt(selected.last, at)) & 0xFFU);
  }
  selected.last = bytes;
}

void Byte14Encoder::finish(std::vector<std::span<const std::byte>>& layers) {
  const std::size_t first = layers.size();
  layers.resize(first + layers_.size());
  for (const std::size_t at : written_) layers[first + at] = layers_[at].finish();
}

}  // namespace Formats::Laz
