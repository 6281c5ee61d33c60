#pragma once

#include <cmath>

#include "math/Point.h"

namespace Math {

/// The plane of all p with normal · p + constant = 0.
template <class T>
struct Plane {
  Point<T, 3> normal;
  T constant = T{0};

  /// The plane through @p point perpendicular to @p normal of any length, normalised.
  [[nodiscard]] static Plane throughPoint(const Point<T, 3>& normal, const Point<T, 3>& point) {
    Plane plane{normal, -dot(normal, point)};
    plane.normalize();
    return plane;
  }

  /// Divides by the normal's length; a zero normal stays as it is.
  void normalize() {
    const T length = std::sqrt(dot(normal, normal));
    scale(length == T{0} ? T{1} : T{1} / length);
  }
  void negate() { scale(T{-1}); }

  bool operator==(const Plane&) const = default;

 private:
  void scale(T factor) {
    for (int i = 0; i < 3; ++i) normal[i] *= factor;
    constant *= factor;
  }
};

}  // namespace Math
