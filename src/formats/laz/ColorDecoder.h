#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "formats/laz/RangeDecoder.h"

namespace Formats::Laz {

using Color = std::array<std::uint16_t, 3>;

/// Decodes colours from the last one, byte by byte (RGB12 version 2, and the colours of RGB14 and RGBNIR14).
class ColorDecoder {
 public:
  void reset() {
    used_.reset();
    for (auto& model : differences_) model.reset();
  }

  /// The colour that follows @p last.
  Color decode(RangeDecoder& decoder, const Color& last) {
    const auto used = static_cast<unsigned>(decoder.symbol(used_));
    // The byte whose model is @p model, predicted as @p prediction.
    const auto next = [&](std::size_t model, int prediction) {
      return (prediction + static_cast<int>(decoder.symbol(differences_[model]))) & 0xFF;
    };
    const auto isUsed = [&](unsigned bit) { return (used >> bit & 1U) != 0; };
    std::array<int, 3> low = bytesOf(last, 0);
    std::array<int, 3> high = bytesOf(last, 8);
    const std::array<int, 3> lastLow = low;
    const std::array<int, 3> lastHigh = high;
    if (isUsed(0)) low[0] = next(0, low[0]);
    if (isUsed(1)) high[0] = next(1, high[0]);
    if (!isUsed(6)) return {joined(high[0], low[0]), joined(high[0], low[0]), joined(high[0], low[0])};
    const int lowChange = low[0] - lastLow[0];
    if (isUsed(2)) low[1] = next(2, clamped(lowChange + lastLow[1]));
    if (isUsed(4)) low[2] = next(4, clamped((lowChange + low[1] - lastLow[1]) / 2 + lastLow[2]));
    const int highChange = high[0] - lastHigh[0];
    if (isUsed(3)) high[1] = next(3, clamped(highChange + lastHigh[1]));
    if (isUsed(5)) high[2] = next(5, clamped((highChange + high[1] - lastHigh[1]) / 2 + lastHigh[2]));
    return {joined(high[0], low[0]), joined(high[1], low[1]), joined(high[2], low[2])};
  }

 private:
  static std::array<int, 3> bytesOf(const Color& color, unsigned shift) {
    return {color[0] >> shift & 0xFF, color[1] >> shift & 0xFF, color[2] >> shift & 0xFF};
  }
  static int clamped(int value) { return std::clamp(value, 0, 255); }
  static std::uint16_t joined(int high, int low) { return static_cast<std::uint16_t>(high << 8 | low); }

  DecodingModel<128> used_;  // which bytes differ from the last colour's; bit 6: the colour is not grey
  std::array<DecodingModel<256>, 6> differences_;
};

}  // namespace Formats::Laz
