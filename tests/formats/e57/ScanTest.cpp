#include <gmock/gmock.h>

#include <cmath>

#include "formats/e57/Scan.h"

namespace {

using Formats::E57::Pose;
using testing::DoubleNear;
using testing::ElementsAre;

constexpr double kRounding = 1e-15;

TEST(E57Pose, AQuarterTurnAboutZTakesXToY) {
  const double half = std::sqrt(0.5);
  Pose pose;
  pose.rotation = Pose::rotationOf({half, 0, 0, half}).value();
  pose.translation = {10, 20, 30};
  const auto world = pose.toWorld({{1, 2, 3}});
  EXPECT_THAT(world.coordinates,
              ElementsAre(DoubleNear(8, 1e-14), DoubleNear(21, 1e-14), DoubleNear(33, 1e-14)));
  EXPECT_TRUE(pose.rotates());
}

TEST(E57Pose, QuaternionsOfAnyLengthAreNormalised) {
  const auto unit = Pose::rotationOf({0.5, 0.5, 0.5, 0.5}).value();
  EXPECT_THAT(unit, ElementsAre(0, 0, 1, 1, 0, 0, 0, 1, 0));
  for (const double length : {1e-300, 0.999, 17.0, 1e300}) {
    const auto rotation = Pose::rotationOf({length, length, length, length}).value();
    for (std::size_t i = 0; i < 9; ++i) EXPECT_NEAR(rotation[i], unit[i], kRounding) << length;
  }
}

TEST(E57Pose, TheUnitQuaternionIsExactlyNoRotation) {
  Pose pose;
  pose.rotation = Pose::rotationOf({-3, 0, 0, 0}).value();
  EXPECT_FALSE(pose.rotates());
}

TEST(E57Pose, AQuaternionOfLengthZeroIsNoRotation) {
  EXPECT_FALSE(Pose::rotationOf({0, 0, 0, 0}).has_value());
}

}  // namespace
