#include <gtest/gtest.h>

#include <cmath>

#include "math/BoxTests.h"

using Box = Math::NBoundingBox<float, 3>;
using Cylinder = Math::Cylinder<float>;
using CylinderFinite = Math::CylinderFinite<float>;

namespace {

Box cube(float x, float y, float z, float halfSize) {
  return {{{x - halfSize, y - halfSize, z - halfSize}}, {{x + halfSize, y + halfSize, z + halfSize}}};
}

const Cylinder kUpright{{{0, 0, 0}}, {{0, 0, 1}}, 1};
const CylinderFinite kPost{{{0, 0, 0}}, {{0, 0, 10}}, 1};

}  // namespace

TEST(CylinderBoxTests, PruneBoxesBesideTheAxis) {
  EXPECT_TRUE(Math::overlaps(kUpright, cube(1.9F, 0, 1000, 1)));
  EXPECT_FALSE(Math::overlaps(kUpright, cube(2.1F, 0, 1000, 1)));
}

TEST(CylinderBoxTests, PruneABoxWhoseCornerIsTooFar) {
  EXPECT_FALSE(Math::overlaps(kUpright, cube(1.8F, 1.8F, 0, 1)));
  EXPECT_TRUE(Math::overlaps(kUpright, cube(1.7F, 1.7F, 0, 1)));
}

TEST(CylinderBoxTests, FindABoxThatTheAxisLeavesByACornerFarFromItsCentre) {
  // The axis passes the long box near its end, away from where its centre projects to.
  const Box plate{{{0, 0, 0}}, {{100, 100, 1}}};
  const float diagonal = std::sqrt(0.5F);
  const Cylinder shape{{{0, 0, 1.5F}}, {{-diagonal, 0, diagonal}}, 0.6F};
  EXPECT_TRUE(shape.inside({{0.2F, 0, 1}}));
  EXPECT_TRUE(Math::overlaps(shape, plate));
}

TEST(CylinderBoxTests, ContainBoxesAroundTheAxis) {
  EXPECT_TRUE(Math::contains(kUpright, Box{{{-0.7F, -0.7F, -50}}, {{0.7F, 0.7F, 50}}}));
  EXPECT_FALSE(Math::contains(kUpright, Box{{{-0.7F, -0.72F, -50}}, {{0.7F, 0.7F, 50}}}));
}

TEST(CylinderBoxTests, OverlapEverythingWithoutADirection) {
  const Cylinder shape{{{0, 0, 0}}, {{0, 0, 0}}, 1};
  EXPECT_TRUE(Math::overlaps(shape, cube(1000, 1000, 1000, 1)));
  EXPECT_TRUE(Math::contains(shape, cube(0, 0, 0, 0.5F)));
}

TEST(CylinderBoxTests, CountANegativeRadiusByItsMagnitude) {
  Cylinder shape = kUpright;
  shape.radius = -1;
  EXPECT_TRUE(Math::contains(shape, cube(0, 0, 0, 0.5F)));
}

TEST(CylinderBoxTests, ContainNothingWithoutARadius) {
  Cylinder shape = kUpright;
  shape.radius = 0;
  EXPECT_FALSE(Math::contains(shape, cube(0, 0, 0, 0)));
  EXPECT_TRUE(Math::overlaps(shape, cube(0, 0, 0, 0)));
}

TEST(CylinderBoxTests, TakeOverlapsOfADirectionOfAnyLengthByTheAxis) {
  const Cylinder shape{{{0, 0, 0}}, {{0, 0, 3}}, 1};
  EXPECT_TRUE(Math::overlaps(shape, cube(0, 0, 1000, 1)));
  EXPECT_FALSE(Math::contains(shape, cube(0, 0, 1000, 0.1F)));
}

TEST(CylinderFiniteBoxTests, PruneBoxesBeyondTheEnds) {
  EXPECT_TRUE(Math::overlaps(kPost, cube(0, 0, 10.9F, 1)));
  EXPECT_FALSE(Math::overlaps(kPost, cube(0, 0, 11.1F, 1)));
  EXPECT_FALSE(Math::overlaps(kPost, cube(0, 0, -1.1F, 1)));
  EXPECT_FALSE(Math::overlaps(kPost, cube(2.1F, 0, 5, 1)));
}

TEST(CylinderFiniteBoxTests, ContainBoxesBetweenTheEnds) {
  EXPECT_TRUE(Math::contains(kPost, cube(0, 0, 5, 0.5F)));
  EXPECT_FALSE(Math::contains(kPost, cube(0, 0, 9.8F, 0.5F)));
  EXPECT_FALSE(Math::contains(kPost, Box{{{-0.5F, -0.5F, 0}}, {{0.5F, 0.5F, 5}}}));
}

TEST(CylinderFiniteBoxTests, NeitherOverlapNorContainWithoutALength) {
  const CylinderFinite shape{{{1, 1, 1}}, {{1, 1, 1}}, 5};
  EXPECT_FALSE(Math::overlaps(shape, cube(1, 1, 1, 1)));
  EXPECT_FALSE(Math::contains(shape, cube(1, 1, 1, 1)));
}
