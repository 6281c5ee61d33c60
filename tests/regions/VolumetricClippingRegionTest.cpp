#include <gtest/gtest.h>

#include <cmath>

#include "regions/VolumetricClippingRegion.h"

namespace {

using Math::Matrix4;
using Sphere = Math::NSphere<float, 3>;
using Box = Math::NBoundingBox<float, 3>;
using Spherical = Math::VolumetricClippingRegion<Sphere>;
using Boxed = Math::VolumetricClippingRegion<Box>;
using HalfSpace = Math::HalfSpace<float>;

const Sphere kUnit{{{0, 0, 0}}, 1};
const Box kUnitBox{{{-1, -1, -1}}, {{1, 1, 1}}};

constexpr Matrix4<float> moved(float x, float y, float z) {
  return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1};
}

TEST(VolumetricClippingRegion, HoldsTheBoundaryOfEveryShape) {
  EXPECT_TRUE(Spherical(kUnit).pointInside({{1, 0, 0}}));
  EXPECT_TRUE(Boxed(kUnitBox).pointInside({{1, -1, 1}}));
  const Math::Cylinder<float> cylinder{{{0, 0, 0}}, {{0, 0, 1}}, 2};
  EXPECT_TRUE(Math::VolumetricClippingRegion(cylinder).pointInside({{0, 2, 50}}));
  const Math::CylinderFinite<float> finite{{{0, 0, 0}}, {{0, 0, 4}}, 2};
  EXPECT_TRUE(Math::VolumetricClippingRegion(finite).pointInside({{2, 0, 4}}));
  EXPECT_TRUE(Math::VolumetricClippingRegion(finite).pointOutside({{2, 0, 4.001F}}));
}

TEST(VolumetricClippingRegion, OfAHalfSpaceIsTheSideTheNormalPointsToAndThePlane) {
  const Math::VolumetricClippingRegion region(HalfSpace{{{0, 0, 1}}, -3});
  EXPECT_TRUE(region.pointInside({{9, 9, 3}}));
  EXPECT_TRUE(region.pointInside({{0, 0, 4}}));
  EXPECT_FALSE(region.pointInside({{0, 0, 2.99F}}));
  EXPECT_TRUE(region.boxInside({{{0, 0, 3}}, {{1, 1, 4}}}));
  EXPECT_TRUE(region.boxIntersects({{{0, 0, 2}}, {{1, 1, 3}}}));
  EXPECT_FALSE(region.boxIntersects({{{0, 0, 1}}, {{1, 1, 2.9F}}}));
}

TEST(VolumetricClippingRegion, MovesWithItsTransformation) {
  Spherical region(kUnit);
  region.setTransformation(moved(10, 20, 30));
  EXPECT_TRUE(region.pointInside({{10, 20, 30}}));
  EXPECT_TRUE(region.pointInside({{11, 20, 30}}));
  EXPECT_FALSE(region.pointInside({{0, 0, 0}}));
  EXPECT_TRUE(region.boxIntersects({{{9, 19, 29}}, {{20, 40, 60}}}));
  EXPECT_FALSE(region.boxIntersects({{{-1, -1, -1}}, {{1, 1, 1}}}));
}

TEST(VolumetricClippingRegion, TakesAMatrixInTheOrderOfItsColumns) {
  // x to y, y to z, z to x.
  const Matrix4<float> turn{0, 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0, 1};
  const Boxed region({{{4, 0, 0}}, {{5, 1, 1}}}, turn);
  EXPECT_TRUE(region.pointInside({{0.5F, 4.5F, 0.5F}}));
  EXPECT_FALSE(region.pointInside({{4.5F, 0.5F, 0.5F}}));
}

TEST(VolumetricClippingRegion, DividesByWWhereAMatrixIsProjective) {
  // The inverse has w = x + 1, so the point (1, 0, 0) comes to (0.5, 0, 0).
  const Matrix4<float> matrix{1, 0, 0, -1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  const Spherical region({{{0, 0, 0}}, 0.5F}, matrix);
  EXPECT_TRUE(region.pointInside({{1, 0, 0}}));
  EXPECT_FALSE(region.pointInside({{1.01F, 0, 0}}));
}

TEST(VolumetricClippingRegion, HoldsNothingUnderAMatrixWithoutAnInverse) {
  for (const float element : {0.0F, std::nanf(""), INFINITY}) {
    Boxed region(kUnitBox);
    Matrix4<float> matrix = Math::kIdentity4;
    matrix[0] = element;
    region.setTransformation(matrix);
    EXPECT_FALSE(region.pointInside({{0, 0, 0}}));
    EXPECT_FALSE(region.boxIntersects(kUnitBox));
    EXPECT_FALSE(region.boxInside(kUnitBox));
  }
}

TEST(VolumetricClippingRegion, ContainsABoxWhoseFarthestCornerIsOnTheSphere) {
  const Spherical region(Sphere{{{0, 0, 0}}, 3});
  EXPECT_TRUE(region.boxInside({{{-1, 0, 0}}, {{1, 2, 2}}}));
  EXPECT_FALSE(region.boxNotInside({{{-1, 0, 0}}, {{1, 2, 2}}}));
  EXPECT_FALSE(region.boxInside({{{-1, 0, 0}}, {{1, 2, 2.01F}}}));
}

TEST(VolumetricClippingRegion, HasTheNameOfItsShape) {
  EXPECT_EQ(Spherical().typeName(), "Sphere");
  EXPECT_EQ(Boxed().typeName(), "BoundingBox");
  EXPECT_EQ(Math::VolumetricClippingRegion<HalfSpace>().typeName(), "HalfSpace");
  EXPECT_EQ(Math::VolumetricClippingRegion<Math::Cylinder<float>>().typeName(), "Cylinder");
  EXPECT_EQ(Math::VolumetricClippingRegion<Math::CylinderFinite<float>>().typeName(), "CylinderFinite");
}

TEST(VolumetricClippingRegion, EqualsOneOfTheSameValuesAndMatrixOnly) {
  const Spherical region(kUnit, moved(1, 2, 3));
  EXPECT_TRUE(region == *region.clone());
  EXPECT_FALSE(region == Spherical(kUnit));
  EXPECT_FALSE(region == Spherical(Sphere{{{0, 0, 0}}, 2}, moved(1, 2, 3)));
  EXPECT_FALSE(Spherical(kUnit) == Boxed(kUnitBox));
}

TEST(VolumetricClippingRegion, ClonesAreIndependent) {
  const Spherical region(kUnit);
  const auto copy = region.clone();
  copy->setTransformation(moved(100, 0, 0));
  EXPECT_TRUE(region.pointInside({{0, 0, 0}}));
  EXPECT_FALSE(copy->pointInside({{0, 0, 0}}));
}

}  // namespace
