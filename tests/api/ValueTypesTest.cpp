#include <gmock/gmock.h>

#include <cmath>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "Sorvik/Color.h"
#include "Sorvik/ColoredPoint.h"
#include "Sorvik/ResultPointInfo.h"
#include "Sorvik/Version.h"

namespace {

using Sorvik::Color;
using Sorvik::ColoredPoint;
using Sorvik::ResultPointInfo;

static_assert(std::is_aggregate_v<Color> && std::is_trivial_v<Color> && sizeof(Color) == 4);
static_assert(offsetof(Color, b) == 0 && offsetof(Color, g) == 1 && offsetof(Color, r) == 2 &&
              offsetof(Color, a) == 3);

static_assert(std::is_aggregate_v<ColoredPoint> && std::is_trivial_v<ColoredPoint> &&
              sizeof(ColoredPoint) == 16);
static_assert(offsetof(ColoredPoint, x) == 0 && offsetof(ColoredPoint, y) == 4 &&
              offsetof(ColoredPoint, z) == 8 && offsetof(ColoredPoint, color) == 12);

static_assert(std::is_aggregate_v<ResultPointInfo> && std::is_trivial_v<ResultPointInfo> &&
              sizeof(ResultPointInfo) == 16);
static_assert(offsetof(ResultPointInfo, x) == 0 && offsetof(ResultPointInfo, y) == 4 &&
              offsetof(ResultPointInfo, z) == 8 && offsetof(ResultPointInfo, distanceSquared) == 12);

TEST(ColoredPoint, IsValidWithFourthColourByte0AndInvalidWith1Or255WhateverItsPosition) {
  for (const float coordinate : {0.0F, -7.5F, 1e30F, NAN}) {
    ColoredPoint point{coordinate, coordinate, coordinate, {1, 2, 3, 0}};
    EXPECT_TRUE(point.isValid());
    point.color.a = 1;
    EXPECT_FALSE(point.isValid());
    point.color.a = 255;
    EXPECT_FALSE(point.isValid());
  }
}

TEST(ColoredPoint, AssignmentCopiesAllMembers) {
  ColoredPoint source{1, 2, 3, {4, 5, 6, 7}};
  ColoredPoint copied{};
  copied = source;
  EXPECT_EQ(copied, source);
  ColoredPoint moved{};
  moved = std::move(source);
  EXPECT_EQ(moved, copied);
}

TEST(ResultPointInfo, WithSquaredDistance4ReportsDistance2AndItsZAsHeight) {
  const ResultPointInfo info{1, 2, -3.5F, 4};
  EXPECT_EQ(info.distance(), 2.0F);
  EXPECT_EQ(info.height(), -3.5F);
}

TEST(ResultPointInfo, HasANanDistanceWhenTheSquareIsNegative) {
  EXPECT_TRUE(std::isnan(ResultPointInfo{0, 0, 0, -1}.distance()));
}

TEST(Version, IsThreeNumbersWithDots) {
  EXPECT_THAT(Sorvik::versionString(), testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+"));
}

}  // namespace
