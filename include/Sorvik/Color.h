#pragma once

#include <cstdint>

namespace Sorvik {

/// A colour of four 8-bit channels, in this order in memory: blue, green, red, alpha. 255 is full intensity
/// and full opacity. Every combination of values is valid.
struct Color {
  std::uint8_t b;  ///< blue
  std::uint8_t g;  ///< green
  std::uint8_t r;  ///< red
  std::uint8_t a;  ///< alpha: opacity

  bool operator==(const Color&) const = default;
};

}  // namespace Sorvik
