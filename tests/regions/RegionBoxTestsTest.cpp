// The box tests of random regions against dense samples of the boxes' points.
#include <gtest/gtest.h>

#include <cmath>

#include "regions/RandomRegions.h"

namespace {

using Testing::RandomRegions;
using Testing::Region;

/// What the box tests said, to see that they say something.
struct Answers {
  int disjoint = 0;
  int contained = 0;
  int open = 0;
};

bool isFinite(const Math::Point<float, 3>& p) {
  return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
}

/// Compares both box tests with the points of the box: random ones, its corners and points on its faces.
void compare(RandomRegions& random, const Region& region, const Region::Box& box, int numPoints,
             Answers& answers) {
  const bool intersects = region.boxIntersects(box);
  const bool inside = region.boxInside(box);
  EXPECT_EQ(region.boxNotInside(box), !inside);
  ++(intersects ? inside ? answers.contained : answers.open : answers.disjoint);
  if (intersects && !inside) return;
  for (int i = 0; i < numPoints; ++i) {
    const Math::Point<float, 3> p = random.shapes().pointIn(box);
    if (!isFinite(p) || !box.inside(p)) continue;
    if (intersects) {
      ASSERT_TRUE(region.pointInside(p)) << p[0] << ", " << p[1] << ", " << p[2];
    } else {
      ASSERT_FALSE(region.pointInside(p)) << p[0] << ", " << p[1] << ", " << p[2];
    }
  }
}

template <class Draw>
Answers compareMany(unsigned seed, const Testing::Terrain& terrain, int numRegions, const Draw& draw) {
  RandomRegions random(seed, terrain);
  Answers answers;
  for (int n = 0; n < numRegions; ++n) {
    SCOPED_TRACE(testing::Message() << "seed " << seed << ", region " << n);
    const std::unique_ptr<Region> region = draw(random);
    for (const float size : {0.01F, 0.1F, 0.5F, 2.0F}) {
      for (int b = 0; b < 4; ++b) {
        compare(random, *region, random.shapes().box<3>(size * terrain.extent), 60, answers);
        if (testing::Test::HasFatalFailure()) return answers;
      }
    }
  }
  return answers;
}

void expectAllKindsOf(const Answers& answers) {
  EXPECT_GT(answers.disjoint, 100);
  EXPECT_GT(answers.contained, 20);
  EXPECT_GT(answers.open, 100);
}

TEST(RegionBoxTests, NeverContradictThePointsOfSolidRegions) {
  expectAllKindsOf(compareMany(1, {0, 10, 0}, 1500, [](RandomRegions& r) { return r.volumetric(); }));
}

TEST(RegionBoxTests, NeverContradictThePointsOfProjectedRegionsAlsoAcrossTheCameraPlane) {
  expectAllKindsOf(compareMany(2, {0, 10, 0}, 1500, [](RandomRegions& r) { return r.projected(); }));
}

TEST(RegionBoxTests, NeverContradictThePointsOfComposites) {
  expectAllKindsOf(compareMany(3, {0, 10, 0}, 1000, [](RandomRegions& r) { return r.tree(3); }));
}

TEST(RegionBoxTests, NeverContradictThePointsAKilometreAway) {
  expectAllKindsOf(compareMany(4, {1000, 10, 0}, 1000, [](RandomRegions& r) { return r.tree(1); }));
}

TEST(RegionBoxTests, NeverContradictThePointsOfShapesWithoutNumbersOrHugeOnes) {
  compareMany(5, {0, 10, 25}, 800, [](RandomRegions& r) { return r.tree(1); });
}

}  // namespace
