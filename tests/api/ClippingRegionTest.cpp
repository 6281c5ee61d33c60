#include <gmock/gmock.h>

#include <array>
#include <stdexcept>
#include <type_traits>
#include <vector>

#include "Sorvik/Sorvik.h"
#include "api/Elements.h"

namespace {

using namespace Sorvik;
using Testing::Vector2;
using Testing::Vector3;

constexpr std::array<float, 16> kIdentity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

/// The unit ball around a place on the x axis.
SphericalClippingRegion ball(float x) { return SphericalClippingRegion(Vector3{x, 0, 0}, 1); }

/// 200 by 100 pixels.
Viewport smallViewport() {
  Viewport viewport;
  viewport.setWidth(200);
  viewport.setHeight(100);
  return viewport;
}

template <class Call>
void expectRefused(const Call& call, const char* message) {
  EXPECT_THAT(call, testing::ThrowsMessage<std::invalid_argument>(message));
}

TEST(ClippingRegion, WithoutAModelHoldsEverythingAndHasNoType) {
  const ClippingRegion region;
  EXPECT_TRUE(region.inside(Vector3{1e30F, 0, 0}));
  EXPECT_EQ(region.typeName(), "");
  EXPECT_EQ(region.toJsonString(), "null");
}

TEST(ClippingRegion, RefusesPointsThatAreNotOfThreeCoordinates) {
  for (const ClippingRegion& region : {ClippingRegion(), ClippingRegion(ball(0))}) {
    expectRefused([&] { (void)region.inside(Vector2{0, 0}); }, "Error: point.size() != 3");
    expectRefused([&] { (void)region.inside(std::array<float, 4>{}); }, "Error: point.size() != 3");
  }
}

TEST(ClippingRegion, OfSolidShapesHoldsThemAndTheirBoundaries) {
  const BoundingBoxClippingRegion box(BoundingBox(Vector3{0, 0, 0}, Vector3{1, 2, 3}));
  EXPECT_EQ(box.typeName(), "BoundingBox");
  EXPECT_TRUE(box.inside(Vector3{1, 2, 3}));
  EXPECT_FALSE(BoundingBoxClippingRegion(Vector3{0, 0, 0}, Vector3{1, 2, 3}).inside(Vector3{1, 2, 3.1F}));
  const HalfSpaceClippingRegion half(Plane(0, 0, 2, -4));
  EXPECT_EQ(half.typeName(), "HalfSpace");
  EXPECT_TRUE(half.inside(Vector3{9, 9, 2}));
  EXPECT_FALSE(half.inside(Vector3{9, 9, 1.9F}));
  EXPECT_EQ(ball(0).typeName(), "Sphere");
  EXPECT_TRUE(SphericalClippingRegion(Sphere(5, 0, 0, 1)).inside(Vector3{6, 0, 0}));
}

TEST(ClippingRegion, OfCylindersHoldsThemAndTheirBoundaries) {
  const CylindricalClippingRegion endless(Vector3{0, 0, 0}, Vector3{0, 0, 1}, 2);
  EXPECT_EQ(endless.typeName(), "Cylinder");
  EXPECT_TRUE(endless.inside(Vector3{2, 0, -500}));
  EXPECT_FALSE(
      CylindricalClippingRegion(Cylinder(Vector3{0, 0, 0}, Vector3{0, 0, 1}, 2)).inside(Vector3{2, 1, 0}));
  const FiniteCylindricalClippingRegion finite(CylinderFinite(Vector3{0, 0, 0}, Vector3{0, 0, 4}, 2));
  EXPECT_EQ(finite.typeName(), "CylinderFinite");
  EXPECT_TRUE(finite.inside(Vector3{2, 0, 4}));
  EXPECT_FALSE(
      FiniteCylindricalClippingRegion(Vector3{0, 0, 0}, Vector3{0, 0, 4}, 2).inside(Vector3{0, 0, 5}));
}

TEST(ClippingRegion, OfShapesOnAnImageHoldsWhatTheyCover) {
  const Viewport viewport = smallViewport();
  const CircularClippingRegion circle(Circle(100, 50, 50), viewport, kIdentity);
  EXPECT_EQ(circle.typeName(), "Circle");
  EXPECT_TRUE(circle.inside(Vector3{0.5F, 0, 0.5F}));
  EXPECT_FALSE(circle.inside(Vector3{0.51F, 0, 0.5F}));
  EXPECT_FALSE(circle.inside(Vector3{0, 0, 1.1F}));
  const RectangularClippingRegion rectangle(Vector2{0, 0}, Vector2{100, 50}, viewport, kIdentity);
  EXPECT_EQ(rectangle.typeName(), "BoundingRectangle");
  EXPECT_TRUE(rectangle.inside(Vector3{-0.5F, 0.5F, 0}));
  EXPECT_FALSE(rectangle.inside(Vector3{-0.5F, -0.5F, 0}));
  const Polygon triangle(std::array<float, 6>{0, 0, 200, 0, 0, 100});
  const PolygonalClippingRegion polygon(triangle, viewport, kIdentity);
  EXPECT_EQ(polygon.typeName(), "Polygon");
  EXPECT_TRUE(polygon.inside(Vector3{-0.5F, 0.5F, 1}));
  EXPECT_FALSE(polygon.inside(Vector3{0.5F, -0.5F, 1}));
}

TEST(ClippingRegion, ChecksTheLengthOfCentresInTheTwoConstructorsThatDo) {
  expectRefused([] { SphericalClippingRegion(Vector2{0, 0}, 1); }, "Error: center.size() != 3");
  expectRefused(
      [] {
        CircularClippingRegion(Vector3{0, 0, 0}, 1, Viewport(), kIdentity);
      },
      "Error: enter.size() != 2");
}

TEST(InvertedClippingRegion, HoldsExactlyWhatTheOtherDoesNot) {
  const InvertedClippingRegion region(ball(0));
  EXPECT_EQ(region.typeName(), "InvertedRegion");
  EXPECT_FALSE(region.inside(Vector3{1, 0, 0}));
  EXPECT_TRUE(region.inside(Vector3{1.001F, 0, 0}));
  EXPECT_FALSE(InvertedClippingRegion(ClippingRegion()).inside(Vector3{0, 0, 0}));
}

TEST(UnionClippingRegion, HoldsNothingUntilRegionsAreAdded) {
  UnionClippingRegion region;
  EXPECT_EQ(region.typeName(), "UnionRegion");
  EXPECT_FALSE(region.inside(Vector3{0, 0, 0}));
  region.addRegion(ball(0));
  region.addRegion(ball(5));
  EXPECT_TRUE(region.inside(Vector3{0, 0, 0}));
  EXPECT_TRUE(region.inside(Vector3{5, 0, 0}));
  EXPECT_FALSE(region.inside(Vector3{2.5F, 0, 0}));
  region.clear();
  EXPECT_FALSE(region.inside(Vector3{0, 0, 0}));
}

TEST(IntersectionClippingRegion, HoldsEverythingUntilRegionsAreAdded) {
  IntersectionClippingRegion region;
  EXPECT_EQ(region.typeName(), "IntersectionRegion");
  EXPECT_TRUE(region.inside(Vector3{1e30F, 0, 0}));
  region.addRegion(ball(0));
  region.addRegion(ball(1));
  EXPECT_TRUE(region.inside(Vector3{0.5F, 0, 0}));
  EXPECT_FALSE(region.inside(Vector3{-0.5F, 0, 0}));
  region.clear();
  EXPECT_TRUE(region.inside(Vector3{-0.5F, 0, 0}));
}

TEST(ClippingRegionLists, AreMadeOfSpansOfRegions) {
  const std::vector<ClippingRegion> regions{ball(0), InvertedClippingRegion(ball(5)), ClippingRegion()};
  EXPECT_TRUE(UnionClippingRegion(regions).inside(Vector3{5, 0, 0}));
  EXPECT_FALSE(UnionClippingRegion(Span(regions.data(), 2)).inside(Vector3{5, 0, 0}));
  EXPECT_TRUE(IntersectionClippingRegion(regions).inside(Vector3{0, 0, 0}));
  EXPECT_FALSE(IntersectionClippingRegion(regions).inside(Vector3{2, 0, 0}));
}

TEST(ClippingRegionLists, AreSharedByCopiesAndByWhatIsMadeOfThem) {
  UnionClippingRegion list;
  const UnionClippingRegion copy = list;
  const InvertedClippingRegion outside(list);
  IntersectionClippingRegion within;
  within.addRegion(list);
  list.addRegion(ball(0));
  EXPECT_TRUE(copy.inside(Vector3{0, 0, 0}));
  EXPECT_FALSE(outside.inside(Vector3{0, 0, 0}));
  EXPECT_TRUE(within.inside(Vector3{0, 0, 0}));
}

TEST(ClippingRegionLists, RefuseToContainThemselves) {
  UnionClippingRegion inner;
  IntersectionClippingRegion outer;
  outer.addRegion(InvertedClippingRegion(inner));
  expectRefused([&] { inner.addRegion(inner); }, "Error: region contains itself");
  expectRefused([&] { inner.addRegion(outer); }, "Error: region contains itself");
  const UnionClippingRegion copy = inner;
  expectRefused([&] { inner.addRegion(copy); }, "Error: region contains itself");
  EXPECT_FALSE(inner.inside(Vector3{0, 0, 0}));
}

TEST(ClippingRegion, IsNestedAThousandDeepAtMost) {
  ClippingRegion region = ball(0);
  const auto nest = [&] { region = InvertedClippingRegion(region); };
  for (int depth = 1; depth < 1000; ++depth) nest();
  EXPECT_FALSE(region.inside(Vector3{0, 0, 0}));
  expectRefused(nest, "Error: regions are nested deeper than 1000");
  EXPECT_FALSE(region.inside(Vector3{0, 0, 0}));
}

TEST(ClippingRegion, IsReadBackFromItsText) {
  UnionClippingRegion list;
  list.addRegion(ball(0.1F));
  list.addRegion(
      InvertedClippingRegion(CircularClippingRegion(Circle(100, 50, 50), smallViewport(), kIdentity)));
  ClippingRegion again;
  ASSERT_TRUE(again.fromJsonString(list.toJsonString()));
  EXPECT_EQ(again.typeName(), "UnionRegion");
  EXPECT_EQ(again.toJsonString(), list.toJsonString());
}

TEST(ClippingRegion, StaysAsItIsWhenATextIsNoRegion) {
  SphericalClippingRegion region = ball(0);
  const std::string before = region.toJsonString();
  for (const char* const text : {"", "not JSON", "null", "{}", R"({"type":"Cone"})", R"({"type":"Sphere"})",
                                 R"({"type":"Sphere","volume":{"center":[0,0],"radius":1}})"}) {
    EXPECT_FALSE(region.fromJsonString(text)) << text;
  }
  EXPECT_EQ(region.toJsonString(), before);
  EXPECT_TRUE(region.inside(Vector3{1, 0, 0}));
}

TEST(ClippingRegion, TakesAModelOfItsOwnFromAText) {
  UnionClippingRegion list;
  IntersectionClippingRegion holder;
  holder.addRegion(list);
  ASSERT_TRUE(list.fromJsonString(ball(0).toJsonString()));
  EXPECT_EQ(list.typeName(), "Sphere");
  EXPECT_TRUE(list.inside(Vector3{0, 0, 0}));
  EXPECT_FALSE(holder.inside(Vector3{0, 0, 0}));
  EXPECT_THAT([&] { list.addRegion(ball(1)); },
              testing::ThrowsMessage<std::logic_error>("Error: not a UnionRegion"));
  EXPECT_THROW(list.clear(), std::logic_error);
}

TEST(ClippingRegion, IsParsedInAnotherFrameOrRefusedWithAReason) {
  const std::array<double, 3> origin{4'000'000.5, 5'000'000.25, 0};
  const std::string text =
      R"({"type":"Sphere","volume":{"center":[4000000.5,5000000.25,0.5],"radius":0.01}})";
  EXPECT_TRUE(ClippingRegion::parse(text, origin).inside(Vector3{0, 0, 0.505F}));
  EXPECT_FALSE(ClippingRegion::parse(text, origin).inside(Vector3{0.02F, 0, 0.5F}));
  EXPECT_EQ(ClippingRegion::parse(ball(0).toJsonString()).toJsonString(), ball(0).toJsonString());
  expectRefused([&] { (void)ClippingRegion::parse(text, std::array<double, 2>{}); },
                "Error: origin.size() != 3");
  EXPECT_THAT([] { (void)ClippingRegion::parse(R"({"type":"Cone"})"); },
              testing::ThrowsMessage<std::runtime_error>("Unknown typeName"));
}

TEST(ClippingRegion, ClassesAreCopiedAndMoved) {
  const auto check = [](auto* type) {
    using Region = std::remove_pointer_t<decltype(type)>;
    static_assert(std::is_base_of_v<ClippingRegion, Region> && std::has_virtual_destructor_v<Region>);
    static_assert(std::is_copy_constructible_v<Region> && std::is_copy_assignable_v<Region>);
    static_assert(std::is_nothrow_move_constructible_v<Region> && std::is_nothrow_move_assignable_v<Region>);
  };
  check(static_cast<BoundingBoxClippingRegion*>(nullptr));
  check(static_cast<PolygonalClippingRegion*>(nullptr));
  check(static_cast<InvertedClippingRegion*>(nullptr));
  SphericalClippingRegion region = ball(0);
  SphericalClippingRegion moved = std::move(region);
  region = ball(9);
  moved = region;
  EXPECT_TRUE(moved.inside(Vector3{9, 0, 0}));
}

}  // namespace
