#pragma once

#include "math/BoundingBox.h"
#include "math/Cylinder.h"
#include "math/OrientedBoundingBox.h"
#include "math/Point.h"
#include "math/Polygon.h"
#include "math/Sphere.h"

/// Where an axis-parallel box lies against a shape. Trees prune by these answers, so rounding included:
/// - overlaps() is true whenever the box holds a point that the shape's own inside test accepts; it may be
///   true without one.
/// - contains() is true only when the inside test accepts every point of the box; it may be false although
///   it does.
/// "Point of the box" means one without NaN between the corners. For an empty box both answers are right.
/// Plane shapes look at x and y alone, in the box as in a point. A NaN in the shape gives overlaps true and
/// contains false, a NaN in the box contains false; infinite coordinates keep the two promises. All are pure
/// functions.
namespace Math {

/// x and y alone.
[[nodiscard]] constexpr Point<float, 2> inPlan(const Point<float, 3>& p) { return {{p[0], p[1]}}; }

/// The shape's own inside test, for plane shapes on x and y.
template <class Shape>
[[nodiscard]] bool inside(const Shape& shape, const Point<float, 3>& p) {
  if constexpr (requires { shape.inside(p); }) {
    return shape.inside(p);
  } else {
    return shape.inside(inPlan(p));
  }
}

/// Boxes and balls are tested with the arithmetic of their inside tests. Its steps are monotone, so the
/// answers are exact under rounding.
[[nodiscard]] bool overlaps(const NBoundingBox<float, 3>& shape, const NBoundingBox<float, 3>& box);
[[nodiscard]] bool contains(const NBoundingBox<float, 3>& shape, const NBoundingBox<float, 3>& box);
[[nodiscard]] bool overlaps(const NBoundingBox<float, 2>& shape, const NBoundingBox<float, 3>& box);
[[nodiscard]] bool contains(const NBoundingBox<float, 2>& shape, const NBoundingBox<float, 3>& box);
[[nodiscard]] bool overlaps(const NSphere<float, 3>& shape, const NBoundingBox<float, 3>& box);
[[nodiscard]] bool contains(const NSphere<float, 3>& shape, const NBoundingBox<float, 3>& box);
[[nodiscard]] bool overlaps(const NSphere<float, 2>& shape, const NBoundingBox<float, 3>& box);
[[nodiscard]] bool contains(const NSphere<float, 2>& shape, const NBoundingBox<float, 3>& box);

/// Turned boxes may have any columns. The tests carry a tolerance of 1.1920929e-7 plus 2^-20 of the largest
/// coordinate magnitude of box and centre.
[[nodiscard]] bool overlaps(const NOrientedBoundingBox<float, 3>& shape, const NBoundingBox<float, 3>& box);
[[nodiscard]] bool contains(const NOrientedBoundingBox<float, 3>& shape, const NBoundingBox<float, 3>& box);
[[nodiscard]] bool overlaps(const NOrientedBoundingBox<float, 2>& shape, const NBoundingBox<float, 3>& box);
[[nodiscard]] bool contains(const NOrientedBoundingBox<float, 2>& shape, const NBoundingBox<float, 3>& box);

/// The box's rectangle is widened by 2^-20 of the largest coordinate magnitude of box and polygon; touching
/// an edge counts as crossing it.
[[nodiscard]] bool overlaps(const Polygon<float>& shape, const NBoundingBox<float, 3>& box);
[[nodiscard]] bool contains(const Polygon<float>& shape, const NBoundingBox<float, 3>& box);

/// Cylinders are tested in double, their radius widened (overlaps) or narrowed (contains) by a bound of the
/// rounding of the inside test. An infinite cylinder of zero direction overlaps everything.
[[nodiscard]] bool overlaps(const Cylinder<float>& shape, const NBoundingBox<float, 3>& box);
[[nodiscard]] bool contains(const Cylinder<float>& shape, const NBoundingBox<float, 3>& box);
[[nodiscard]] bool overlaps(const CylinderFinite<float>& shape, const NBoundingBox<float, 3>& box);
[[nodiscard]] bool contains(const CylinderFinite<float>& shape, const NBoundingBox<float, 3>& box);

}  // namespace Math
