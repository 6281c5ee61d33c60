#pragma once

#include <gtest/gtest.h>

#include <array>
#include <type_traits>

#include "Sorvik/PointIterators.h"

namespace Testing {

/// The shapes of the region iterators, for typed tests.
using WalkShapes = testing::Types<Sorvik::BoundingBox, Sorvik::OrientedBoundingBox, Sorvik::Sphere,
                                  Sorvik::Cylinder, Sorvik::CylinderFinite, Sorvik::BoundingRectangle,
                                  Sorvik::OrientedBoundingRectangle, Sorvik::Circle, Sorvik::Polygon>;

/// All ten iterators, for typed tests.
using WalkIterators =
    testing::Types<Sorvik::AllPointsIterator, Sorvik::AllPointsInsideBoundingBoxIterator,
                   Sorvik::AllPointsInsideOrientedBoundingBoxIterator, Sorvik::AllPointsInsideSphereIterator,
                   Sorvik::AllPointsInsideCylinderIterator, Sorvik::AllPointsInsideCylinderFiniteIterator,
                   Sorvik::AllPointsInsideBoundingRectangleIterator,
                   Sorvik::AllPointsInsideOrientedBoundingRectangleIterator,
                   Sorvik::AllPointsInsideCircleIterator, Sorvik::AllPointsInsidePolygonIterator>;

/// The corner of a box about @p center.
template <std::size_t N>
[[nodiscard]] std::array<float, N> moved(std::array<float, N> center, float by) {
  for (float& coordinate : center) coordinate += by;
  return center;
}

/// A shape about @p center that reaches @p reach in every direction of its own; oblique where it can be.
template <class Shape>
[[nodiscard]] Shape shapeAround(const std::array<float, 3>& center, float reach) {
  using namespace Sorvik;
  const std::array<float, 2> flat{center[0], center[1]};
  const std::array<float, 3> sizes{reach, reach, reach};
  const std::array<float, 3> axis{0.36F, 0.48F, 0.8F};
  if constexpr (std::is_same_v<Shape, BoundingBox>) {
    return {moved(center, -reach), moved(center, reach)};
  } else if constexpr (std::is_same_v<Shape, BoundingRectangle>) {
    return {moved(flat, -reach), moved(flat, reach)};
  } else if constexpr (std::is_same_v<Shape, Sphere>) {
    return {center, reach};
  } else if constexpr (std::is_same_v<Shape, Circle>) {
    return {flat, reach};
  } else if constexpr (std::is_same_v<Shape, Cylinder>) {
    return {center, axis, reach};
  } else if constexpr (std::is_same_v<Shape, CylinderFinite>) {
    std::array<float, 3> start = center;
    std::array<float, 3> end = center;
    for (std::size_t i = 0; i < 3; ++i) {
      start[i] -= reach * axis[i];
      end[i] += reach * axis[i];
    }
    return {start, end, reach};
  } else if constexpr (std::is_same_v<Shape, OrientedBoundingBox>) {
    return {center, sizes, std::array<float, 9>{0.6F, 0.8F, 0, -0.8F, 0.6F, 0, 0, 0, 1}};
  } else if constexpr (std::is_same_v<Shape, OrientedBoundingRectangle>) {
    return {flat, Span<const float>(sizes.data(), 2), 0.5F};
  } else {
    static_assert(std::is_same_v<Shape, Polygon>);
    const float half = 0.5F * reach;
    const float high = 0.866F * reach;
    return Polygon(std::array<float, 12>{flat[0] + reach, flat[1], flat[0] + half, flat[1] + high,
                                         flat[0] - half, flat[1] + high, flat[0] - reach, flat[1],
                                         flat[0] - half, flat[1] - high, flat[0] + half, flat[1] - high});
  }
}

/// A walk over a cloud near the origin with a shape that holds all of it, or without any.
template <class Iterator>
struct WholeWalk {
  [[nodiscard]] static Iterator of(const Sorvik::PointCloud& cloud, float minSpacing = 0) {
    return {cloud, minSpacing};
  }
};

template <class Shape>
struct WholeWalk<Sorvik::AllPointsInsideIterator<Shape>> {
  [[nodiscard]] static Sorvik::AllPointsInsideIterator<Shape> of(const Sorvik::PointCloud& cloud,
                                                                 float minSpacing = 0) {
    return {cloud, shapeAround<Shape>({0, 0, 0}, 10'000), minSpacing};
  }
};

}  // namespace Testing
