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

/// The nine shapes of the queries, for typed tests.
using QueryShapes =
    ::testing::Types<Math::NBoundingBox<float, 3>, Math::NBoundingBox<float, 2>, Math::NSphere<float, 3>,
                     Math::NSphere<float, 2>, Math::NOrientedBoundingBox<float, 3>,
                     Math::NOrientedBoundingBox<float, 2>, Math::Polygon<float>, Math::Cylinder<float>,
                     Math::CylinderFinite<float>>;

}  // namespace Testing
