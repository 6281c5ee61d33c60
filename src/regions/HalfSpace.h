#pragma once

#include "math/BoundingBox.h"
#include "math/Plane.h"
#include "math/Point.h"

namespace Math {

/// The side of a plane that its normal points to, the plane included.
template <class T>
struct HalfSpace {
  Point<T, 3> normal{{T{0}, T{0}, T{1}}};
  T constant = T{0};

  [[nodiscard]] static constexpr HalfSpace of(const Plane<T>& plane) {
    return {plane.normal, plane.constant};
  }

  [[nodiscard]] constexpr bool inside(const Point<T, 3>& p) const {
    return dot(normal, p) + constant >= T{0};
  }

  bool operator==(const HalfSpace&) const = default;
};

/// As the tests of BoxTests.h. Every step of the inside test is monotone in each coordinate, so the box's
/// corners give the exact answers.
[[nodiscard]] bool overlaps(const HalfSpace<float>& shape, const NBoundingBox<float, 3>& box);
[[nodiscard]] bool contains(const HalfSpace<float>& shape, const NBoundingBox<float, 3>& box);

}  // namespace Math
