#pragma once

#include "math/Point.h"

namespace Math {

/// A ball (N = 3) or disc (N = 2), its surface included.
template <class T, int N>
struct NSphere {
  Point<T, N> center;
  T radius = T{1};

  [[nodiscard]] constexpr bool inside(const Point<T, N>& p) const {
    const Point<T, N> d = p - center;
    return dot(d, d) <= radius * radius;
  }

  bool operator==(const NSphere&) const = default;
};

}  // namespace Math
