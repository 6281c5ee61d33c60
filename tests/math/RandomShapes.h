#pragma once

#include <gtest/gtest.h>

#include <random>

#include "math/BoxTests.h"

namespace Testing {

/// What the random values are like.
struct Terrain {
  float origin = 0.0F;  ///< every coordinate is around it
  float extent = 10.0F;
  /// One value in so many is NaN, infinite or huge; 0 for none.
  int oneSpecialIn = 0;
};

/// Random points, boxes and query shapes; the same for the same seed.
class RandomShapes {
 public:
  RandomShapes(unsigned seed, const Terrain& terrain) : random_(seed), terrain_(terrain) {}

  using Box = Math::NBoundingBox<float, 3>;

  [[nodiscard]] float uniform(float low, float high) {
    return std::uniform_real_distribution<float>(low, high)(random_);
  }
  /// Whether one case in @p n has come.
  [[nodiscard]] bool oneIn(int n) { return n > 0 && std::uniform_int_distribution<int>(1, n)(random_) == 1; }

  [[nodiscard]] float coordinate() {
    return special(terrain_.origin + uniform(-terrain_.extent, terrain_.extent));
  }
  template <int N>
  [[nodiscard]] Math::Point<float, N> point() {
    Math::Point<float, N> p;
    for (int i = 0; i < N; ++i) p[i] = coordinate();
    return p;
  }
  /// Now and then without extent on an axis.
  template <int N>
  [[nodiscard]] Math::NBoundingBox<float, N> box(float largestExtent);
  /// A point of the box: one coordinate in two lies on a face.
  [[nodiscard]] Math::Point<float, 3> pointIn(const Box& box);

  /// A query shape of the kind. Sometimes odd: negative or zero radii, columns that are skewed or scaled,
  /// directions that are no unit vectors.
  template <class Shape>
  [[nodiscard]] Shape shape();

 private:
  [[nodiscard]] float special(float value);
  [[nodiscard]] float radius();
  [[nodiscard]] Math::Point<float, 3> direction();
  template <int N>
  [[nodiscard]] Math::NOrientedBoundingBox<float, N> orientedBox();
  [[nodiscard]] Math::Polygon<float> polygon();

  std::mt19937 random_;
  Terrain terrain_;
};

/// The float that is half-way between two others; one of them when they touch.
inline float between(float a, float b) {
  const float middle = a + (b - a) / 2;
  return middle == b ? a : middle;
}

/// Moves a point inside the shape and one outside towards each other until the border is between neighbours.
template <class Shape>
void closeInOnBorder(const Shape& shape, Math::Point<float, 3>& in, Math::Point<float, 3>& out) {
  for (int step = 0; step < 200; ++step) {
    const Math::Point<float, 3> middle{
        {between(in[0], out[0]), between(in[1], out[1]), between(in[2], out[2])}};
    if (middle == in || middle == out) return;
    (Math::inside(shape, middle) ? in : out) = middle;
  }
}

/// The nine shapes of the queries, for typed tests.
using QueryShapes =
    ::testing::Types<Math::NBoundingBox<float, 3>, Math::NBoundingBox<float, 2>, Math::NSphere<float, 3>,
                     Math::NSphere<float, 2>, Math::NOrientedBoundingBox<float, 3>,
                     Math::NOrientedBoundingBox<float, 2>, Math::Polygon<float>, Math::Cylinder<float>,
                     Math::CylinderFinite<float>>;

}  // namespace Testing
