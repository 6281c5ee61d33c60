#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "math/BoxTests.h"
#include "math/RandomShapes.h"

using Box = Math::NBoundingBox<float, 3>;
using Point3 = Math::Point<float, 3>;
using Testing::RandomShapes;
using Testing::Terrain;

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

std::string text(const Point3& p) {
  return std::to_string(p[0]) + " " + std::to_string(p[1]) + " " + std::to_string(p[2]);
}

/// How often the two answers said something.
struct Tally {
  int apart = 0;
  int contained = 0;
};

/// Holds the two promises against a point of the box. Returns whether it could.
template <class Shape>
[[nodiscard]] bool keepsPromises(const Shape& shape, const Box& box, const Point3& p, bool overlaps,
                                 bool contains) {
  const bool inside = Math::inside(shape, p);
  EXPECT_FALSE(inside && !overlaps) << "a point of the box is inside: " << text(p) << " of "
                                    << text(box.minimum) << " to " << text(box.maximum);
  EXPECT_FALSE(!inside && contains) << "a point of the box is outside: " << text(p) << " of "
                                    << text(box.minimum) << " to " << text(box.maximum);
  return !::testing::Test::HasFailure();
}

template <class Shape>
void checkBox(RandomShapes& random, const Shape& shape, const Box& box, Tally& tally) {
  const bool overlaps = Math::overlaps(shape, box);
  const bool contains = Math::contains(shape, box);
  tally.apart += overlaps ? 0 : 1;
  tally.contained += contains ? 1 : 0;
  for (int k = 0; k < 16; ++k) {
    if (!keepsPromises(shape, box, random.pointIn(box), overlaps, contains)) return;
  }
}

/// Boxes with a corner where the shape begins, on the line from a point inside to one outside.
template <class Shape>
void checkBorderBoxes(RandomShapes& random, const Shape& shape, Point3 in, Point3 out, Tally& tally) {
  Testing::closeInOnBorder(shape, in, out);
  for (const Point3& corner : {in, out}) {
    Box box{corner, corner};
    checkBox(random, shape, box, tally);
    for (int i = 0; i < 3; ++i) {
      const float extent = random.oneIn(4) ? 0.0F : random.uniform(0.0F, 1.0F);
      (random.oneIn(2) ? box.minimum[i] -= extent : box.maximum[i] += extent);
    }
    checkBox(random, shape, box, tally);
  }
}

/// Many random shapes of a kind, each against many boxes.
template <class Shape>
Tally checkShapes(unsigned seed, const Terrain& terrain, int numShapes) {
  SCOPED_TRACE("seed " + std::to_string(seed));
  RandomShapes random(seed, terrain);
  Tally tally;
  for (int n = 0; n < numShapes && !::testing::Test::HasFailure(); ++n) {
    const auto shape = random.template shape<Shape>();
    Point3 in;
    Point3 out;
    bool hasInside = false;
    bool hasOutside = false;
    for (int k = 0; k < 12; ++k) {
      const Box box = random.template box<3>(random.oneIn(2) ? terrain.extent : terrain.extent / 10);
      checkBox(random, shape, box, tally);
      const Point3 p = random.pointIn(box);
      (Math::inside(shape, p) ? in : out) = p;
      (Math::inside(shape, p) ? hasInside : hasOutside) = true;
    }
    if (hasInside && hasOutside) checkBorderBoxes(random, shape, in, out, tally);
  }
  return tally;
}

/// How many numbers describe a shape, and a copy with one of them NaN.
template <class Shape>
std::size_t numNumbers(const Shape& /*shape*/) {
  return sizeof(Shape) / sizeof(float);
}
std::size_t numNumbers(const Math::Polygon<float>& polygon) { return 2 * polygon.numVertices(); }

