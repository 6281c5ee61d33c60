// The nine region iterators against a filter over all points by the shape's own inside test.
#include <gmock/gmock.h>

#include <array>
#include <set>
#include <type_traits>

#include "api/SmallCloud.h"
#include "api/WalkedPoints.h"
#include "api/Walks.h"
#include "support/SampleData.h"

namespace {

using Sorvik::AllPointsIterator;
using Sorvik::PointCloud;
using Testing::CloudFolder;
using testing::IsSubsetOf;
using Testing::pointsOf;
using Testing::shapeAround;
using Testing::WalkedPoint;

template <class Shape>
constexpr bool kIsFlat = std::is_same_v<Shape, Sorvik::BoundingRectangle> ||
                         std::is_same_v<Shape, Sorvik::OrientedBoundingRectangle> ||
                         std::is_same_v<Shape, Sorvik::Circle> || std::is_same_v<Shape, Sorvik::Polygon>;

template <class Shape>
bool accepts(const Shape& shape, const WalkedPoint& point) {
  return shape.inside(Sorvik::Span<const float>(point.position.data(), kIsFlat<Shape> ? 2 : 3));
}

/// Expects the walk to find what the filter finds: some points, but not all.
template <class Shape>
void expectSameAsBruteForce(const PointCloud& cloud, const Shape& shape, float minSpacing) {
  const std::vector<WalkedPoint> all = pointsOf(AllPointsIterator(cloud, minSpacing));
  const std::vector<WalkedPoint> expected = pointsOf(
      AllPointsIterator(cloud, minSpacing), [&](const WalkedPoint& point) { return accepts(shape, point); });
  const std::vector<WalkedPoint> found = pointsOf(Sorvik::allPointsInside(cloud, shape, minSpacing));
  EXPECT_GT(expected.size(), 0U);
  EXPECT_LT(expected.size(), all.size());
  EXPECT_EQ(found.size(), expected.size());
  EXPECT_TRUE(found == expected);
}

template <class Shape>
class RegionIterator : public testing::Test {};

TYPED_TEST_SUITE(RegionIterator, Testing::WalkShapes);

TYPED_TEST(RegionIterator, FindsInASmallCloudWhatABruteForceFilterFinds) {
  const CloudFolder folder;
  const PointCloud cloud = folder.open();
  for (const float reach : {8.0F, 15.0F, 25.0F}) {
    for (const float place : {12.0F, 32.0F, 40.0F}) {
      SCOPED_TRACE(testing::Message() << reach << " around " << place);
      expectSameAsBruteForce(cloud, shapeAround<TypeParam>({place, 30, 35}, reach), 0);
    }
  }
}

TYPED_TEST(RegionIterator, FindsInARealCloudWhatABruteForceFilterFinds) {
  SORVIK_SAMPLE_OR_SKIP(folder, "potree/andelskahora");
  const PointCloud cloud{Sorvik::FileSystemLocation(folder.wstring())};
  std::array<float, 3> center{};
  std::array<float, 3> halfSize{};
  cloud.boundingBox().getCenter(center);
  cloud.boundingBox().getHalfSize(halfSize);
  for (const float part : {0.2F, 0.7F}) {
    for (const float minSpacing : {0.0F, 0.3F * cloud.pointSpacing()}) {
      SCOPED_TRACE(testing::Message() << part << " of the cloud, least spacing " << minSpacing);
      expectSameAsBruteForce(cloud, shapeAround<TypeParam>(center, part * halfSize[0]), minSpacing);
    }
  }
}

TYPED_TEST(RegionIterator, FindsNothingButTheRootForAShapeFarAway) {
  const CloudFolder folder;
  const auto walk = Sorvik::allPointsInside(folder.open(), shapeAround<TypeParam>({5000, -9000, 100}, 5), 0);
  EXPECT_THAT(Testing::sizesOf(walk), testing::ElementsAre(0));
}

TYPED_TEST(RegionIterator, SharesNodesWhollyInsideAndGivesOthersColumnsOfTheirOwn) {
  const CloudFolder folder;
  const PointCloud cloud = folder.open();
  const std::vector<const void*> cached = Testing::placesOf(AllPointsIterator(cloud, 0));
  const std::set<const void*> known(cached.begin(), cached.end());
  // Holds the cube of r0, from (0, 0, 0) to (32, 32, 32), and so r00 and r07; without heights also r1 above.
  auto walk = Sorvik::allPointsInside(cloud, shapeAround<TypeParam>({16, 16, 16}, 40), 0);
  std::set<const void*> shared;
  for (; walk != walk.end(); ++walk) {
    const Sorvik::PointChunk chunk = *walk;
    if (known.contains(chunk.positions().data())) shared.insert(chunk.positions().data());
  }
  std::set<const void*> expected{cached[1], cached[9], cached[10]};
  if (kIsFlat<TypeParam>) expected.insert(cached[2]);
  EXPECT_EQ(shared, expected);
}

TYPED_TEST(RegionIterator, FiltersAPositionOnceAndAgainInEveryWalk) {
  const CloudFolder folder;
  const PointCloud cloud = folder.open();
  const auto shape = shapeAround<TypeParam>({32, 32, 32}, 20);
  const auto walk = Sorvik::allPointsInside(cloud, shape, 0);
  const Sorvik::PointChunk chunk = *walk;
  ASSERT_GT(chunk.size(), 0U);
  ASSERT_LT(chunk.size(), Testing::kPointsPerNode);
  EXPECT_EQ((*walk).positions().data(), chunk.positions().data());
  const Sorvik::PointChunk again = *Sorvik::allPointsInside(cloud, shape, 0);
  EXPECT_NE(again.positions().data(), chunk.positions().data());
  EXPECT_EQ(again.size(), chunk.size());
}

TYPED_TEST(RegionIterator, LeavesCachedNodesUnfiltered) {
  const CloudFolder folder;
  const PointCloud cloud = folder.open();
  const auto some = pointsOf(Sorvik::allPointsInside(cloud, shapeAround<TypeParam>({32, 32, 32}, 20), 0));
  const auto all = pointsOf(AllPointsIterator(cloud, 0));
  EXPECT_EQ(all.size(), cloud.numPoints());
  EXPECT_THAT(some, IsSubsetOf(all));
}

TYPED_TEST(RegionIterator, KeepsACopyOfItsShape) {
  const CloudFolder folder;
  const PointCloud cloud = folder.open();
  auto shape = shapeAround<TypeParam>({32, 32, 32}, 20);
  const auto walk = Sorvik::allPointsInside(cloud, shape, 0);
  const auto expected = pointsOf(walk);
  shape = shapeAround<TypeParam>({0, 0, 0}, 1);
  EXPECT_TRUE(pointsOf(walk) == expected);
}

/// Whether allPointsInside() of the shape gives this iterator, which can also be constructed so.
template <class Shape, class Iterator>
constexpr bool kGives =
    std::is_same_v<decltype(Sorvik::allPointsInside(std::declval<const PointCloud&>(),
                                                    std::declval<const Shape&>(), 0.0F)),
                   Iterator>&& std::is_constructible_v<Iterator, const PointCloud&, const Shape&, float>;

TEST(RegionIterators, HaveTheNamesOfTheirShapes) {
  using namespace Sorvik;
  static_assert(kGives<BoundingBox, AllPointsInsideBoundingBoxIterator>);
  static_assert(kGives<OrientedBoundingBox, AllPointsInsideOrientedBoundingBoxIterator>);
  static_assert(kGives<Sphere, AllPointsInsideSphereIterator>);
  static_assert(kGives<Cylinder, AllPointsInsideCylinderIterator>);
  static_assert(kGives<CylinderFinite, AllPointsInsideCylinderFiniteIterator>);
  static_assert(kGives<BoundingRectangle, AllPointsInsideBoundingRectangleIterator>);
  static_assert(kGives<OrientedBoundingRectangle, AllPointsInsideOrientedBoundingRectangleIterator>);
  static_assert(kGives<Circle, AllPointsInsideCircleIterator>);
  static_assert(kGives<Polygon, AllPointsInsidePolygonIterator>);
}

}  // namespace
