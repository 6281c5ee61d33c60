#include <gmock/gmock.h>

#include <stdexcept>
#include <type_traits>

#include "Sorvik/Plane.h"
#include "api/Elements.h"

namespace {

using Sorvik::Plane;
using Testing::elements;
using testing::ElementsAre;
using Testing::filled;
using testing::ThrowsMessage;
using Testing::Vector3;

static_assert(!std::is_default_constructible_v<Plane>);

std::vector<float> coefficients(const Plane& plane) {
  std::vector<float> values = elements(plane.normal());
  values.push_back(plane.constant());
  return values;
}

TEST(Plane, Of0005Keeps0005AfterNormalisation) {
  EXPECT_THAT(coefficients(Plane(0, 0, 0, 5)), ElementsAre(0, 0, 0, 5));
}

TEST(Plane, Of0024Becomes0012) {
  EXPECT_THAT(coefficients(Plane(0, 0, 2, 4)), ElementsAre(0, 0, 1, 2));
  EXPECT_THAT(coefficients(Plane(std::array<float, 4>{0, 0, 2, 4})), ElementsAre(0, 0, 1, 2));
}

TEST(Plane, DividesEachCoefficientByTheNormalsLength) {
  const auto expected = testing::Pointwise(testing::FloatEq(), {2.0F / 7, 3.0F / 7, 6.0F / 7, 2.0F});
  EXPECT_THAT(coefficients(Plane(2, 3, 6, 14)), expected);
  EXPECT_THAT(coefficients(Plane(std::array<float, 4>{2, 3, 6, 14})), expected);
  EXPECT_THAT(coefficients(Plane(Vector3{2, 3, 6}, Vector3{-7, 0, 0})), expected);
}

TEST(Plane, FromNormal002AndPoint003Becomes001Minus3) {
  EXPECT_THAT(coefficients(Plane(Vector3{0, 0, 2}, Vector3{0, 0, 3})), ElementsAre(0, 0, 1, -3));
}

TEST(Plane, ChangesTheSignOfAllFourWhenNegated) {
  Plane plane(0, 0.6F, -0.8F, 2);
  const std::vector<float> before = coefficients(plane);
  plane.negate();
  EXPECT_THAT(coefficients(plane), ElementsAre(0, -before[1], -before[2], -before[3]));
}

TEST(Plane, StaysNormalisedWhenNormalisedAgain) {
  Plane plane(0, 0, 4, 8);
  plane.normalize();
  EXPECT_THAT(coefficients(plane), ElementsAre(0, 0, 1, 2));
}

TEST(Plane, WritesNormalAndConstant) {
  const Plane plane(0, 1, 0, 7);
  EXPECT_THAT(filled<3>(plane, &Plane::getNormal), ElementsAre(0, 1, 0));
  float constant = 0;
  plane.getConstant(constant);
  EXPECT_EQ(constant, 7.0F);
  float out[] = {9, 9, 9, 9};
  plane.getNormal(Sorvik::Span<float>(out, 0));
  EXPECT_THAT(out, ElementsAre(0, 1, 0, 9));
}

TEST(Plane, RefusesCoefficientsThatAreNot4) {
  const std::array<float, 5> values{};
  for (const std::uint64_t size : {0U, 3U, 5U}) {
    EXPECT_THAT([&] { Plane(Sorvik::Span<const float>(values.data(), size)); },
                ThrowsMessage<std::invalid_argument>("Error: elems.size() != 4"));
  }
}

TEST(Plane, RefusesAWrongNormalBeforeAWrongPoint) {
  const std::array<float, 2> wrong{};
  EXPECT_THAT([&] { Plane(wrong, wrong); },
              ThrowsMessage<std::invalid_argument>("Error: normal.size() != 3"));
  EXPECT_THAT([&] { Plane(wrong, Vector3{}); },
              ThrowsMessage<std::invalid_argument>("Error: normal.size() != 3"));
  EXPECT_THAT([&] { Plane(Vector3{}, wrong); },
              ThrowsMessage<std::invalid_argument>("Error: point.size() != 3"));
}

}  // namespace
