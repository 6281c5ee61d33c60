#include <gmock/gmock.h>

#include <algorithm>
#include <set>

#include "converter/WrittenOctree.h"
#include "support/OctreeBuilder.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace {

using PoTree::Encoding;
using Testing::buildOctree;
using testing::HasSubstr;
using Testing::PointRecords;
using Testing::TempFolder;
using testing::ThrowsMessage;
using Testing::WrittenOctree;

/// Points with the attributes of plainMetaData() at the given places.
PointRecords pointsAt(const std::vector<std::array<std::int32_t, 3>>& positions) {
  return {
      "points", Testing::plainMetaData().attributes, 0.01, {100, 200, 300}, Testing::plainRecords(positions)};
}

TEST(OctreeBuilder, BuildsTheDefaultOctreeOfASurvey) {
  const TempFolder folder;
  buildOctree(Testing::surveyRecords(60'000, 2), Encoding::Uncompressed, folder.path() / "out");
  const WrittenOctree octree(folder.path() / "out");
  EXPECT_GT(octree.nodes.size(), 4U);
  for (const auto& [name, record] : octree.nodes) {
    if (record.type == 1) {
      EXPECT_LE(record.numPoints, 10'000U) << name;
    }
  }
  const double edge = octree.metaData["boundingBox"]["max"][2].get<double>() -
                      octree.metaData["boundingBox"]["min"][2].get<double>();
  EXPECT_NEAR(octree.metaData["spacing"], edge / 128, 1e-9);
}

TEST(OctreeBuilder, KeepsOnePointOfEveryOccupiedGridCellInInnerNodes) {
  const TempFolder folder;
  const PointRecords survey = Testing::surveyRecords(40'000, 3);
  buildOctree(survey, Encoding::Uncompressed, folder.path() / "out");
  const WrittenOctree octree(folder.path() / "out");
  const double cell = octree.metaData["spacing"].get<double>() / 0.001;
  const auto cellsOf = [&](const std::vector<std::string>& records) {
    std::multiset<std::array<int, 3>> cells;
    for (const std::string& record : records) {
      const auto [x, y, z] = Testing::positionOf(record);
      cells.insert({static_cast<int>(x / cell), static_cast<int>(y / cell), static_cast<int>(z / cell)});
    }
    return cells;
  };
  const auto kept = cellsOf(octree.pointsOf("r"));
  const auto all = cellsOf(splitRecords(survey));
  EXPECT_EQ(std::set(kept.begin(), kept.end()), std::set(all.begin(), all.end()));
  EXPECT_EQ(kept.size(), std::set(kept.begin(), kept.end()).size());
}

TEST(OctreeBuilder, WritesTheSameBytesEveryTime) {
  const TempFolder folder;
  for (const char* name : {"a", "b"}) {
    buildOctree(Testing::surveyRecords(30'000, 4), Encoding::Brotli, folder.path() / name);
  }
  for (const char* file : {"metadata.json", "hierarchy.bin", "octree.bin"}) {
    EXPECT_EQ(Testing::readFile(folder.path() / "a" / file), Testing::readFile(folder.path() / "b" / file))
        << file;
  }
}

TEST(OctreeBuilder, PutsASinglePointIntoTheRoot) {
  for (const Encoding encoding : {Encoding::Uncompressed, Encoding::Brotli}) {
    const TempFolder folder;
    const PointRecords one = pointsAt({{7, 1000, 3}});
    buildOctree(one, encoding, folder.path() / "out");
    const WrittenOctree octree(folder.path() / "out");
    EXPECT_EQ(octree.nodes.size(), 1U);
    EXPECT_EQ(octree.allPoints(), splitRecords(one));
    EXPECT_EQ(octree.metaData["attributes"][0]["min"], octree.metaData["attributes"][0]["max"]);
  }
}

TEST(OctreeBuilder, BuildsAnOctreeWithoutPoints) {
  const TempFolder folder;
  buildOctree(pointsAt({}), Encoding::Brotli, folder.path() / "out");
  EXPECT_EQ(WrittenOctree(folder.path() / "out").metaData["points"], 0);
}

TEST(OctreeBuilder, EndsAMillionEqualPointsInALeafOfOneStep) {
  const TempFolder folder;
  PointRecords points{"equal", {Testing::makeAttribute("position", "int32", 3)}, 0.01, {}, {}};
  points.records.assign(12'000'000, std::byte{0});
  for (std::size_t at = 0; at < points.records.size(); at += 4) points.records[at] = std::byte{5};
  buildOctree(points, Encoding::Uncompressed, folder.path() / "out");
  const WrittenOctree octree(folder.path() / "out");
  EXPECT_EQ(octree.metaData["points"], 1'000'000);
  EXPECT_EQ(octree.nodes.rbegin()->first, "r707") << "the binary digits of 5, of x, y and z at once";
  EXPECT_EQ(octree.nodes.at("r707").numPoints, 999'997U);
}

TEST(OctreeBuilder, EndsEqualPointsInALeafOfTheDeepestLevel) {
  const TempFolder folder;
  std::vector<std::array<std::int32_t, 3>> positions(20'000, {1, 1, 1});
  positions.push_back({1 << 24, 0, 0});
  buildOctree(pointsAt(positions), Encoding::Uncompressed, folder.path() / "out");
  const WrittenOctree octree(folder.path() / "out");
  EXPECT_EQ(octree.metaData["hierarchy"]["depth"], 21);
  EXPECT_EQ(octree.nodes.at("r" + std::string(21, '0')).numPoints, 20'000U - 21U)
      << "each level above keeps one";
}

TEST(OctreeBuilder, FillsInRangesAndTheClassHistogram) {
  const TempFolder folder;
  buildOctree(pointsAt({{0, 50, 3}, {200, 0, 9}}), Encoding::Uncompressed, folder.path() / "out");
  const auto attributes = WrittenOctree(folder.path() / "out").metaData["attributes"];
  EXPECT_EQ(attributes[0]["min"], nlohmann::json::parse("[100, 200, 300.03]"));
  EXPECT_EQ(attributes[0]["max"], nlohmann::json::parse("[102, 200.5, 300.09]"));
  EXPECT_EQ(attributes[1]["max"][0], 1001);
  EXPECT_EQ(attributes[2]["histogram"][1], 1);
}

TEST(OctreeBuilder, RefusesPointsThatHaveNoUsablePosition) {
  const TempFolder folder;
  EXPECT_THAT(
      [&] {
        buildOctree(pointsAt({{0, -5, 0}}), Encoding::Uncompressed, folder.path() / "out");
      },
      ThrowsMessage<std::invalid_argument>(HasSubstr("negative")));
  const PointRecords none{"none", {Testing::makeAttribute("intensity", "uint16")}, 0.01, {}, {}};
  EXPECT_THROW(buildOctree(none, Encoding::Uncompressed, folder.path() / "out"), std::invalid_argument);
}

}  // namespace
