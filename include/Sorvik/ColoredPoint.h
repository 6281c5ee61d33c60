#pragma once

#include "Sorvik/Color.h"

namespace Sorvik {

/// One rendered point: 16 bytes without gaps, so that an array of them can be handed to a graphics interface
/// as it stands.
struct ColoredPoint {
  float x;
  float y;
  float z;
  /// Blue, green, red as in any Color; the byte in the place of alpha marks the entry, see isValid().
  Color color;

  /// Whether this entry holds a point: exactly when the fourth colour byte is 0. Any other value, 255
  /// included, marks an empty entry.
  [[nodiscard]] constexpr bool isValid() const { return color.a == 0; }

  bool operator==(const ColoredPoint&) const = default;
};

}  // namespace Sorvik
