// What metadata and hierarchy say of a converted cloud.

#include <gmock/gmock.h>

#include <cmath>

#include "converter/ConversionRun.h"

namespace {

using Testing::clusteredScan;
using Testing::ConversionRun;
using Testing::HierarchyChunk;
using Testing::ScanContent;
using Testing::scanOf;
using Testing::scansOf;
using Testing::WrittenOctree;

WrittenOctree converted(const ScanContent& content) {
  ConversionRun run;
  run.convert(scansOf({content}));
  return run.octree();
}

const nlohmann::json& attributeOf(const WrittenOctree& octree, const std::string& name) {
  for (const auto& attribute : octree.metaData.at("attributes")) {
    if (attribute.at("name") == name) return attribute;
  }
  throw std::out_of_range("no attribute " + name);
}

TEST(ConversionMetaData, HoldsNameProjectionAndCount) {
  ScanContent content = clusteredScan(700, 61);
  content.projection = "PROJCS[\"Ünïcode \\ \"]";
  const WrittenOctree octree = converted(content);
  EXPECT_EQ(octree.metaData.at("name"), "small");
  EXPECT_EQ(octree.metaData.at("projection"), content.projection);
  EXPECT_EQ(octree.metaData.at("points"), 700);
}

TEST(ConversionMetaData, HoldsTheRangesOfAttributes) {
  const WrittenOctree octree = converted(clusteredScan(700, 62));
  EXPECT_EQ(attributeOf(octree, "number").at("min")[0], 0);
  EXPECT_EQ(attributeOf(octree, "number").at("max")[0], 699);
  EXPECT_EQ(attributeOf(octree, "gps-time").at("max")[0], 1e8 + 0.699);
  EXPECT_EQ(attributeOf(octree, "rgb").at("max").size(), 3);
}

TEST(ConversionMetaData, OfTimesThatAreNoNumbersIsSoundAndTheTimesAreKept) {
  ScanContent content = scanOf({{1, 1, 1}, {2, 2, 2}});
  content.columns = {Testing::scanColumn<double>("gps-time", {NAN, INFINITY})};
  const WrittenOctree octree = converted(content);
  EXPECT_TRUE(attributeOf(octree, "gps-time").at("min")[0].is_number());
  EXPECT_EQ(octree.allPoints(), expectedRecords(content, octree.metaData));
}

TEST(ConversionMetaData, NamesNoAttributesThatViewersCannotRead) {
  ScanContent content = scanOf({{1, 1, 1}, {2, 2, 2}});
  content.columns = {Testing::scanColumn<std::int64_t>("exact", {-7, 8}),
                     Testing::scanColumn<std::uint64_t>("wide", {1, UINT64_MAX}),
                     Testing::scanColumn<std::uint8_t>("scan flags", {0, 0})};
  const WrittenOctree octree = converted(content);
  std::vector<std::string> found;
  for (const auto& attribute : octree.metaData.at("attributes"))
    found.push_back(attribute.at("name").get<std::string>() + " " + attribute.at("type").get<std::string>());
  EXPECT_THAT(found,
              testing::ElementsAre("position int32", "exact double", "wide_low uint32", "wide_high uint32"));
}

TEST(ConversionMetaData, KeepsAllValuesOfAttributesWhoseNamesAreTaken) {
  ScanContent content = scanOf({{1, 1, 1}});
  content.columns = {
      Testing::scanColumn<std::int64_t>("id", {INT64_MAX}), Testing::scanColumn<std::uint8_t>("id_low", {1}),
      Testing::scanColumn<std::uint8_t>("position", {2}), Testing::scanColumn<std::uint8_t>("id_low", {3})};
  const WrittenOctree octree = converted(content);
  EXPECT_THAT(octree.allPoints(),
              testing::ElementsAre(std::string(12, '\0') + "\xff\xff\xff\xff\xff\xff\xff\x7f\1\2\3"));
}

TEST(ConversionHierarchy, HasTrueTypesAndMasksAndNoEmptyLeaves) {
  const WrittenOctree octree = converted(clusteredScan(10'000, 63));
  for (const auto& [name, node] : octree.nodes) {
    EXPECT_EQ(node.type, node.childMask == 0 ? 1 : 0) << name;
    if (node.type == 1) {
      EXPECT_GT(node.numPoints, 0) << name;
    }
    EXPECT_EQ(node.numPoints == 0, node.byteSize == 0) << name;
    for (char child = '0'; child < '8'; ++child) {
      const bool isThere = (node.childMask >> (child - '0') & 1U) != 0;
      EXPECT_EQ(octree.nodes.contains(name + child), isThere) << name << child;
    }
  }
}

TEST(ConversionHierarchy, HasChunksOfExactlyTheRecordsThatTheirMasksReach) {
  const WrittenOctree octree = converted(clusteredScan(10'000, 64));
  EXPECT_GT(octree.chunks.size(), 5);
  std::uint64_t size = 0;
  for (const HierarchyChunk& chunk : octree.chunks) {
    EXPECT_EQ(chunk.records.size(), chunk.reached.size());
    EXPECT_EQ(chunk.byteSize, 22 * chunk.records.size());
    size += chunk.byteSize;
  }
  EXPECT_EQ(size, octree.hierarchy.size());
}

TEST(ConversionHierarchy, PointsLieInTheBoxesOfTheirNodes) {
  const WrittenOctree octree = converted(clusteredScan(5'000, 65));
  const double edge = octree.metaData.at("spacing").get<double>() * 128 / 0.01;
  for (const auto& [name, record] : octree.nodes) {
    std::array<double, 3> low{};
    double size = edge;
    for (const char digit : name.substr(1)) {
      size /= 2;
      for (int axis = 0; axis < 3; ++axis)
        if (((digit - '0') >> (2 - axis) & 1) != 0) low[static_cast<std::size_t>(axis)] += size;
    }
    for (const std::string& point : octree.pointsOf(name)) {
      const auto p = Testing::positionOf(point);
      for (std::size_t axis = 0; axis < 3; ++axis) {
        ASSERT_GE(p[axis], low[axis] - 0.01) << name;
        ASSERT_LE(p[axis], low[axis] + size + 0.01) << name;
      }
    }
  }
}

}  // namespace
