// Walks through clipping regions of every type against a filter over all points by the region's inside test.
#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <set>
#include <string>

#include "Sorvik/Sorvik.h"
#include "api/Elements.h"
#include "api/SmallCloud.h"
#include "api/WalkedPoints.h"
#include "support/SampleData.h"

namespace {

using namespace Sorvik;
using Testing::CloudFolder;
using Testing::pointsOf;
using Testing::WalkedPoint;
using Position = std::array<float, 3>;

Position at(const Position& center, float by) { return {center[0] + by, center[1] + by, center[2] + by}; }

/// A view from above of @p reach units around the centre, as 100 by 100 pixels; depths from z + reach down to
/// z - reach.
std::array<float, 16> fromAbove(const Position& c, float reach) {
  const float s = 1 / reach;
  return {s, 0, 0, 0, 0, s, 0, 0, 0, 0, -s / 2, 0, -s * c[0], -s * c[1], 0.5F + s / 2 * c[2], 1};
}

/// A camera at some distance beside the centre, that looks along y at it, of a width that ends at about
/// reach.
std::array<float, 16> fromBeside(const Position& c, float reach) {
  const float distance = 1.5F * reach;
  const float near = reach / 100;
  const float far = 3 * reach;
  const float a = far / (far - near);
  // w = y - (c.y - distance)
  const float back = distance - c[1];
  return {1, 0, 0, 0, 0, 0, a, 1, 0, 1, 0, 0, -c[0], -c[2], a * back - a * near, back};
}

Viewport hundredPixels() {
  Viewport viewport;
  viewport.setWidth(100);
  viewport.setHeight(100);
  return viewport;
}

std::vector<ClippingRegion> solids(const Position& c, float r) {
  return {BoundingBoxClippingRegion(at(c, -r), at(c, r)),
          HalfSpaceClippingRegion(Plane(Position{1, 2, 3}, c)), SphericalClippingRegion(c, r),
          CylindricalClippingRegion(c, Position{0.6F, 0, 0.8F}, r / 2),
          FiniteCylindricalClippingRegion(c, at(c, r), r / 2)};
}

std::vector<ClippingRegion> projected(const Position& c, float r) {
  std::vector<float> star;
  for (int i = 0; i < 80; ++i) {
    const float angle = 6.2831853F * static_cast<float>(i) / 80;
    const float reach = 30 + 15 * std::sin(4 * angle);
    star.insert(star.end(), {50 + reach * std::cos(angle), 50 + reach * std::sin(angle)});
  }
  std::vector<ClippingRegion> regions;
  const Viewport viewport = hundredPixels();
  for (const auto& view : {fromAbove(c, r), fromBeside(c, r)}) {
    regions.push_back(CircularClippingRegion(Circle(50, 50, 40), viewport, view));
    regions.push_back(
        RectangularClippingRegion(Testing::Vector2{20, 30}, Testing::Vector2{70, 60}, viewport, view));
    regions.push_back(PolygonalClippingRegion(Polygon(star), viewport, view));
  }
  std::string mask = regions[0].toJsonString();
  const std::string shape = R"("shape":{"center":[50.0,50.0],"radius":40.0})";
  mask.replace(mask.find(shape), shape.size(),
               R"("shape":{"size":[100,100],"counts":[3030,30,70,35,65,2000]})");
  mask.replace(mask.find("Circle"), 6, "ImageSegmentation");
  regions.push_back(ClippingRegion::parse(mask));
  return regions;
}

std::vector<ClippingRegion> composites(const Position& c, float r) {
  UnionClippingRegion either;
  for (const float side : {-0.6F, 0.1F, 0.7F})
    either.addRegion(SphericalClippingRegion(at(c, side * r), r / 3));
  IntersectionClippingRegion both;
  both.addRegion(InvertedClippingRegion(SphericalClippingRegion(c, r / 2)));
  both.addRegion(projected(c, r)[2]);
  const ClippingRegion moved = ClippingRegion::parse(
      R"({"type":"TransformedRegion","transformation":[[0.8,-0.6,0,1],[0.6,0.8,0,2],[0,0,1,0],[0,0,0,1]],"region":)" +
      either.toJsonString() + "}");
  return {either, InvertedClippingRegion(either), both, moved};
}

/// Expects the walk to find what the filter finds; returns how many that are.
std::size_t compare(const PointCloud& cloud, const ClippingRegion& region, float minSpacing) {
  const std::vector<WalkedPoint> expected =
      pointsOf(AllPointsIterator(cloud, minSpacing),
               [&](const WalkedPoint& point) { return region.inside(point.position); });
  const std::vector<WalkedPoint> found = pointsOf(allPointsInside(cloud, region, minSpacing));
  EXPECT_EQ(found.size(), expected.size()) << region.toJsonString();
  EXPECT_TRUE(found == expected) << region.toJsonString();
  return found.size();
}

using Draw = std::vector<ClippingRegion> (*)(const Position&, float);

class ClippingRegionWalk : public testing::TestWithParam<Draw> {};

TEST_P(ClippingRegionWalk, FindsInASmallCloudWhatABruteForceFilterFinds) {
  const CloudFolder folder;
  const PointCloud cloud = folder.open();
  for (const float reach : {8.0F, 25.0F}) {
    for (const float place : {12.0F, 32.0F}) {
      for (const ClippingRegion& region : GetParam()({place, 30, 35}, reach)) compare(cloud, region, 0);
    }
  }
}

TEST_P(ClippingRegionWalk, FindsInARealCloudWhatABruteForceFilterFinds) {
  SORVIK_SAMPLE_OR_SKIP(folder, "potree/andelskahora");
  const PointCloud cloud{FileSystemLocation(folder.wstring())};
  Position center{};
  Position halfSize{};
  cloud.boundingBox().getCenter(center);
  cloud.boundingBox().getHalfSize(halfSize);
  for (const float part : {0.2F, 0.7F}) {
    for (const ClippingRegion& region : GetParam()(center, part * halfSize[0])) {
      const std::size_t found = compare(cloud, region, 0);
      EXPECT_GT(found, 0U) << region.toJsonString();
      EXPECT_LT(found, cloud.numPoints()) << region.toJsonString();
      compare(cloud, region, 0.3F * cloud.pointSpacing());
    }
  }
}

std::string nameOf(const testing::TestParamInfo<Draw>& draw) {
  constexpr const char* kNames[] = {"Solids", "Projected", "Composites"};
  return kNames[draw.index];
}

INSTANTIATE_TEST_SUITE_P(Of, ClippingRegionWalk, testing::Values(&solids, &projected, &composites), nameOf);

TEST(ClippingRegionWalks, FindEverythingWithoutAModel) {
  const CloudFolder folder;
  const PointCloud cloud = folder.open();
  EXPECT_TRUE(pointsOf(allPointsInside(cloud, ClippingRegion(), 0)) == pointsOf(AllPointsIterator(cloud, 0)));
}

TEST(ClippingRegionWalks, SkipNodesOutsideAndShareThoseWhollyInside) {
  const CloudFolder folder;
  const PointCloud cloud = folder.open();
  const std::vector<const void*> cached = Testing::placesOf(AllPointsIterator(cloud, 0));
  // Holds r0, the cube up to (32, 32, 32), with r00 and r07, and nothing of the seven beside it but borders.
  const BoundingBoxClippingRegion box(Position{-1, -1, -1}, Position{33, 33, 33});
  const std::vector<const void*> places = Testing::placesOf(allPointsInside(cloud, box, 0));
  const std::set<const void*> walked(places.begin(), places.end());
  for (const std::size_t node : {1U, 9U, 10U}) EXPECT_TRUE(walked.contains(cached[node])) << node;
  const SphericalClippingRegion faraway(Position{5000, -9000, 100}, 5);
  EXPECT_THAT(Testing::sizesOf(allPointsInside(cloud, faraway, 0)), testing::ElementsAre(0));
}

TEST(ClippingRegionWalks, KeepTheRegionAsItWasWhenTheyBegan) {
  const CloudFolder folder;
  const PointCloud cloud = folder.open();
  UnionClippingRegion region;
  region.addRegion(SphericalClippingRegion(Position{32, 32, 32}, 20));
  const AllPointsInsideClippingRegionIterator walk = allPointsInside(cloud, region, 0);
  const auto expected = pointsOf(walk);
  region.clear();
  EXPECT_FALSE(expected.empty());
  EXPECT_TRUE(pointsOf(walk) == expected);
}

TEST(ClippingRegionWalks, EndLikeAllWalks) {
  const CloudFolder folder;
  auto walk = allPointsInside(folder.open(), ClippingRegion(), 0);
  const auto first = walk++;
  EXPECT_TRUE(first != walk);
  while (walk != walk.end()) ++walk;
  EXPECT_TRUE(walk == AllPointsInsideClippingRegionIterator());
}

}  // namespace
