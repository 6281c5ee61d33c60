#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

#include "formats/e57/Angles.h"

namespace {

using Formats::E57::sineCosine;

/// The distance of a number to the next one, at least that at 2^-20.
double unitOfLastPlace(double number) {
  const double size = std::max(std::abs(number), 0x1p-20);
  return std::nextafter(size, 2) - size;
}

TEST(E57Angles, AreWithinTwoUnitsOfTheLastPlace) {
  std::mt19937_64 random(57);
  std::uniform_real_distribution<double> any(-1000, 1000);
  for (int i = 0; i < 100'000; ++i) {
    const double angle = i % 2 == 0 ? any(random) : any(random) / 300;
    const auto [sine, cosine] = sineCosine(angle);
    ASSERT_NEAR(sine, std::sin(angle), 2 * unitOfLastPlace(sine)) << angle;
    ASSERT_NEAR(cosine, std::cos(angle), 2 * unitOfLastPlace(cosine)) << angle;
  }
}

TEST(E57Angles, QuarterTurnsAreAsExactAsTheirAngle) {
  EXPECT_EQ(sineCosine(0).sine, 0);
  EXPECT_EQ(sineCosine(0).cosine, 1);
  EXPECT_EQ(sineCosine(std::numbers::pi / 2).sine, 1);
  EXPECT_DOUBLE_EQ(sineCosine(std::numbers::pi / 2).cosine, std::cos(std::numbers::pi / 2));
  EXPECT_DOUBLE_EQ(sineCosine(-std::numbers::pi).sine, std::sin(-std::numbers::pi));
  EXPECT_EQ(sineCosine(-std::numbers::pi).cosine, -1);
}

TEST(E57Angles, NumbersThatAreNoAngleStayInRange) {
  for (const double angle : {1e6, -1e18, 1e300}) {
    EXPECT_LE(std::abs(sineCosine(angle).sine), 1) << angle;
    EXPECT_LE(std::abs(sineCosine(angle).cosine), 1) << angle;
  }
  EXPECT_TRUE(std::isnan(sineCosine(INFINITY).sine));
  EXPECT_TRUE(std::isnan(sineCosine(NAN).cosine));
}

}  // namespace
