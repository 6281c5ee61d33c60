#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "sorvik/CallError.h"
#include "sorvik/ShapeArguments.h"

namespace Program {
namespace {

using testing::ElementsAre;
using testing::FloatNear;
using testing::ThrowsMessage;

constexpr std::array<double, 3> kOrigin{600'000, 5'000'000, 100};
constexpr float kRoot = 0.70710678F;

const ShapeOption& option(const std::string& name) {
  for (const ShapeOption& option : shapeOptions()) {
    if (name == option.name) return option;
  }
  throw std::invalid_argument("no option " + name);
}

template <class Expected>
Expected made(const std::string& name, const std::string& text) {
  return std::get<Expected>(makeShape(parseShape(option(name), text), kOrigin));
}

auto refuses(const std::string& message) { return ThrowsMessage<CallError>(message); }

auto parsing(const std::string& name, const std::string& text) {
  return [name, text] { (void)parseShape(option(name), text); };
}

TEST(ShapeArguments, HaveOneOptionForEachShape) {
  std::vector<std::string> names;
  for (const ShapeOption& option : shapeOptions()) names.emplace_back(option.name);
  EXPECT_THAT(names, ElementsAre("--box", "--oriented-box", "--sphere", "--cylinder", "--cylinder-finite",
                                 "--rectangle", "--oriented-rectangle", "--circle", "--polygon"));
}

TEST(ShapeArguments, KeepTheNumbersAsGivenUntilTheOriginIsKnown) {
  const ShapeArgument argument = parseShape(option("--sphere"), "600000.123456,5000001,102,2.5");
  EXPECT_EQ(argument, (ShapeArgument{ShapeKind::Sphere, {600000.123456, 5000001, 102, 2.5}}));
}

TEST(ShapeArguments, SubtractTheOriginBeforeNarrowingToFloat) {
  const auto sphere = made<Sorvik::Sphere>("--sphere", "600000.001,5000000.002,100.003,1");
  EXPECT_THAT(sphere.center(),
              ElementsAre(FloatNear(0.001F, 1e-9F), FloatNear(0.002F, 1e-9F), FloatNear(0.003F, 1e-9F)));
}

TEST(ShapeArguments, MakeABoxOfTwoCorners) {
  const auto box = made<Sorvik::BoundingBox>("--box", "600001,5000002,103,600004,5000005,106");
  EXPECT_THAT(box.minimum(), ElementsAre(1, 2, 3));
  EXPECT_THAT(box.maximum(), ElementsAre(4, 5, 6));
}

TEST(ShapeArguments, TakeABoxWithCrossedCornersAsAnEmptyOne) {
  EXPECT_TRUE(made<Sorvik::BoundingBox>("--box", "600004,5000002,103,600001,5000005,106").empty());
}

TEST(ShapeArguments, MakeAnOrientedBoxOfCentreHalfSizesAndQuaternion) {
  // A quarter turn about z, of a quaternion of length 2.
  const auto box = made<Sorvik::OrientedBoundingBox>(
      "--oriented-box", "600001,5000002,103,4,5,6,0,0,1.4142135623730951,1.4142135623730951");
  EXPECT_THAT(box.center(), ElementsAre(1, 2, 3));
  EXPECT_THAT(box.halfSize(), ElementsAre(4, 5, 6));
  std::array<float, 4> quaternion{};
  box.getRotationAsQuaternion(quaternion);
  EXPECT_THAT(quaternion, ElementsAre(0, 0, FloatNear(kRoot, 1e-6F), FloatNear(kRoot, 1e-6F)));
}

TEST(ShapeArguments, MakeACylinderOfUnitDirection) {
  const auto cylinder = made<Sorvik::Cylinder>("--cylinder", "600001,5000002,103,0,30,40,7");
  EXPECT_THAT(cylinder.origin(), ElementsAre(1, 2, 3));
  EXPECT_THAT(cylinder.direction(), ElementsAre(0, 0.6F, 0.8F));
  EXPECT_EQ(cylinder.radius(), 7);
}

TEST(ShapeArguments, MakeAFiniteCylinderOfTwoPoints) {
  const auto cylinder =
      made<Sorvik::CylinderFinite>("--cylinder-finite", "600001,5000002,103,600004,5000005,106,7");
  EXPECT_THAT(cylinder.start(), ElementsAre(1, 2, 3));
  EXPECT_THAT(cylinder.end(), ElementsAre(4, 5, 6));
  EXPECT_EQ(cylinder.radius(), 7);
}

TEST(ShapeArguments, MakeARectangleOfTwoCorners) {
  const auto rectangle = made<Sorvik::BoundingRectangle>("--rectangle", "600001,5000002,600003,5000004");
  EXPECT_THAT(rectangle.minimum(), ElementsAre(1, 2));
  EXPECT_THAT(rectangle.maximum(), ElementsAre(3, 4));
}

TEST(ShapeArguments, MakeAnOrientedRectangleOfAnAngleInRadians) {
  const auto rectangle =
      made<Sorvik::OrientedBoundingRectangle>("--oriented-rectangle", "600001,5000002,3,4,0.5");
  float angleRadians = 0;
  rectangle.getRotationAsAngle(angleRadians);
  EXPECT_THAT(rectangle.center(), ElementsAre(1, 2));
  EXPECT_THAT(rectangle.halfSize(), ElementsAre(3, 4));
  EXPECT_FLOAT_EQ(angleRadians, 0.5F);
}

TEST(ShapeArguments, MakeACircleOfCentreAndRadius) {
  const auto circle = made<Sorvik::Circle>("--circle", "600001,5000002,0");
  EXPECT_THAT(circle.center(), ElementsAre(1, 2));
  EXPECT_EQ(circle.radius(), 0);
}

TEST(ShapeArguments, MakeAPolygonOfItsVertices) {
  const auto polygon =
      made<Sorvik::Polygon>("--polygon", "600000,5000000,600004,5000000,600004,5000002,600000,5000002");
  EXPECT_EQ(polygon.numVertices(), 4U);
  EXPECT_THAT(polygon.vertex(2), ElementsAre(4, 2));
  EXPECT_EQ(polygon.area(), 8);
}

TEST(ShapeArguments, RefuseAnyOtherCountOfNumbers) {
  for (const ShapeOption& option : shapeOptions()) {
    std::string numbers = "1";
    for (std::size_t count = 1; count < 12; ++count, numbers += ",1") {
      if (option.count == count || option.count == 0) continue;
      EXPECT_THAT(parsing(option.name, numbers),
                  refuses(std::string(option.name) + ": expected the " + std::to_string(option.count) +
                          " numbers " + option.form + ", found " + std::to_string(count)));
    }
  }
}

TEST(ShapeArguments, RefuseHalfAVertexAndTooFewVertices) {
  EXPECT_THAT(parsing("--polygon", "1,2,3,4,5,6,7"),
              refuses("--polygon: expected x and y of each vertex, found 7 numbers"));
  EXPECT_THAT(parsing("--polygon", "1"),
              refuses("--polygon: expected x and y of each vertex, found 1 number"));
  EXPECT_THAT(parsing("--polygon", "1,2,3,4"),
              refuses("--polygon: expected at least 3 vertices, found 4 numbers"));
}

TEST(ShapeArguments, RefuseANegativeRadius) {
  EXPECT_THAT(parsing("--sphere", "1,2,3,-4"), refuses("--sphere: the radius is negative"));
  EXPECT_THAT(parsing("--circle", "1,2,-4"), refuses("--circle: the radius is negative"));
  EXPECT_THAT(parsing("--cylinder", "1,2,3,0,0,1,-4"), refuses("--cylinder: the radius is negative"));
  EXPECT_THAT(parsing("--cylinder-finite", "1,2,3,4,5,6,-4"),
              refuses("--cylinder-finite: the radius is negative"));
}

TEST(ShapeArguments, RefuseDirectionsAndQuaternionsWithoutLength) {
  EXPECT_THAT(parsing("--cylinder", "1,2,3,0,0,0,4"), refuses("--cylinder: the direction has no length"));
  EXPECT_THAT(parsing("--oriented-box", "1,2,3,1,1,1,0,0,-0,0"),
              refuses("--oriented-box: the quaternion has no length"));
}

TEST(ShapeArguments, NameTheOptionWhoseNumberIsWrong) {
  EXPECT_THAT(parsing("--sphere", "1,2,3x,4"), refuses("--sphere: '3x' is not a number"));
  EXPECT_THAT(parsing("--box", "1,2,3,4,5,nan"), refuses("--box: 'nan' is not a finite number"));
}

TEST(ShapeArguments, StayFiniteAtTheEndOfTheFloats) {
  const auto box = std::get<Sorvik::BoundingBox>(
      makeShape(parseShape(option("--box"), "-3.4e38,0,0,3.4e38,1,1"), {-3.4e38, 0, 0}));
  EXPECT_EQ(box.minimum()[0], 0);
  EXPECT_EQ(box.maximum()[0], std::numeric_limits<float>::max());
}

}  // namespace
}  // namespace Program
