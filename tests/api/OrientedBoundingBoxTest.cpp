#include <gmock/gmock.h>

#include <cmath>
#include <numbers>
#include <stdexcept>

#include "Sorvik/OrientedBoundingBox.h"
#include "api/Elements.h"

namespace {

using Sorvik::BoundingBox;
using Sorvik::OrientedBoundingBox;
using testing::Each;
using Testing::elements;
using testing::ElementsAre;
using testing::ElementsAreArray;
using Testing::filled;
using testing::FloatNear;
using testing::IsNan;
using testing::Pointwise;
using testing::ThrowsMessage;
using Testing::Vector3;

using Matrix33 = std::array<float, 9>;
using Matrix44 = std::array<float, 16>;

constexpr Matrix33 kIdentity{1, 0, 0, 0, 1, 0, 0, 0, 1};
/// A quarter turn about z: the box's x axis is the world's y axis.
constexpr Matrix33 kQuarterTurn{0, 1, 0, -1, 0, 0, 0, 0, 1};

TEST(OrientedBoundingBox, OfTheDefaultIsTheUnitCube) {
  const OrientedBoundingBox box;
  EXPECT_THAT(elements(box.center()), ElementsAre(0, 0, 0));
  EXPECT_THAT(elements(box.halfSize()), ElementsAre(0.5F, 0.5F, 0.5F));
  EXPECT_THAT(elements(box.rotationMatrix33()), ElementsAreArray(kIdentity));
}

TEST(OrientedBoundingBox, OfACentreAloneIsAUnitCubeThere) {
  const OrientedBoundingBox box(Vector3{1, 2, 3});
  EXPECT_THAT(filled<3>(box, &OrientedBoundingBox::getCenter), ElementsAre(1, 2, 3));
  EXPECT_THAT(filled<3>(box, &OrientedBoundingBox::getSize), ElementsAre(1, 1, 1));
  EXPECT_THAT(filled<9>(box, &OrientedBoundingBox::getRotationAsMatrix33), ElementsAreArray(kIdentity));
}

TEST(OrientedBoundingBox, OfABoundingBoxIsThatBoxUnturned) {
  const OrientedBoundingBox box(BoundingBox(Vector3{0, 0, 0}, Vector3{2, 4, 6}));
  EXPECT_THAT(elements(box.center()), ElementsAre(1, 2, 3));
  EXPECT_THAT(elements(box.halfSize()), ElementsAre(1, 2, 3));
  EXPECT_THAT(elements(box.rotationMatrix33()), ElementsAreArray(kIdentity));
}

TEST(OrientedBoundingBox, OfAnInvertedBoxHasNegativeHalfSizesAndContainsNothing) {
  const OrientedBoundingBox box(BoundingBox(Vector3{2, 0, 0}, Vector3{0, 1, 1}));
  EXPECT_THAT(elements(box.halfSize()), ElementsAre(-1, 0.5F, 0.5F));
  EXPECT_FALSE(box.inside(Vector3{1, 0.5F, 0.5F}));
}

TEST(OrientedBoundingBox, OfTheDefaultBoxHasANanCentreThatNoComparisonRefuses) {
  const OrientedBoundingBox box{BoundingBox()};
  EXPECT_THAT(elements(box.center()), Each(IsNan()));
  EXPECT_TRUE(box.inside(Vector3{1, 2, 3}));
}

TEST(OrientedBoundingBox, BuiltWithAn8Or12ElementRotationSpanThrows) {
  const std::array<float, 17> values{};
  for (const std::uint64_t size : {0U, 8U, 10U, 12U, 15U, 17U}) {
    const Sorvik::Span<const float> rotation(values.data(), size);
    EXPECT_THAT([&] { OrientedBoundingBox(Vector3{}, Vector3{}, rotation); },
                ThrowsMessage<std::invalid_argument>("rotationMatrix must be 9 or 16 elements long"));
  }
}

TEST(OrientedBoundingBox, TakesTheUpperLeftBlockOfA44Matrix) {
  const Matrix44 matrix{0, 1, 0, 90, -1, 0, 0, 91, 0, 0, 1, 92, 93, 94, 95, 96};
  const OrientedBoundingBox built(Vector3{}, Vector3{1, 1, 1}, matrix);
  EXPECT_THAT(elements(built.rotationMatrix33()), ElementsAreArray(kQuarterTurn));
  OrientedBoundingBox set;
  set.setRotationByMatrix44(matrix);
  EXPECT_THAT(elements(set.rotationMatrix33()), ElementsAreArray(kQuarterTurn));
}

TEST(OrientedBoundingBox, GivesTheRotationInsideA44Identity) {
  const OrientedBoundingBox box(Vector3{7, 8, 9}, Vector3{1, 1, 1}, Matrix33{1, 2, 3, 4, 5, 6, 7, 8, 9});
  EXPECT_THAT(filled<16>(box, &OrientedBoundingBox::getRotationAsMatrix44),
              ElementsAre(1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0, 0, 0, 0, 1));
}

TEST(OrientedBoundingBox, ContainsAPointExactlyOnAnyFace) {
  const OrientedBoundingBox box(Vector3{1, 2, 3}, Vector3{4, 2, 1}, kQuarterTurn);
  for (const Vector3 p : {Vector3{1, 6, 3}, Vector3{1, -2, 3}, Vector3{3, 2, 3}, Vector3{-1, 2, 3},
                          Vector3{1, 2, 4}, Vector3{1, 2, 2}, Vector3{3, 6, 4}}) {
    EXPECT_TRUE(box.inside(p)) << p[0] << ", " << p[1] << ", " << p[2];
  }
  EXPECT_FALSE(box.inside(Vector3{1, std::nextafter(6.0F, 7.0F), 3}));
  EXPECT_FALSE(box.inside(Vector3{std::nextafter(3.0F, 4.0F), 2, 3}));
  EXPECT_FALSE(box.inside(Vector3{1, 2, std::nextafter(2.0F, 1.0F)}));
}

TEST(OrientedBoundingBox, TurnsByAQuaternionAndGivesItBack) {
  const float half = std::numbers::sqrt2_v<float> / 2;
  OrientedBoundingBox box;
  box.setRotationByQuaternion(std::array{0.0F, 0.0F, half, half});
  EXPECT_THAT(elements(box.rotationMatrix33()), Pointwise(FloatNear(1e-6F), kQuarterTurn));
  EXPECT_THAT(filled<4>(box, &OrientedBoundingBox::getRotationAsQuaternion),
              Pointwise(FloatNear(1e-6F), std::array{0.0F, 0.0F, half, half}));
}

TEST(OrientedBoundingBox, GivesHalfTurnsBackAsQuaternions) {
  // The trace of these matrices is -1, where the plain formula would divide by zero.
  for (const Matrix33& turn : {Matrix33{1, 0, 0, 0, -1, 0, 0, 0, -1}, Matrix33{-1, 0, 0, 0, 1, 0, 0, 0, -1},
                               Matrix33{-1, 0, 0, 0, -1, 0, 0, 0, 1}}) {
    OrientedBoundingBox box(Vector3{}, Vector3{}, turn);
    box.setRotationByQuaternion(filled<4>(box, &OrientedBoundingBox::getRotationAsQuaternion));
    EXPECT_THAT(elements(box.rotationMatrix33()), Pointwise(FloatNear(1e-6F), turn));
  }
}

TEST(OrientedBoundingBox, CopiesAxesAsColumnsWithoutNormalisingThem) {
  OrientedBoundingBox box;
  box.setRotationByAxes(Vector3{2, 0, 0}, Vector3{1, 1, 0}, Vector3{0, 0, 0});
  EXPECT_THAT(elements(box.rotationMatrix33()), ElementsAre(2, 0, 0, 1, 1, 0, 0, 0, 0));
  EXPECT_TRUE(box.inside(Vector3{0.25F, 0.25F, 1000}));
  EXPECT_FALSE(box.inside(Vector3{0.3F, 0, 0}));
}

TEST(OrientedBoundingBox, MayBeGivenItsOwnAxesInAnotherOrder) {
  OrientedBoundingBox box;
  const float* const axes = box.rotationMatrix33().data();
  box.setRotationByAxes({axes + 3, 3}, {axes, 3}, {axes + 6, 3});
  EXPECT_THAT(elements(box.rotationMatrix33()), ElementsAre(0, 1, 0, 1, 0, 0, 0, 0, 1));
}

TEST(OrientedBoundingBox, SetsSizesAndHalfSizes) {
  OrientedBoundingBox box;
  box.setSize(Vector3{2, 4, 6});
  EXPECT_THAT(elements(box.halfSize()), ElementsAre(1, 2, 3));
  box.setSize(5.0F);
  EXPECT_THAT(elements(box.halfSize()), Each(2.5F));
  box.setHalfSize(Vector3{1, 2, 3});
  EXPECT_THAT(filled<3>(box, &OrientedBoundingBox::getSize), ElementsAre(2, 4, 6));
  box.setHalfSize(4.0F);
  EXPECT_THAT(filled<3>(box, &OrientedBoundingBox::getHalfSize), Each(4.0F));
}

TEST(OrientedBoundingBox, LooksAtNoLengthOutsideTheConstructorWithARotation) {
  float values[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  const Sorvik::Span<const float> none(values, 0);
  OrientedBoundingBox box(none, none);
  box.setCenter(none);
  box.setRotationByMatrix33(none);
  EXPECT_THAT(elements(box.center()), ElementsAre(1, 2, 3));
  EXPECT_THAT(elements(box.rotationMatrix33()), ElementsAreArray(values));
  EXPECT_TRUE(box.inside(none));
  float out[] = {0, 0, 0, 7};
  box.getCenter(Sorvik::Span<float>(out, 1));
  EXPECT_THAT(out, ElementsAre(1, 2, 3, 7));
}

}  // namespace
