#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "Sorvik/BoundingBox.h"
#include "api/Elements.h"

namespace {

using Sorvik::BoundingBox;
using testing::Each;
using Testing::elements;
using testing::ElementsAre;
using Testing::filled;
using testing::IsNan;
using Testing::Vector3;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(BoundingBox, OfTheDefaultIsEmptyContainsNoPointHasSize0AndANanCentre) {
  const BoundingBox box;
  EXPECT_TRUE(box.empty());
  EXPECT_FALSE(box.inside(Vector3{0, 0, 0}));
  EXPECT_FALSE(box.inside(Vector3{kInfinity, -kInfinity, 0}));
  EXPECT_THAT(filled<3>(box, &BoundingBox::getSize), Each(0.0F));
  EXPECT_THAT(filled<3>(box, &BoundingBox::getHalfSize), Each(0.0F));
  EXPECT_THAT(filled<3>(box, &BoundingBox::getCenter), Each(IsNan()));
  EXPECT_THAT(elements(box.minimum()), ElementsAre(kInfinity, kInfinity, kInfinity));
  EXPECT_THAT(elements(box.maximum()), ElementsAre(-kInfinity, -kInfinity, -kInfinity));
}

TEST(BoundingBox, ExpandedByOnePointFromTheDefaultIsNotEmptyAndContainsExactlyThatPoint) {
  BoundingBox box;
  box.expand(Vector3{1, 2, 3});
  EXPECT_FALSE(box.empty());
  EXPECT_TRUE(box.inside(Vector3{1, 2, 3}));
  EXPECT_FALSE(box.inside(Vector3{std::nextafter(1.0F, 2.0F), 2, 3}));
  EXPECT_FALSE(box.inside(Vector3{1, 2, std::nextafter(3.0F, 2.0F)}));
  EXPECT_THAT(elements(box.minimum()), ElementsAre(1, 2, 3));
  EXPECT_THAT(elements(box.maximum()), ElementsAre(1, 2, 3));
}

TEST(BoundingBox, ContainsAPointExactlyOnAnyFace) {
  const BoundingBox box(Vector3{-1, -2, -3}, Vector3{1, 2, 3});
  for (std::size_t axis = 0; axis < 3; ++axis) {
    for (const float side : {-1.0F, 1.0F}) {
      Vector3 p{};
      p[axis] = side * static_cast<float>(axis + 1);
      EXPECT_TRUE(box.inside(p));
      p[axis] = std::nextafter(p[axis], side * kInfinity);
      EXPECT_FALSE(box.inside(p));
    }
  }
  EXPECT_TRUE(box.inside(Vector3{1, -2, 3}));
}

TEST(BoundingBox, KeepsCornersInTheOrderGiven) {
  const BoundingBox box(Vector3{0, 5, 0}, Vector3{1, 4, 1});
  EXPECT_THAT(filled<3>(box, &BoundingBox::getMinimum), ElementsAre(0, 5, 0));
  EXPECT_THAT(filled<3>(box, &BoundingBox::getMaximum), ElementsAre(1, 4, 1));
  EXPECT_TRUE(box.empty());
  EXPECT_THAT(filled<3>(box, &BoundingBox::getSize), ElementsAre(1, 0, 1));
  EXPECT_FALSE(box.inside(Vector3{0.5F, 4.5F, 0.5F}));
}

TEST(BoundingBox, TellsSizeHalfSizeAndCentre) {
  BoundingBox box;
  box.setMinimum(Vector3{-1, 0, 2});
  box.setMaximum(Vector3{2, 0, 10});
  EXPECT_FALSE(box.empty());
  EXPECT_THAT(filled<3>(box, &BoundingBox::getSize), ElementsAre(3, 0, 8));
  EXPECT_THAT(filled<3>(box, &BoundingBox::getHalfSize), ElementsAre(1.5F, 0, 4));
  EXPECT_THAT(filled<3>(box, &BoundingBox::getCenter), ElementsAre(0.5F, 0, 6));
}

TEST(BoundingBox, FindsTheCentreOfHugeCornersWithoutOverflow) {
  constexpr float huge = std::numeric_limits<float>::max();
  const BoundingBox box(Vector3{huge, -huge, 0}, Vector3{huge, huge, huge});
  EXPECT_THAT(filled<3>(box, &BoundingBox::getCenter), ElementsAre(huge, 0, huge / 2));
}

TEST(BoundingBox, GrowsOnlyWhereAPointLiesOutside) {
  BoundingBox box(Vector3{0, 0, 0}, Vector3{1, 1, 1});
  box.expand(Vector3{-1, 0.5F, 3});
  EXPECT_THAT(elements(box.minimum()), ElementsAre(-1, 0, 0));
  EXPECT_THAT(elements(box.maximum()), ElementsAre(1, 1, 3));
}

TEST(BoundingBox, IsTheDefaultAgainAfterReset) {
  BoundingBox box(Vector3{0, 0, 0}, Vector3{1, 1, 1});
  box.reset();
  EXPECT_TRUE(box.empty());
  EXPECT_THAT(elements(box.minimum()), Each(kInfinity));
  EXPECT_THAT(elements(box.maximum()), Each(-kInfinity));
}

TEST(BoundingBox, NeverLooksAtTheLengthOfASpan) {
  float corner[] = {1, 2, 3, 99};
  BoundingBox box(Sorvik::Span<const float>(corner, 0), Sorvik::Span<const float>(corner, 4));
  EXPECT_TRUE(box.inside(Sorvik::Span<const float>(corner, 1)));
  box.expand(Sorvik::Span<const float>(corner, 0));
  float out[] = {0, 0, 0, 7};
  box.getMaximum(Sorvik::Span<float>(out, 1));
  EXPECT_THAT(out, ElementsAre(1, 2, 3, 7));
}

TEST(BoundingBox, ShowsItsOwnStorage) {
  BoundingBox box(Vector3{0, 0, 0}, Vector3{1, 1, 1});
  const Sorvik::Span<const float> minimum = box.minimum();
  EXPECT_EQ(minimum.data(), box.minimum().data());
  EXPECT_EQ(minimum.size(), 3U);
  EXPECT_EQ(box.maximum().size(), 3U);
}

}  // namespace
