#pragma once

#include <cmath>

#include "math/Point.h"

namespace Math {

/// A cylinder without ends around a line, its surface included. The inside test takes the direction as a unit
/// vector, whatever is stored: other lengths give other bodies.
template <class T>
struct Cylinder {
  Point<T, 3> origin;
  Point<T, 3> direction;
  T radius = T{0};

  /// Around the line from p1 to p2, with p1 as origin and a unit direction; zero when the points are equal.
  [[nodiscard]] static Cylinder fromTwoPoints(const Point<T, 3>& p1, const Point<T, 3>& p2, T radius) {
    Cylinder cylinder{p1, p2 - p1, radius};
    const T lengthSquared = dot(cylinder.direction, cylinder.direction);
    if (lengthSquared > T{0}) {
      const T length = std::sqrt(lengthSquared);
      for (int i = 0; i < 3; ++i) cylinder.direction[i] /= length;
    }
    return cylinder;
  }

  [[nodiscard]] constexpr bool inside(const Point<T, 3>& p) const {
    const Point<T, 3> v = p - origin;
    const T t = dot(v, direction);
    Point<T, 3> w;
    for (int i = 0; i < 3; ++i) w[i] = v[i] - t * direction[i];
    return dot(w, w) <= radius * radius;
  }

  bool operator==(const Cylinder&) const = default;
};

/// A cylinder with flat ends around the segment from start to end, its surface included. A segment of no
/// length contains nothing.
template <class T>
struct CylinderFinite {
  Point<T, 3> start;
  Point<T, 3> end;
  T radius = T{0};

  [[nodiscard]] constexpr bool inside(const Point<T, 3>& p) const {
    const Point<T, 3> d = end - start;
    const T lengthSquared = dot(d, d);
    if (lengthSquared == T{0}) return false;
    const T t = dot(p - start, d) / lengthSquared;
    if (t < T{0} || t > T{1}) return false;
    Point<T, 3> q;
    for (int i = 0; i < 3; ++i) q[i] = start[i] + t * d[i];
    const Point<T, 3> w = p - q;
    return dot(w, w) <= radius * radius;
  }

  bool operator==(const CylinderFinite&) const = default;
};

}  // namespace Math
