#include <gtest/gtest.h>

#include <vector>

#include "math/BoxTests.h"

using Box = Math::NBoundingBox<float, 3>;
using Polygon = Math::Polygon<float>;

namespace {

Polygon polygon(const std::vector<float>& interleaved) { return Polygon(interleaved); }

/// A U of 6 by 6: legs and ground are 1 wide, the hollow is open to the top.
Polygon hollow() { return polygon({0, 0, 6, 0, 6, 6, 5, 6, 5, 1, 1, 1, 1, 6, 0, 6}); }

Box upright(float minX, float minY, float maxX, float maxY) {
  return {{{minX, minY, -9}}, {{maxX, maxY, 9}}};
}

}  // namespace

TEST(PolygonBoxTests, PruneABoxInTheHollow) {
  EXPECT_FALSE(Math::overlaps(hollow(), upright(2, 2, 4, 4)));
  EXPECT_TRUE(Math::overlaps(hollow(), upright(2, 0.5F, 4, 4)));
}

TEST(PolygonBoxTests, PruneABoxBeyondTheBoundingRectangle) {
  EXPECT_FALSE(Math::overlaps(hollow(), upright(7, 0, 8, 6)));
}

TEST(PolygonBoxTests, FindABoxThatHoldsThePolygonAndContainNone) {
  EXPECT_TRUE(Math::overlaps(hollow(), upright(-10, -10, 10, 10)));
  EXPECT_FALSE(Math::contains(hollow(), upright(-10, -10, 10, 10)));
}

TEST(PolygonBoxTests, ContainABoxInALegButNoneAcrossTheHollow) {
  EXPECT_TRUE(Math::contains(hollow(), upright(0.2F, 0.2F, 0.8F, 5)));
  EXPECT_FALSE(Math::contains(hollow(), upright(0.2F, 2, 5.8F, 3)));
}

TEST(PolygonBoxTests, CountTouchingAnEdgeAsCrossingIt) {
  EXPECT_TRUE(Math::overlaps(hollow(), upright(1, 2, 2, 3)));
  EXPECT_FALSE(Math::contains(hollow(), upright(0, 0.2F, 0.8F, 0.8F)));
}

TEST(PolygonBoxTests, FindABoxWhoseCornersAreAllOutsideAcrossANarrowPolygon) {
  const Polygon needle = polygon({-10, 0, 10, 0.5F, -10, 1});
  EXPECT_TRUE(Math::overlaps(needle, upright(-1, -5, 1, 5)));
}

TEST(PolygonBoxTests, NeitherOverlapNorContainWithFewerThanTwoVertices) {
  for (const Polygon& shape : {Polygon(), polygon({}), polygon({1, 1})}) {
    EXPECT_FALSE(Math::overlaps(shape, upright(0, 0, 2, 2)));
    EXPECT_FALSE(Math::contains(shape, upright(1, 1, 1, 1)));
  }
}

TEST(PolygonBoxTests, AllowForTheRoundingOfEdgesOfHardlyAnyHeight) {
  // At y = 0 the inside test's product underflows: it finds the first edge at x = 11 instead of 10.6.
  const Polygon shape = polygon({10.6F, 0, 10, 0x1p-149F, 20, 1});
  ASSERT_TRUE(shape.inside({{10.8F, 0}}));
  EXPECT_TRUE(Math::overlaps(shape, upright(10.7F, -0.01F, 10.8F, 0)));
}

TEST(PolygonBoxTests, AnswerForPolygonsOfAThousandVertices) {
  std::vector<float> comb;  // 500 teeth, 1 apart and up to y = 10
  for (int tooth = 0; tooth < 500; ++tooth) {
    const auto x = static_cast<float>(tooth);
    comb.insert(comb.end(), {x, 0, x + 0.5F, 10});
  }
  comb.insert(comb.end(), {500, 0, 500, -1, 0, -1});
  EXPECT_TRUE(Math::contains(polygon(comb), upright(1, -0.9F, 499, -0.1F)));
  EXPECT_FALSE(Math::overlaps(polygon(comb), upright(20.9F, 8, 21.1F, 10)));
  EXPECT_TRUE(Math::overlaps(polygon(comb), upright(20.4F, 8, 20.6F, 9)));
}
