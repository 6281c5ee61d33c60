#include "math/RandomShapes.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace Testing {

using Math::Cylinder;
using Math::CylinderFinite;
using Math::NBoundingBox;
using Math::NOrientedBoundingBox;
using Math::NSphere;
using Math::Point;
using Math::Polygon;

float RandomShapes::special(float value) {
  if (!oneIn(terrain_.oneSpecialIn)) return value;
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  const float values[] = {
      std::numeric_limits<float>::quiet_NaN(), kInfinity, -kInfinity, std::numeric_limits<float>::max(),
      std::numeric_limits<float>::lowest(),    1e20F,     0x1p-140F,  -0.0F};
  return values[std::uniform_int_distribution<int>(0, 7)(random_)];
}

float RandomShapes::radius() {
  if (oneIn(20)) return 0.0F;
  const float size = special(uniform(0.0F, terrain_.extent));
  return oneIn(10) ? -size : size;
}

template <int N>
NBoundingBox<float, N> RandomShapes::box(float largestExtent) {
  NBoundingBox<float, N> result;
  for (int i = 0; i < N; ++i) {
    const float a = coordinate();
    const float b = oneIn(10) ? a : special(a + uniform(0.0F, largestExtent));
    result.minimum[i] = std::min(a, b);
    result.maximum[i] = std::max(a, b);
  }
  return result;
}

template NBoundingBox<float, 2> RandomShapes::box(float);
template NBoundingBox<float, 3> RandomShapes::box(float);

Point<float, 3> RandomShapes::pointIn(const Box& box) {
  Point<float, 3> p;
  for (int i = 0; i < 3; ++i) {
    const float share = oneIn(2) ? uniform(0.0F, 1.0F) : (oneIn(2) ? 0.0F : 1.0F);
    const float between = box.minimum[i] * (1.0F - share) + box.maximum[i] * share;
    p[i] = std::max(box.minimum[i], std::min(between, box.maximum[i]));
    if (std::isnan(between)) p[i] = oneIn(2) ? box.minimum[i] : box.maximum[i];
  }
  return p;
}

Point<float, 3> RandomShapes::direction() {
  Point<float, 3> d{{uniform(-1.0F, 1.0F), uniform(-1.0F, 1.0F), uniform(-1.0F, 1.0F)}};
  if (oneIn(20)) return {};
  if (oneIn(5)) d = {{0.0F, 0.0F, 1.0F}};
  const float length = std::sqrt(Math::dot(d, d));
  const float scale = oneIn(5) ? uniform(0.0F, 3.0F) : 1.0F;
  for (int i = 0; i < 3; ++i) d[i] = special(d[i] / length * scale);
  return d;
}

template <int N>
NOrientedBoundingBox<float, N> RandomShapes::orientedBox() {
  NOrientedBoundingBox<float, N> result;
  result.center = point<N>();
  for (int i = 0; i < N; ++i) result.halfSize[i] = radius();
  if constexpr (N == 3) {
    const float xy = uniform(0.0F, 1.0F);
    const float angle = uniform(0.0F, 6.28F);
    const float w = std::sqrt(1.0F - xy);
    result.rotation = Math::rotationFromQuaternion(
        {std::sqrt(xy) * std::cos(angle), std::sqrt(xy) * std::sin(angle), w * 0.6F, w * 0.8F});
  } else {
    const float angle = uniform(0.0F, 6.28F);
    result.rotation = {std::cos(angle), std::sin(angle), -std::sin(angle), std::cos(angle)};
  }
  const float skew = oneIn(3) ? 0.5F : 0.0F;
  const float scale = oneIn(5) ? uniform(0.0F, 1000.0F) : 1.0F;
  for (float& element : result.rotation) element = special((element + uniform(-skew, skew)) * scale);
  return result;
}

Polygon<float> RandomShapes::polygon() {
  const auto numVertices = std::uniform_int_distribution<std::size_t>(oneIn(20) ? 0 : 3, 12)(random_);
  std::vector<float> interleaved;
  for (std::size_t i = 0; i < 2 * numVertices; ++i) {
    // Some edges lie level or plumb.
    const bool repeats = i >= 2 && oneIn(5);
    interleaved.push_back(repeats ? interleaved[i - 2] : coordinate());
  }
  return Polygon<float>(interleaved);
}

template <>
NBoundingBox<float, 3> RandomShapes::shape() {
  return box<3>(terrain_.extent);
}
template <>
NBoundingBox<float, 2> RandomShapes::shape() {
  return box<2>(terrain_.extent);
}
template <>
NSphere<float, 3> RandomShapes::shape() {
  return {point<3>(), radius()};
}
template <>
NSphere<float, 2> RandomShapes::shape() {
  return {point<2>(), radius()};
}
template <>
NOrientedBoundingBox<float, 3> RandomShapes::shape() {
  return orientedBox<3>();
}
template <>
NOrientedBoundingBox<float, 2> RandomShapes::shape() {
  return orientedBox<2>();
}
template <>
Polygon<float> RandomShapes::shape() {
  return polygon();
}
template <>
Cylinder<float> RandomShapes::shape() {
  return {point<3>(), direction(), radius()};
}
template <>
CylinderFinite<float> RandomShapes::shape() {
  const Point<float, 3> start = point<3>();
  return {start, oneIn(20) ? start : point<3>(), radius()};
}

}  // namespace Testing
