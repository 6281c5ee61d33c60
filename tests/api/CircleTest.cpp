#include <gmock/gmock.h>

#include <cmath>
#include <stdexcept>

#include "Sorvik/Circle.h"
#include "api/Elements.h"

namespace {

using Sorvik::Circle;
using Testing::elements;
using testing::ElementsAre;
using Testing::filled;
using testing::ThrowsMessage;
using Testing::Vector2;

TEST(Circle, OfTheDefaultHasRadius1AroundTheOrigin) {
  const Circle circle;
  EXPECT_THAT(elements(circle.center()), ElementsAre(0, 0));
  EXPECT_EQ(circle.radius(), 1.0F);
}

TEST(Circle, KeepsCentreAndRadius) {
  Circle circle(1, 2, 3);
  EXPECT_THAT(filled<2>(circle, &Circle::getCenter), ElementsAre(1, 2));
  circle.setCenter(Vector2{4, 5});
  circle.setRadius(6);
  EXPECT_THAT(elements(circle.center()), ElementsAre(4, 5));
  EXPECT_EQ(circle.radius(), 6.0F);
  circle.setCenter(7, 8);
  EXPECT_THAT(elements(circle.center()), ElementsAre(7, 8));
  circle.set(1, 1, 2);
  EXPECT_THAT(elements(circle.center()), ElementsAre(1, 1));
  EXPECT_EQ(circle.radius(), 2.0F);
}

TEST(Circle, ContainsAPointExactlyOnItsEdge) {
  const Circle circle(Vector2{1, 1}, 5);
  EXPECT_TRUE(circle.inside(Vector2{4, 5}));
  EXPECT_TRUE(circle.inside(Vector2{1, -4}));
  EXPECT_FALSE(circle.inside(Vector2{1, std::nextafter(-4.0F, -5.0F)}));
}

TEST(Circle, InsideWithA3ElementSpanThrowsEnterSize) {
  EXPECT_THAT([] { (void)Circle().inside(std::array<float, 3>{}); },
              ThrowsMessage<std::invalid_argument>("Error: enter.size() != 2"));
}

TEST(Circle, RefusesACentreThatIsNot2LongAndStaysAsItWas) {
  const auto refused = ThrowsMessage<std::invalid_argument>("Error: enter.size() != 2");
  float values[3] = {9, 9, 9};
  Circle circle(1, 2, 3);
  for (const std::uint64_t size : {0U, 1U, 3U}) {
    const Sorvik::Span<float> wrong(values, size);
    EXPECT_THAT([&] { Circle(wrong, 1); }, refused);
    EXPECT_THAT([&] { circle.setCenter(wrong); }, refused);
    EXPECT_THAT([&] { circle.getCenter(wrong); }, refused);
  }
  EXPECT_THAT(elements(circle.center()), ElementsAre(1, 2));
  EXPECT_EQ(circle.radius(), 3.0F);
  EXPECT_THAT(values, ElementsAre(9, 9, 9));
}

}  // namespace
