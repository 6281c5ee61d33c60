#include <gmock/gmock.h>

#include <cmath>
#include <stdexcept>

#include "Sorvik/Sphere.h"
#include "api/Elements.h"

namespace {

using Sorvik::Sphere;
using testing::Each;
using Testing::elements;
using testing::ElementsAre;
using Testing::filled;
using testing::ThrowsMessage;
using Testing::Vector3;

TEST(Sphere, OfTheDefaultHasRadius1AroundTheOrigin) {
  const Sphere sphere;
  EXPECT_THAT(elements(sphere.center()), ElementsAre(0, 0, 0));
  EXPECT_EQ(sphere.radius(), 1.0F);
}

TEST(Sphere, KeepsCentreAndRadius) {
  Sphere sphere(1, 2, 3, 4);
  EXPECT_THAT(filled<3>(sphere, &Sphere::getCenter), ElementsAre(1, 2, 3));
  sphere.setCenter(Vector3{5, 6, 7});
  sphere.setRadius(8);
  EXPECT_THAT(elements(sphere.center()), ElementsAre(5, 6, 7));
  EXPECT_EQ(sphere.radius(), 8.0F);
  sphere.setCenter(1, 1, 1);
  EXPECT_THAT(elements(sphere.center()), ElementsAre(1, 1, 1));
  sphere.set(2, 3, 4, 5);
  EXPECT_THAT(elements(sphere.center()), ElementsAre(2, 3, 4));
  EXPECT_EQ(sphere.radius(), 5.0F);
}

TEST(Sphere, ContainsAPointExactlyOnItsSurface) {
  const Sphere sphere(Vector3{1, 1, 1}, 5);
  EXPECT_TRUE(sphere.inside(Vector3{1, 4, 5}));
  EXPECT_TRUE(sphere.inside(Vector3{-4, 1, 1}));
  EXPECT_FALSE(sphere.inside(Vector3{std::nextafter(-4.0F, -5.0F), 1, 1}));
}

TEST(Sphere, WithRadius0ContainsExactlyItsCentre) {
  const Sphere sphere(1, 2, 3, 0);
  EXPECT_TRUE(sphere.inside(Vector3{1, 2, 3}));
  EXPECT_FALSE(sphere.inside(Vector3{std::nextafter(1.0F, 2.0F), 2, 3}));
}

TEST(Sphere, RefusesACentreThatIsNot3Long) {
  const auto refused = ThrowsMessage<std::invalid_argument>("Error: center.size() != 3");
  float values[4] = {};
  for (const std::uint64_t size : {0U, 2U, 4U}) {
    const Sorvik::Span<float> wrong(values, size);
    Sphere sphere;
    EXPECT_THAT([&] { Sphere(wrong, 1); }, refused);
    EXPECT_THAT([&] { sphere.setCenter(wrong); }, refused);
    EXPECT_THAT([&] { sphere.getCenter(wrong); }, refused);
  }
}

TEST(Sphere, RefusesAPointThatIsNot3Long) {
  EXPECT_THAT([] { (void)Sphere().inside(std::array<float, 2>{}); },
              ThrowsMessage<std::invalid_argument>("Error: p.size() != 3"));
}

TEST(Sphere, AndWhatItWouldHaveWrittenStayExactlyAsTheyWereWhenASizeCheckFails) {
  Sphere sphere(1, 2, 3, 4);
  EXPECT_THROW(sphere.setCenter(std::array<float, 4>{9, 9, 9, 9}), std::invalid_argument);
  EXPECT_THAT(elements(sphere.center()), ElementsAre(1, 2, 3));
  EXPECT_EQ(sphere.radius(), 4.0F);
  std::array<float, 4> out{};
  EXPECT_THROW(sphere.getCenter(out), std::invalid_argument);
  EXPECT_THAT(out, Each(0.0F));
}

}  // namespace
