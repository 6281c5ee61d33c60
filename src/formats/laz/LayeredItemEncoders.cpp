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

Rgb14Encoder::Rgb14Encoder(std::size_t channel, const std::byte* first, std::span<const std::byte> changes)
    : hasNir_(changes.size() > RgbEncoder::kSize), models_(channel, first, {}) {
  isWritten_[0] = anyBit(changes.first(RgbEncoder::kSize));
  isWritten_[1] = anyBit(changes.subspan(RgbEncoder::kSize));
}

void Rgb14Encoder::encode(std::size_t channel, const std::byte* color) {
  const ChannelModels<Models>::Selected selected = models_.select(channel);
  if (isWritten_[0]) selected.models.rgb.encode(color, selected.last, layers_[0]);
  if (isWritten_[1]) {
    selected.models.nir.encode(color + RgbEncoder::kSize, selected.last + RgbEncoder::kSize, layers_[1]);
  }
  selected.last = color;
}

std::span<const std::byte> Rgb14Encoder::finish(std::size_t layer) {
  return isWritten_[layer] ? layers_[layer].finish() : std::span<const std::byte>();
}

Byte14Encoder::Byte14Encoder(std::size_t channel, const std::byte* first, std::span<const std::byte> changes)
    : written_(changing(changes)),
      layers_(changes.size()),
      models_(channel, first, Models(written_.size())) {}

void Byte14Encoder::encode(std::size_t channel, const std::byte* bytes) {
  const ChannelModels<Models>::Selected selected = models_.select(channel);
  for (std::size_t i = 0; i < written_.size(); ++i) {
    const std::size_t at = written_[i];
    layers_[at].makeRoom(1);
    layers_[at].encode(selected.models[i], (byteAt(bytes, at) - byteAt(selected.last, at)) & 0xFFU);
  }
  selected.last = bytes;
}

std::span<const std::byte> Byte14Encoder::finish(std::size_t layer) {
  const bool isWritten = std::binary_search(written_.begin(), written_.end(), layer);
  return isWritten ? layers_[layer].finish() : std::span<const std::byte>();
}

}  // namespace Formats::Laz
