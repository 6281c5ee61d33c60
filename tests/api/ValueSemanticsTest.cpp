// What all shapes share: deep copies, moves that take the record, nothing left behind by a failed
// constructor.
#include <gmock/gmock.h>

#include <type_traits>
#include <utility>

#include "Sorvik/Sorvik.h"
#include "api/Elements.h"

namespace {

using Testing::elements;
using Testing::Vector2;
using Testing::Vector3;
using namespace Sorvik;

std::vector<float> together(std::vector<float> a, const std::vector<float>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

std::vector<float> state(const BoundingBox& s) {
  return together(elements(s.minimum()), elements(s.maximum()));
}
std::vector<float> state(const BoundingRectangle& s) {
  return together(elements(s.minimum()), elements(s.maximum()));
}
std::vector<float> state(const Circle& s) { return together(elements(s.center()), {s.radius()}); }
std::vector<float> state(const Cylinder& s) { return together(elements(s.origin()), {s.radius()}); }
std::vector<float> state(const CylinderFinite& s) { return together(elements(s.start()), {s.radius()}); }
std::vector<float> state(const OrientedBoundingBox& s) {
  return together(elements(s.center()), elements(s.halfSize()));
}
std::vector<float> state(const OrientedBoundingRectangle& s) {
  return together(elements(s.center()), elements(s.halfSize()));
}
std::vector<float> state(const Plane& s) { return together(elements(s.normal()), {s.constant()}); }
std::vector<float> state(const Polygon& s) { return together(elements(s.vertex(1)), {s.area()}); }
std::vector<float> state(const Sphere& s) { return together(elements(s.center()), {s.radius()}); }
std::vector<float> state(const Transformation& s) {
  std::vector<float> matrix(16);
  s.getTransformationMatrix44(matrix);
  return matrix;
}
std::vector<float> state(const Viewport& s) {
  return {static_cast<float>(s.x()), static_cast<float>(s.width())};
}

void change(BoundingBox& s) { s.expand(Vector3{100, 100, 100}); }
void change(BoundingRectangle& s) { s.expand(Vector2{100, 100}); }
void change(Circle& s) { s.setRadius(100); }
void change(Cylinder& s) { s.setOrigin(Vector3{100, 100, 100}); }
void change(CylinderFinite& s) { s.setStart(Vector3{100, 100, 100}); }
void change(OrientedBoundingBox& s) { s.setHalfSize(100); }
void change(OrientedBoundingRectangle& s) { s.setHalfSize(100); }
void change(Plane& s) { s.negate(); }
void change(Polygon& s) { s = Polygon(std::array<float, 6>{100, 100, 103, 100, 100, 104}); }
void change(Sphere& s) { s.setCenter(100, 100, 100); }
void change(Transformation& s) { s.translateBy(100, 100, 100); }
void change(Viewport& s) { s.setX(100); }

template <class Shape>
Shape sample() {
  if constexpr (std::is_same_v<Shape, Plane>) {
    return Plane(0, 0, 1, 7);
  } else if constexpr (std::is_same_v<Shape, Polygon>) {
    return Polygon(std::array<float, 6>{0, 0, 3, 0, 0, 4});
  } else {
    return Shape();
  }
}

template <class Shape>
class ShapeValue : public testing::Test {};

using Shapes =
    testing::Types<BoundingBox, BoundingRectangle, Circle, Cylinder, CylinderFinite, OrientedBoundingBox,
                   OrientedBoundingRectangle, Plane, Polygon, Sphere, Transformation, Viewport>;
TYPED_TEST_SUITE(ShapeValue, Shapes);

TYPED_TEST(ShapeValue, IsOnePointerThatMovesWithoutThrowing) {
  static_assert(sizeof(TypeParam) == sizeof(void*));
  static_assert(std::is_nothrow_move_constructible_v<TypeParam> &&
                std::is_nothrow_move_assignable_v<TypeParam>);
  static_assert(std::is_copy_constructible_v<TypeParam> && std::is_copy_assignable_v<TypeParam>);
  static_assert(std::is_final_v<TypeParam>);
}

TYPED_TEST(ShapeValue, ModifyingACopyOfAShapeLeavesTheShapeItWasCopiedFromUnchanged) {
  const auto original = sample<TypeParam>();
  const auto before = state(original);
  TypeParam copy(original);
  auto assigned = sample<TypeParam>();
  assigned = original;
  change(copy);
  change(assigned);
  EXPECT_EQ(state(original), before);
  EXPECT_NE(state(copy), before);
  EXPECT_EQ(state(copy), state(assigned));
}

TYPED_TEST(ShapeValue, SurvivesAssignmentFromItself) {
  auto shape = sample<TypeParam>();
  change(shape);
  const auto before = state(shape);
  auto& itself = shape;
  shape = itself;
  EXPECT_EQ(state(shape), before);
  shape = std::move(itself);
  EXPECT_EQ(state(shape), before);
}

TYPED_TEST(ShapeValue, HandsItsStateOverWhenMovedAndCanBeAssignedToAfterwards) {
  auto first = sample<TypeParam>();
  change(first);
  const auto changed = state(first);
  TypeParam second(std::move(first));
  EXPECT_EQ(state(second), changed);
  first = second;  // NOLINT(bugprone-use-after-move): this is what a moved-from shape allows
  EXPECT_EQ(state(first), changed);
  auto third = sample<TypeParam>();
  third = std::move(first);
  first = std::move(second);
  EXPECT_EQ(state(third), changed);
  EXPECT_EQ(state(first), changed);
}

TEST(Shapes, KeepTheirStorageWhenMoved) {
  Sphere sphere(1, 2, 3, 4);
  const float* const storage = sphere.center().data();
  const Sphere moved(std::move(sphere));
  EXPECT_EQ(moved.center().data(), storage);
}

TEST(Shapes, ComeFromOneArgumentOnlyWhereTheCallerSaysSo) {
  static_assert(!std::is_convertible_v<Vector3, OrientedBoundingBox>);
  static_assert(!std::is_convertible_v<BoundingBox, OrientedBoundingBox>);
  static_assert(!std::is_convertible_v<std::array<float, 4>, Plane>);
  static_assert(!std::is_convertible_v<std::vector<float>, Polygon>);
  static_assert(!std::is_constructible_v<Sphere, std::array<double, 3>, float>);
  // A getter cannot fill a temporary.
  static_assert(!std::is_invocable_v<decltype(&Sphere::getCenter), const Sphere&, Vector3>);
  static_assert(std::is_invocable_v<decltype(&Sphere::getCenter), const Sphere&, Vector3&>);
}

}  // namespace
