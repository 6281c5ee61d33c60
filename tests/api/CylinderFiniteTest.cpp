#include <gmock/gmock.h>

#include <cmath>
#include <stdexcept>

#include "Sorvik/CylinderFinite.h"
#include "api/Elements.h"

namespace {

using Sorvik::CylinderFinite;
using testing::Each;
using Testing::elements;
using testing::ElementsAre;
using Testing::filled;
using testing::ThrowsMessage;
using Testing::Vector3;

TEST(CylinderFinite, OfTheDefaultIsAllZeroAndContainsNothing) {
  const CylinderFinite cylinder;
  EXPECT_THAT(elements(cylinder.start()), Each(0.0F));
  EXPECT_THAT(elements(cylinder.end()), Each(0.0F));
  EXPECT_EQ(cylinder.radius(), 0.0F);
  EXPECT_FALSE(cylinder.inside(Vector3{0, 0, 0}));
}

TEST(CylinderFinite, KeepsItsEndsAndRadius) {
  CylinderFinite cylinder(Vector3{1, 2, 3}, Vector3{4, 5, 6}, 7);
  EXPECT_THAT(filled<3>(cylinder, &CylinderFinite::getStart), ElementsAre(1, 2, 3));
  EXPECT_THAT(filled<3>(cylinder, &CylinderFinite::getEnd), ElementsAre(4, 5, 6));
  cylinder.setStart(Vector3{0, 0, 0});
  cylinder.setEnd(Vector3{0, 0, 2});
  cylinder.setRadius(1);
  EXPECT_THAT(elements(cylinder.start()), ElementsAre(0, 0, 0));
  EXPECT_THAT(elements(cylinder.end()), ElementsAre(0, 0, 2));
  EXPECT_EQ(cylinder.radius(), 1.0F);
}

TEST(CylinderFinite, FromTwoPointsIsTheConstructor) {
  const auto cylinder = CylinderFinite::fromTwoPoints(Vector3{1, 2, 3}, Vector3{4, 5, 6}, 7);
  EXPECT_THAT(elements(cylinder.start()), ElementsAre(1, 2, 3));
  EXPECT_THAT(elements(cylinder.end()), ElementsAre(4, 5, 6));
  EXPECT_EQ(cylinder.radius(), 7.0F);
}

TEST(CylinderFinite, WithStartEqualToEndContainsNothing) {
  const CylinderFinite cylinder(Vector3{1, 2, 3}, Vector3{1, 2, 3}, 5);
  EXPECT_FALSE(cylinder.inside(Vector3{1, 2, 3}));
  EXPECT_FALSE(cylinder.inside(Vector3{2, 2, 3}));
}

TEST(CylinderFinite, ContainsAPointExactlyOnItsWallOrOnAnEnd) {
  const CylinderFinite cylinder(Vector3{0, 0, 1}, Vector3{0, 0, 5}, 5);
  EXPECT_TRUE(cylinder.inside(Vector3{3, 4, 2}));
  EXPECT_TRUE(cylinder.inside(Vector3{0, 0, 1}));
  EXPECT_TRUE(cylinder.inside(Vector3{1, 1, 5}));
  EXPECT_TRUE(cylinder.inside(Vector3{3, 4, 5}));
  EXPECT_FALSE(cylinder.inside(Vector3{std::nextafter(5.0F, 6.0F), 0, 3}));
}

TEST(CylinderFinite, HasFlatEnds) {
  const CylinderFinite cylinder(Vector3{0, 0, 1}, Vector3{0, 0, 5}, 5);
  EXPECT_FALSE(cylinder.inside(Vector3{0, 0, std::nextafter(1.0F, 0.0F)}));
  EXPECT_FALSE(cylinder.inside(Vector3{0, 0, std::nextafter(5.0F, 6.0F)}));
}

TEST(CylinderFinite, RefusesEndsThatAreNot3LongAndStaysAsItWas) {
  const auto start = ThrowsMessage<std::invalid_argument>("Error: startPoint.size() != 3");
  const auto end = ThrowsMessage<std::invalid_argument>("Error: endPoint.size() != 3");
  float values[4] = {9, 9, 9, 9};
  CylinderFinite cylinder(Vector3{1, 2, 3}, Vector3{4, 5, 6}, 7);
  for (const std::uint64_t size : {0U, 2U, 4U}) {
    const Sorvik::Span<float> wrong(values, size);
    EXPECT_THAT([&] { cylinder.setStart(wrong); }, start);
    EXPECT_THAT([&] { cylinder.getStart(wrong); }, start);
    EXPECT_THAT([&] { cylinder.setEnd(wrong); }, end);
    EXPECT_THAT([&] { cylinder.getEnd(wrong); }, end);
  }
  EXPECT_THAT(elements(cylinder.start()), ElementsAre(1, 2, 3));
  EXPECT_THAT(elements(cylinder.end()), ElementsAre(4, 5, 6));
  EXPECT_THAT(values, Each(9.0F));
}

TEST(CylinderFinite, RefusesAPointThatIsNot3LongEvenWhenItContainsNothing) {
  EXPECT_THAT([] { (void)CylinderFinite().inside(std::array<float, 2>{}); },
              ThrowsMessage<std::invalid_argument>("Error: p.size() != 3"));
}

TEST(CylinderFinite, LooksAtNoLengthWhenItIsMade) {
  const float values[] = {1, 2, 3, 9};
  const Sorvik::Span<const float> none(values, 0);
  const Sorvik::Span<const float> four(values, 4);
  EXPECT_THAT(elements(CylinderFinite(none, four, 1).start()), ElementsAre(1, 2, 3));
  EXPECT_THAT(elements(CylinderFinite::fromTwoPoints(four, none, 1).end()), ElementsAre(1, 2, 3));
}

}  // namespace
