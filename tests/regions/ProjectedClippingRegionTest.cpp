#include <gtest/gtest.h>

#include <cmath>

#include "regions/ProjectedClippingRegion.h"

namespace {

using Circle = Math::NSphere<float, 2>;
using Rectangle = Math::NBoundingBox<float, 2>;
using Circular = Math::ProjectedClippingRegion<Circle>;
using Rectangular = Math::ProjectedClippingRegion<Rectangle>;

/// 200 by 100 pixels from (10, 20) on.
constexpr Math::RegionViewport kViewport{10, 20, 200, 100, 0, 1};
constexpr Rectangle kEverywhere{{{-1e6F, -1e6F}}, {{1e6F, 1e6F}}};

/// Looks along -z from the origin: w = -z, near 1 and far 11.
constexpr Math::Matrix4<float> kPerspective{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1.1F, -1, 0, 0, -1.1F, 0};

TEST(ProjectedClippingRegion, MapsDeviceCoordinatesToPixelsWithTheTopRowAtPlusOne) {
  const auto holdsPixel = [](float x, float y, const Math::Point<float, 3>& p) {
    return Circular({{{x, y}}, 0}, kViewport, Math::kIdentity4).pointInside(p);
  };
  EXPECT_TRUE(holdsPixel(10, 20, {{-1, 1, 0.5F}}));
  EXPECT_TRUE(holdsPixel(210, 120, {{1, -1, 0.5F}}));
  EXPECT_TRUE(holdsPixel(110, 70, {{0, 0, 0.5F}}));
  EXPECT_FALSE(holdsPixel(110, 70, {{0.01F, 0, 0.5F}}));
}

TEST(ProjectedClippingRegion, HoldsAPointOnTheRim) {
  const Circular region({{{110, 70}}, 100}, kViewport, Math::kIdentity4);
  EXPECT_TRUE(region.pointInside({{1, 0, 0}}));
  EXPECT_FALSE(region.pointInside({{1.001F, 0, 0}}));
}

TEST(ProjectedClippingRegion, HoldsDepthsFromZeroToOne) {
  const Rectangular region(kEverywhere, kViewport, Math::kIdentity4);
  EXPECT_TRUE(region.pointInside({{0, 0, 0}}));
  EXPECT_TRUE(region.pointInside({{0, 0, 1}}));
  EXPECT_FALSE(region.pointInside({{0, 0, 1.001F}}));
  EXPECT_FALSE(region.pointInside({{0, 0, -0.001F}}));
}

TEST(ProjectedClippingRegion, RejectsAPointBehindTheCameraThoughItsPixelLiesInTheShape) {
  const Rectangular region(kEverywhere, kViewport, kPerspective);
  EXPECT_TRUE(region.pointInside({{0, 0, -5}}));
  EXPECT_FALSE(region.pointInside({{0, 0, 5}}));
}

TEST(ProjectedClippingRegion, TakesWholeDepthsFromAViewport) {
  const auto of = [](float minimum, float maximum) {
    return Math::RegionViewport::of({1, 2, 3, 4, minimum, maximum});
  };
  EXPECT_EQ(of(0, 1), (Math::RegionViewport{1, 2, 3, 4, 0, 1}));
  EXPECT_EQ(of(0.9F, 1.9F), (Math::RegionViewport{1, 2, 3, 4, 0, 1}));
  EXPECT_EQ(of(-5, 3e30F), (Math::RegionViewport{1, 2, 3, 4, 0, UINT64_MAX}));
  EXPECT_EQ(of(std::nanf(""), INFINITY), (Math::RegionViewport{1, 2, 3, 4, 0, UINT64_MAX}));
}

TEST(ProjectedClippingRegion, TakesPointsThroughTheInverseTransformationFirst) {
  Circular region({{{110, 70}}, 1}, kViewport, Math::kIdentity4);
  region.setTransformation({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 0, 7, 1});
  EXPECT_TRUE(region.pointInside({{5, 0, 7.5F}}));
  EXPECT_FALSE(region.pointInside({{0, 0, 0.5F}}));
}

TEST(ProjectedClippingRegion, AnswersForBoxesInFrontOfTheCameraBehindItAndAcrossItsPlane) {
  const Rectangular region({{{60, 45}}, {{160, 95}}}, kViewport, kPerspective);
  EXPECT_TRUE(region.boxInside({{{-0.1F, -0.1F, -6}}, {{0.1F, 0.1F, -5}}}));
  EXPECT_FALSE(region.boxIntersects({{{20, -0.1F, -6}}, {{21, 0.1F, -5}}}));
  EXPECT_FALSE(region.boxIntersects({{{-0.1F, -0.1F, 5}}, {{0.1F, 0.1F, 6}}}));
  const Math::NBoundingBox<float, 3> across{{{-1, -1, -5}}, {{1, 1, 5}}};
  EXPECT_TRUE(region.boxIntersects(across));
  EXPECT_FALSE(region.boxInside(across));
}

TEST(ProjectedClippingRegion, CutsBoxesAtNearAndFar) {
  const Rectangular region(kEverywhere, kViewport, kPerspective);
  EXPECT_TRUE(region.boxInside({{{0, 0, -10}}, {{1, 1, -2}}}));
  EXPECT_FALSE(region.boxInside({{{0, 0, -12}}, {{1, 1, -2}}}));
  EXPECT_FALSE(region.boxIntersects({{{0, 0, -14}}, {{1, 1, -12}}}));
}

TEST(ProjectedClippingRegion, HoldsNothingUnderAMatrixWithoutAnInverse) {
  Rectangular region(kEverywhere, kViewport, Math::kIdentity4);
  region.setTransformation({});
  EXPECT_FALSE(region.pointInside({{0, 0, 0.5F}}));
  EXPECT_FALSE(region.boxIntersects({{{0, 0, 0}}, {{1, 1, 1}}}));
}

TEST(ProjectedClippingRegion, ComparesShapeViewportAndMatrices) {
  const float corners[] = {0, 0, 100, 0, 100, 100};
  using Polygonal = Math::ProjectedClippingRegion<Math::Polygon<float>>;
  const Polygonal region(Math::Polygon<float>(corners), kViewport, kPerspective);
  EXPECT_TRUE(region == *region.clone());
  EXPECT_FALSE(region == Polygonal(Math::Polygon<float>(corners), kViewport, Math::kIdentity4));
  EXPECT_FALSE(region == Polygonal(Math::Polygon<float>(corners), {}, kPerspective));
  EXPECT_FALSE(region == Polygonal(Math::Polygon<float>(), kViewport, kPerspective));
}

TEST(ProjectedClippingRegion, HasTheNameOfItsShape) {
  EXPECT_EQ(Circular().typeName(), "Circle");
  EXPECT_EQ(Rectangular().typeName(), "BoundingRectangle");
  EXPECT_EQ(Math::ProjectedClippingRegion<Math::Polygon<float>>().typeName(), "Polygon");
  EXPECT_EQ(Math::ProjectedClippingRegion<Math::ImageSegmentation>().typeName(), "ImageSegmentation");
}

}  // namespace
