#pragma once

#include <algorithm>
#include <limits>
#include <numeric>

#include "math/Point.h"

namespace Math {

/// An axis-parallel box (N = 3) or rectangle (N = 2), its faces included. A default-constructed one is empty.
template <class T, int N>
struct NBoundingBox {
  Point<T, N> minimum = Point<T, N>::filled(std::numeric_limits<T>::infinity());
  Point<T, N> maximum = Point<T, N>::filled(-std::numeric_limits<T>::infinity());

  [[nodiscard]] constexpr bool inside(const Point<T, N>& p) const {
    for (int i = 0; i < N; ++i) {
      if (minimum[i] > p[i] || p[i] > maximum[i]) return false;
    }
    return true;
  }

  constexpr void expand(const Point<T, N>& p) {
    for (int i = 0; i < N; ++i) {
      minimum[i] = std::min(minimum[i], p[i]);
      maximum[i] = std::max(maximum[i], p[i]);
    }
  }

  /// Whether the minimum exceeds the maximum on some axis; a box of no extent is not empty.
  [[nodiscard]] constexpr bool empty() const {
    for (int i = 0; i < N; ++i) {
      if (minimum[i] > maximum[i]) return true;
    }
    return false;
  }

  /// The overflow-safe middle; NaN for the empty box.
  [[nodiscard]] constexpr Point<T, N> center() const {
    Point<T, N> result;
    for (int i = 0; i < N; ++i) result[i] = std::midpoint(minimum[i], maximum[i]);
    return result;
  }

  /// The extent per axis, at least 0.
  [[nodiscard]] constexpr Point<T, N> size() const {
    Point<T, N> result;
    for (int i = 0; i < N; ++i) result[i] = std::max(maximum[i] - minimum[i], T{0});
    return result;
  }

  /// Half of size().
  [[nodiscard]] constexpr Point<T, N> halfSize() const {
    Point<T, N> result = size();
    for (int i = 0; i < N; ++i) result[i] *= T{0.5};
    return result;
  }

  bool operator==(const NBoundingBox&) const = default;
};

}  // namespace Math