template <class Shape>
Shape withNaN(Shape shape, std::size_t at) {
  static_assert(std::is_trivially_copyable_v<Shape>);
  std::memcpy(reinterpret_cast<char*>(&shape) + at * sizeof(float), &kNaN, sizeof kNaN);
  return shape;
}
Math::Polygon<float> withNaN(const Math::Polygon<float>& polygon, std::size_t at) {
  std::vector<float> interleaved;
  for (const auto& vertex : polygon.ring().first(polygon.numVertices())) {
    interleaved.insert(interleaved.end(), {vertex[0], vertex[1]});
  }
  interleaved[at] = kNaN;
  return Math::Polygon<float>(interleaved);
}

template <class Shape>
class BoxTests : public ::testing::Test {};
TYPED_TEST_SUITE(BoxTests, Testing::QueryShapes);

}  // namespace

TYPED_TEST(BoxTests, KeepTheirPromisesAroundTheOrigin) {
  const Tally tally = checkShapes<TypeParam>(1, {0.0F, 10.0F, 0}, 2'000);
  EXPECT_GT(tally.apart, 2'000);
  EXPECT_GT(tally.contained, 200);
}

TYPED_TEST(BoxTests, KeepTheirPromisesAKilometreAway) {
  const Tally tally = checkShapes<TypeParam>(2, {1000.0F, 3.0F, 0}, 2'000);
  EXPECT_GT(tally.apart, 2'000);
  EXPECT_GT(tally.contained, 200);
}

TYPED_TEST(BoxTests, KeepTheirPromisesWhereFloatsAreCoarse) {
  checkShapes<TypeParam>(3, {4'000'000.0F, 4.0F, 0}, 500);
}

TYPED_TEST(BoxTests, KeepTheirPromisesForTinyNumbers) {
  checkShapes<TypeParam>(4, {0.0F, 1e-15F, 0}, 400);
  checkShapes<TypeParam>(5, {0.0F, 1e-30F, 0}, 400);
  checkShapes<TypeParam>(6, {0.0F, 0x1p-140F, 0}, 400);
}

TYPED_TEST(BoxTests, KeepTheirPromisesForHugeNumbers) {
  checkShapes<TypeParam>(7, {0.0F, 1e15F, 0}, 400);
  checkShapes<TypeParam>(8, {0.0F, 1e30F, 0}, 400);
  checkShapes<TypeParam>(9, {0.0F, 1e38F, 0}, 400);
}

TYPED_TEST(BoxTests, KeepTheirPromisesForNaNAndInfinities) {
  checkShapes<TypeParam>(10, {0.0F, 10.0F, 12}, 2'000);
  checkShapes<TypeParam>(11, {1000.0F, 3.0F, 4}, 2'000);
}

TYPED_TEST(BoxTests, KeepTheirPromisesForAnInfiniteBox) {
  const Box everything{{{-kInfinity, -kInfinity, -kInfinity}}, {{kInfinity, kInfinity, kInfinity}}};
  RandomShapes random(12, {0.0F, 10.0F, 8});
  Tally tally;
  for (int n = 0; n < 1'000; ++n) checkBox(random, random.template shape<TypeParam>(), everything, tally);
}

TYPED_TEST(BoxTests, ContainNoBoxOfNaN) {
  const Box box{{{kNaN, kNaN, kNaN}}, {{kNaN, kNaN, kNaN}}};
  RandomShapes random(13, {0.0F, 10.0F, 0});
  for (int n = 0; n < 100; ++n) EXPECT_FALSE(Math::contains(random.template shape<TypeParam>(), box));
}

TYPED_TEST(BoxTests, OverlapEverythingAndContainNothingWithANaNInTheShape) {
  const Box far{{{1e6F, 1e6F, 1e6F}}, {{1e6F, 1e6F, 1e6F}}};
  const Box near{{{-1e-3F, -1e-3F, -1e-3F}}, {{1e-3F, 1e-3F, 1e-3F}}};
  RandomShapes random(14, {0.0F, 10.0F, 0});
  const auto sound = random.template shape<TypeParam>();
  for (std::size_t at = 0; at < numNumbers(sound); ++at) {
    const auto shape = withNaN(sound, at);
    EXPECT_TRUE(Math::overlaps(shape, far)) << "number " << at;
    EXPECT_FALSE(Math::contains(shape, far)) << "number " << at;
    EXPECT_FALSE(Math::contains(shape, near)) << "number " << at;
  }
}

TEST(BoxTest, CountsTouchingFacesAsOverlap) {
  const Box shape{{{0, 0, 0}}, {{1, 1, 1}}};
  EXPECT_TRUE(Math::overlaps(shape, Box{{{1, 0, 0}}, {{2, 1, 1}}}));
  EXPECT_FALSE(Math::overlaps(shape, Box{{{std::nextafter(1.0F, 2.0F), 0, 0}}, {{2, 1, 1}}}));
}

TEST(BoxTest, ContainsItself) {
  const Box shape{{{0, 0, 0}}, {{1, 1, 1}}};
  EXPECT_TRUE(Math::contains(shape, shape));
  EXPECT_FALSE(Math::contains(shape, Box{{{0, 0, 0}}, {{1, std::nextafter(1.0F, 2.0F), 1}}}));
}

TEST(BoxTest, MayBeHalfInfinite) {
  const Box shape{{{0, 0, -kInfinity}}, {{1, 1, kInfinity}}};
  EXPECT_TRUE(Math::contains(shape, Box{{{0, 0, -1e30F}}, {{1, 1, kInfinity}}}));
  EXPECT_FALSE(Math::overlaps(shape, Box{{{2, 0, -1}}, {{3, 1, 1}}}));
}

TEST(RectangleTest, LooksAtXAndYAlone) {
  const Math::NBoundingBox<float, 2> shape{{{0, 0}}, {{1, 1}}};
  EXPECT_TRUE(Math::contains(shape, Box{{{0, 0, 50}}, {{1, 1, 60}}}));
  EXPECT_FALSE(Math::overlaps(shape, Box{{{2, 0, 0}}, {{3, 1, 1}}}));
}

TEST(SphereBoxTest, CountsTheTouchedFaceAsOverlap) {
  const Math::NSphere<float, 3> shape{{{0, 0, 0}}, 5};
  EXPECT_TRUE(Math::overlaps(shape, Box{{{5, -1, -1}}, {{6, 1, 1}}}));
  EXPECT_TRUE(Math::overlaps(shape, Box{{{3, 4, 0}}, {{6, 6, 1}}}));
  EXPECT_FALSE(Math::overlaps(shape, Box{{{3, std::nextafter(4.0F, 5.0F), 0}}, {{6, 6, 1}}}));
}

TEST(SphereBoxTest, ContainsTheBoxWhoseCornersAreOnIt) {
  const Math::NSphere<float, 3> shape{{{0, 0, 0}}, 5};
  EXPECT_TRUE(Math::contains(shape, Box{{{-3, -4, 0}}, {{3, 4, 0}}}));
  EXPECT_FALSE(Math::contains(shape, Box{{{-3, -4, 0}}, {{3, std::nextafter(4.0F, 5.0F), 0}}}));
}

TEST(SphereBoxTest, TakesANegativeRadiusByItsSquare) {
  const Math::NSphere<float, 3> shape{{{0, 0, 0}}, -5};
  EXPECT_TRUE(Math::contains(shape, Box{{{-1, -1, -1}}, {{1, 1, 1}}}));
}

TEST(CircleBoxTest, LooksAtXAndYAlone) {
  const Math::NSphere<float, 2> shape{{{0, 0}}, 5};
  EXPECT_TRUE(Math::contains(shape, Box{{{-3, -4, 100}}, {{3, 4, 200}}}));
  EXPECT_FALSE(Math::overlaps(shape, Box{{{6, 0, 0}}, {{7, 1, 1}}}));
}
