#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <stdexcept>

#include "Sorvik/OrientedBoundingRectangle.h"
#include "api/Elements.h"

namespace {

using Sorvik::BoundingRectangle;
using Sorvik::OrientedBoundingRectangle;
using testing::Each;
using Testing::elements;
using testing::ElementsAre;
using Testing::filled;
using testing::FloatNear;
using testing::ThrowsMessage;
using Testing::Vector2;

using Matrix22 = std::array<float, 4>;

constexpr float kPi = std::numbers::pi_v<float>;
constexpr Matrix22 kQuarterTurn{0, 1, -1, 0};

float angleOf(const OrientedBoundingRectangle& rectangle) {
  float angle = std::numeric_limits<float>::quiet_NaN();
  rectangle.getRotationAsAngle(angle);
  return angle;
}

TEST(OrientedBoundingRectangle, OfTheDefaultIsTheUnitSquare) {
  const OrientedBoundingRectangle rectangle;
  EXPECT_THAT(elements(rectangle.center()), ElementsAre(0, 0));
  EXPECT_THAT(elements(rectangle.halfSize()), ElementsAre(0.5F, 0.5F));
  EXPECT_THAT(elements(rectangle.rotationMatrix22()), ElementsAre(1, 0, 0, 1));
}

TEST(OrientedBoundingRectangle, WithAngleHalfPiGivesItBackAndSwapsItsExtents) {
  const OrientedBoundingRectangle rectangle(Vector2{0, 0}, Vector2{2, 1}, kPi / 2);
  EXPECT_FLOAT_EQ(angleOf(rectangle), kPi / 2);
  EXPECT_TRUE(rectangle.inside(Vector2{0, 1.5F}));
  EXPECT_FALSE(rectangle.inside(Vector2{1.5F, 0}));
}

TEST(OrientedBoundingRectangle, StoresAnAngleAsItsTwoAxes) {
  OrientedBoundingRectangle rectangle;
  rectangle.setRotationByAngle(0.5F);
  EXPECT_THAT(elements(rectangle.rotationMatrix22()),
              ElementsAre(std::cos(0.5F), std::sin(0.5F), -std::sin(0.5F), std::cos(0.5F)));
  for (const float angle : {-3.0F, -kPi / 2, 0.0F, 1.0F, 3.0F}) {
    rectangle.setRotationByAngle(angle);
    EXPECT_THAT(angleOf(rectangle), FloatNear(angle, 1e-6F));
  }
}

TEST(OrientedBoundingRectangle, OfABoundingRectangleIsThatRectangleUnturned) {
  const OrientedBoundingRectangle rectangle(BoundingRectangle(Vector2{0, 1}, Vector2{2, 7}));
  EXPECT_THAT(elements(rectangle.center()), ElementsAre(1, 4));
  EXPECT_THAT(elements(rectangle.halfSize()), ElementsAre(1, 3));
  EXPECT_THAT(elements(rectangle.rotationMatrix22()), ElementsAre(1, 0, 0, 1));
}

TEST(OrientedBoundingRectangle, OfACentreAloneIsAUnitSquareThere) {
  const OrientedBoundingRectangle rectangle(Vector2{3, 4});
  EXPECT_THAT(filled<2>(rectangle, &OrientedBoundingRectangle::getCenter), ElementsAre(3, 4));
  EXPECT_THAT(filled<2>(rectangle, &OrientedBoundingRectangle::getSize), ElementsAre(1, 1));
}

TEST(OrientedBoundingRectangle, RefusesARotationMatrixThatIsNot4Or9ElementsLong) {
  const std::array<float, 10> values{};
  for (const std::uint64_t size : {0U, 3U, 5U, 8U, 10U}) {
    const Sorvik::Span<const float> rotation(values.data(), size);
    EXPECT_THAT([&] { OrientedBoundingRectangle(Vector2{}, Vector2{}, rotation); },
                ThrowsMessage<std::invalid_argument>("rotationMatrix must be 4 or 9 elements long"));
  }
}

TEST(OrientedBoundingRectangle, TakesTheUpperLeftBlockOfA33MatrixAndGivesItBackInAnIdentity) {
  const std::array<float, 9> matrix{0, 1, 90, -1, 0, 91, 92, 93, 94};
  const OrientedBoundingRectangle built(Vector2{}, Vector2{1, 1}, matrix);
  OrientedBoundingRectangle set;
  set.setRotationByMatrix33(matrix);
  for (const OrientedBoundingRectangle* rectangle :
       {&built, static_cast<const OrientedBoundingRectangle*>(&set)}) {
    EXPECT_THAT(elements(rectangle->rotationMatrix22()), ElementsAre(0, 1, -1, 0));
    EXPECT_THAT(filled<9>(*rectangle, &OrientedBoundingRectangle::getRotationAsMatrix33),
                ElementsAre(0, 1, 0, -1, 0, 0, 0, 0, 1));
  }
}

TEST(OrientedBoundingRectangle, ContainsAPointExactlyOnAnyEdge) {
  const OrientedBoundingRectangle rectangle(Vector2{1, 2}, Vector2{4, 2}, kQuarterTurn);
  for (const Vector2 p : {Vector2{1, 6}, Vector2{1, -2}, Vector2{3, 2}, Vector2{-1, 2}, Vector2{3, 6}}) {
    EXPECT_TRUE(rectangle.inside(p)) << p[0] << ", " << p[1];
  }
  EXPECT_FALSE(rectangle.inside(Vector2{1, std::nextafter(6.0F, 7.0F)}));
  EXPECT_FALSE(rectangle.inside(Vector2{std::nextafter(3.0F, 4.0F), 2}));
}

TEST(OrientedBoundingRectangle, CopiesAxesAsColumnsWithoutNormalisingThem) {
  OrientedBoundingRectangle rectangle;
  rectangle.setRotationByAxes(Vector2{2, 0}, Vector2{1, 1});
  EXPECT_THAT(filled<4>(rectangle, &OrientedBoundingRectangle::getRotationAsMatrix22),
              ElementsAre(2, 0, 1, 1));
  rectangle.setRotationByMatrix22(kQuarterTurn);
  EXPECT_THAT(elements(rectangle.rotationMatrix22()), ElementsAre(0, 1, -1, 0));
}

TEST(OrientedBoundingRectangle, SetsSizesAndHalfSizes) {
  OrientedBoundingRectangle rectangle;
  rectangle.setSize(Vector2{2, 4});
  EXPECT_THAT(elements(rectangle.halfSize()), ElementsAre(1, 2));
  rectangle.setSize(5.0F);
  EXPECT_THAT(elements(rectangle.halfSize()), Each(2.5F));
  rectangle.setHalfSize(Vector2{1, 2});
  EXPECT_THAT(filled<2>(rectangle, &OrientedBoundingRectangle::getSize), ElementsAre(2, 4));
  rectangle.setHalfSize(4.0F);
  EXPECT_THAT(filled<2>(rectangle, &OrientedBoundingRectangle::getHalfSize), Each(4.0F));
}

TEST(OrientedBoundingRectangle, LooksAtNoLengthOutsideTheConstructorWithARotationMatrix) {
  float values[] = {1, 2, 3, 4};
  const Sorvik::Span<const float> none(values, 0);
  OrientedBoundingRectangle rectangle(none, none);
  rectangle.setCenter(none);
  rectangle.setRotationByMatrix22(none);
  EXPECT_THAT(elements(rectangle.rotationMatrix22()), ElementsAre(1, 2, 3, 4));
  EXPECT_TRUE(rectangle.inside(none));
  float out[] = {0, 0, 7};
  rectangle.getCenter(Sorvik::Span<float>(out, 0));
  EXPECT_THAT(out, ElementsAre(1, 2, 7));
}

}  // namespace
