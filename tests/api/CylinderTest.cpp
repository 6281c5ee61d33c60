#include <gmock/gmock.h>

#include <cmath>
#include <stdexcept>

#include "Sorvik/Cylinder.h"
#include "api/Elements.h"

namespace {

using Sorvik::Cylinder;
using testing::Each;
using Testing::elements;
using testing::ElementsAre;
using Testing::filled;
using testing::ThrowsMessage;
using Testing::Vector3;

TEST(Cylinder, OfTheDefaultIsAllZero) {
  const Cylinder cylinder;
  EXPECT_THAT(elements(cylinder.origin()), Each(0.0F));
  EXPECT_THAT(elements(cylinder.direction()), Each(0.0F));
  EXPECT_EQ(cylinder.radius(), 0.0F);
}

TEST(Cylinder, StoresADirectionWithoutNormalisingIt) {
  Cylinder cylinder(Vector3{1, 2, 3}, Vector3{0, 0, 4}, 5);
  EXPECT_THAT(filled<3>(cylinder, &Cylinder::getOrigin), ElementsAre(1, 2, 3));
  EXPECT_THAT(filled<3>(cylinder, &Cylinder::getDirection), ElementsAre(0, 0, 4));
  EXPECT_EQ(cylinder.radius(), 5.0F);
  cylinder.setOrigin(Vector3{6, 7, 8});
  cylinder.setDirection(Vector3{0, 3, 0});
  cylinder.setRadius(2);
  EXPECT_THAT(elements(cylinder.origin()), ElementsAre(6, 7, 8));
  EXPECT_THAT(elements(cylinder.direction()), ElementsAre(0, 3, 0));
  EXPECT_EQ(cylinder.radius(), 2.0F);
}

TEST(Cylinder, FromPointAndDirectionIsTheConstructor) {
  const auto cylinder = Cylinder::fromPointAndDirection(Vector3{1, 2, 3}, Vector3{0, 0, 4}, 5);
  EXPECT_THAT(elements(cylinder.origin()), ElementsAre(1, 2, 3));
  EXPECT_THAT(elements(cylinder.direction()), ElementsAre(0, 0, 4));
  EXPECT_EQ(cylinder.radius(), 5.0F);
}

TEST(Cylinder, FromTwoPointsHasAUnitDirectionFromTheFirstToTheSecond) {
  const auto cylinder = Cylinder::fromTwoPoints(Vector3{1, 2, 3}, Vector3{1, -2, 6}, 2);
  EXPECT_THAT(elements(cylinder.origin()), ElementsAre(1, 2, 3));
  EXPECT_THAT(elements(cylinder.direction()), ElementsAre(0, -0.8F, 0.6F));
  EXPECT_EQ(cylinder.radius(), 2.0F);
}

TEST(Cylinder, FromTwoPointsThatAreEqualHasAZeroDirectionAndContainsWhatIsWithinRadiusOfTheOrigin) {
  const auto cylinder = Cylinder::fromTwoPoints(Vector3{1, 2, 3}, Vector3{1, 2, 3}, 2);
  EXPECT_THAT(elements(cylinder.direction()), Each(0.0F));
  EXPECT_TRUE(cylinder.inside(Vector3{1, 2, 5}));
  EXPECT_TRUE(cylinder.inside(Vector3{2, 1, 2}));
  EXPECT_FALSE(cylinder.inside(Vector3{1, 2, 5.5F}));
}

TEST(Cylinder, ContainsAPointExactlyOnItsSurfaceHoweverFarAlong) {
  const Cylinder cylinder(Vector3{1, 1, 0}, Vector3{0, 0, 1}, 5);
  EXPECT_TRUE(cylinder.inside(Vector3{4, 5, 1e6F}));
  EXPECT_TRUE(cylinder.inside(Vector3{6, 1, -1e6F}));
  EXPECT_FALSE(cylinder.inside(Vector3{std::nextafter(6.0F, 7.0F), 1, 0}));
}

TEST(Cylinder, TakesTheDirectionForAUnitVectorWhateverItIs) {
  const Cylinder cylinder(Vector3{0, 0, 0}, Vector3{0, 0, 2}, 1);
  // On the axis, but 1 - 2·2 times as far away as it looks.
  EXPECT_FALSE(cylinder.inside(Vector3{0, 0, 1}));
  EXPECT_TRUE(cylinder.inside(Vector3{0, 0, 0.25F}));
}

TEST(Cylinder, RefusesOriginsAndDirectionsThatAreNot3LongAndStaysAsItWas) {
  const auto origin = ThrowsMessage<std::invalid_argument>("Error: originPoint.size() != 3");
  const auto direction = ThrowsMessage<std::invalid_argument>("Error: directionVector.size() != 3");
  float values[4] = {9, 9, 9, 9};
  Cylinder cylinder(Vector3{1, 2, 3}, Vector3{4, 5, 6}, 7);
  for (const std::uint64_t size : {0U, 2U, 4U}) {
    const Sorvik::Span<float> wrong(values, size);
    EXPECT_THAT([&] { cylinder.setOrigin(wrong); }, origin);
    EXPECT_THAT([&] { cylinder.getOrigin(wrong); }, origin);
    EXPECT_THAT([&] { cylinder.setDirection(wrong); }, direction);
    EXPECT_THAT([&] { cylinder.getDirection(wrong); }, direction);
  }
  EXPECT_THAT(elements(cylinder.origin()), ElementsAre(1, 2, 3));
  EXPECT_THAT(elements(cylinder.direction()), ElementsAre(4, 5, 6));
  EXPECT_THAT(values, Each(9.0F));
}

TEST(Cylinder, RefusesAPointThatIsNot3Long) {
  EXPECT_THAT([] { (void)Cylinder().inside(std::array<float, 4>{}); },
              ThrowsMessage<std::invalid_argument>("Error: p.size() != 3"));
}

TEST(Cylinder, LooksAtNoLengthWhenItIsMade) {
  const float values[] = {1, 2, 3, 9};
  const Sorvik::Span<const float> none(values, 0);
  const Sorvik::Span<const float> four(values, 4);
  EXPECT_THAT(elements(Cylinder(none, four, 1).direction()), ElementsAre(1, 2, 3));
  EXPECT_THAT(elements(Cylinder::fromPointAndDirection(none, four, 1).origin()), ElementsAre(1, 2, 3));
  EXPECT_THAT(elements(Cylinder::fromTwoPoints(none, four, 1).direction()), Each(0.0F));
}

}  // namespace
