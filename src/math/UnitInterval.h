#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "math/Color.h"

namespace Math {

/// The nearest number from 0 to 1; NaN is 0.
inline double toUnitInterval(double value) { return value > 0 ? std::min(value, 1.0) : 0.0; }

/// The opaque colour of three channels from 0 to 1, rounded to the nearest of 256 steps; what lies outside
/// becomes the nearer end.
inline Color colorOf(double r, double g, double b) {
  const auto channel = [](double value) {
    return static_cast<std::uint8_t>(std::lround(255 * toUnitInterval(value)));
  };
  return {channel(r), channel(g), channel(b), 255};
}

}  // namespace Math
