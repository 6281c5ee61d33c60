#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "Sorvik/BoundingRectangle.h"
#include "api/Elements.h"

namespace {

using Sorvik::BoundingRectangle;
using testing::Each;
using Testing::elements;
using testing::ElementsAre;
using Testing::filled;
using testing::IsNan;
using Testing::Vector2;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(BoundingRectangle, OfTheDefaultIsEmptyContainsNoPointHasSize0AndANanCentre) {
  const BoundingRectangle rectangle;
  EXPECT_TRUE(rectangle.empty());
  EXPECT_FALSE(rectangle.inside(Vector2{0, 0}));
  EXPECT_THAT(filled<2>(rectangle, &BoundingRectangle::getSize), Each(0.0F));
  EXPECT_THAT(filled<2>(rectangle, &BoundingRectangle::getHalfSize), Each(0.0F));
  EXPECT_THAT(filled<2>(rectangle, &BoundingRectangle::getCenter), Each(IsNan()));
  EXPECT_THAT(elements(rectangle.minimum()), ElementsAre(kInfinity, kInfinity));
  EXPECT_THAT(elements(rectangle.maximum()), ElementsAre(-kInfinity, -kInfinity));
}

TEST(BoundingRectangle, ExpandedByOnePointFromTheDefaultIsNotEmptyAndContainsExactlyThatPoint) {
  BoundingRectangle rectangle;
  rectangle.expand(Vector2{1, 2});
  EXPECT_FALSE(rectangle.empty());
  EXPECT_TRUE(rectangle.inside(Vector2{1, 2}));
  EXPECT_FALSE(rectangle.inside(Vector2{std::nextafter(1.0F, 2.0F), 2}));
}

TEST(BoundingRectangle, ContainsAPointExactlyOnAnyEdge) {
  const BoundingRectangle rectangle(Vector2{-1, -2}, Vector2{1, 2});
  for (const Vector2 p : {Vector2{-1, 0}, Vector2{1, 0}, Vector2{0, -2}, Vector2{0, 2}, Vector2{1, 2}}) {
    EXPECT_TRUE(rectangle.inside(p)) << p[0] << ", " << p[1];
  }
  EXPECT_FALSE(rectangle.inside(Vector2{std::nextafter(1.0F, 2.0F), 0}));
  EXPECT_FALSE(rectangle.inside(Vector2{0, std::nextafter(-2.0F, -3.0F)}));
}

TEST(BoundingRectangle, TellsSizeHalfSizeAndCentre) {
  BoundingRectangle rectangle;
  rectangle.setMinimum(Vector2{-1, 5});
  rectangle.setMaximum(Vector2{2, 4});
  EXPECT_TRUE(rectangle.empty());
  EXPECT_THAT(filled<2>(rectangle, &BoundingRectangle::getMinimum), ElementsAre(-1, 5));
  EXPECT_THAT(filled<2>(rectangle, &BoundingRectangle::getMaximum), ElementsAre(2, 4));
  EXPECT_THAT(filled<2>(rectangle, &BoundingRectangle::getSize), ElementsAre(3, 0));
  EXPECT_THAT(filled<2>(rectangle, &BoundingRectangle::getHalfSize), ElementsAre(1.5F, 0));
  EXPECT_THAT(filled<2>(rectangle, &BoundingRectangle::getCenter), ElementsAre(0.5F, 4.5F));
}

TEST(BoundingRectangle, IsTheDefaultAgainAfterReset) {
  BoundingRectangle rectangle(Vector2{0, 0}, Vector2{1, 1});
  rectangle.reset();
  EXPECT_TRUE(rectangle.empty());
  EXPECT_THAT(elements(rectangle.minimum()), Each(kInfinity));
  EXPECT_THAT(elements(rectangle.maximum()), Each(-kInfinity));
}

TEST(BoundingRectangle, NeverLooksAtTheLengthOfASpan) {
  float corner[] = {1, 2, 99};
  BoundingRectangle rectangle(Sorvik::Span<const float>(corner, 0), Sorvik::Span<const float>(corner, 3));
  EXPECT_TRUE(rectangle.inside(Sorvik::Span<const float>(corner, 1)));
  float out[] = {0, 0, 7};
  rectangle.getMinimum(Sorvik::Span<float>(out, 0));
  EXPECT_THAT(out, ElementsAre(1, 2, 7));
}

}  // namespace
