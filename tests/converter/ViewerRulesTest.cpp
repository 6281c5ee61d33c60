// What stock viewers need of an octree, rule by rule, on a deep octree of a survey in both encodings.

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "converter/OctreeWriter.h"
#include "converter/WrittenOctree.h"
#include "support/OctreeBuilder.h"
#include "support/TempFolder.h"

namespace {

using PoTree::Encoding;
using Testing::plainMetaData;
using Testing::plainRecords;
using Testing::WrittenOctree;

const Testing::BuildOptions kDeep{/*leafPoints=*/5, /*gridBits=*/1};

/// A survey in nodes of a few points, and a hundred points in one place, which lead down many levels.
Testing::PointRecords deepSurvey() {
  Testing::PointRecords points = Testing::surveyRecords(20'000, 5);
  const std::vector<std::byte> first(points.records.begin(),
                                     points.records.begin() + static_cast<std::ptrdiff_t>(points.stride()));
  for (int i = 0; i < 100; ++i) points.records.insert(points.records.end(), first.begin(), first.end());
  return points;
}

class ViewerRules : public testing::TestWithParam<Encoding> {
 protected:
  ViewerRules() { Testing::buildOctree(points_, GetParam(), folder_.path() / "cloud", kDeep); }

  const Testing::PointRecords points_ = deepSurvey();
  const Testing::TempFolder folder_;
};

INSTANTIATE_TEST_SUITE_P(Encodings, ViewerRules, testing::Values(Encoding::Uncompressed, Encoding::Brotli),
                         [](const auto& encoding) {
                           return encoding.param == Encoding::Brotli ? "Brotli" : "Uncompressed";
                         });

TEST_P(ViewerRules, EveryPointIsFoundExactlyOnceWithAllItsAttributes) {
  std::vector<std::string> expected = splitRecords(points_);
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(WrittenOctree(folder_.path() / "cloud").allPoints(), expected);
}

TEST_P(ViewerRules, TheFolderHoldsTheThreeFilesAndNothingElse) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder_.path() / "cloud")) {
    names.insert(entry.path().filename());
  }
  EXPECT_EQ(names, (std::set<std::string>{"hierarchy.bin", "metadata.json", "octree.bin"}));
}

TEST_P(ViewerRules, EveryAttributeHasTheKeysThatViewersIndex) {
  const std::map<std::string, int> sizes{{"int8", 1},  {"uint8", 1},  {"int16", 2}, {"uint16", 2},
                                         {"int32", 4}, {"uint32", 4}, {"float", 4}, {"double", 8}};
  const WrittenOctree octree(folder_.path() / "cloud");
  for (const auto& attribute : octree.metaData.at("attributes")) {
    const int elements = attribute.at("numElements");
    EXPECT_EQ(attribute.at("size"), sizes.at(attribute.at("type")) * elements) << attribute;
    EXPECT_EQ(attribute.at("min").size(), elements) << attribute;
    EXPECT_EQ(attribute.at("max").size(), elements) << attribute;
    if (attribute.at("type") == "double" && attribute.at("name") != "gps-time") {
      EXPECT_GT(attribute.at("max")[0], attribute.at("min")[0]);
    }
  }
}

TEST_P(ViewerRules, PositionsAreThreeIntegersWithTheirWorldBounds) {
  const WrittenOctree octree(folder_.path() / "cloud");
  const auto& position = octree.metaData.at("attributes").at(0);
  EXPECT_EQ(position.at("name"), "position");
  EXPECT_EQ(position.at("type"), "int32");
  std::array<double, 3> low{1e9, 1e9, 1e9};
  for (const std::string& record : octree.allPoints()) {
    const auto stored = Testing::positionOf(record);
    for (std::size_t axis = 0; axis < 3; ++axis) low[axis] = std::min(low[axis], stored[axis] * 0.001);
  }
  const std::array<double, 3> offset = octree.metaData.at("offset");
  for (std::size_t axis = 0; axis < 3; ++axis) {
    EXPECT_NEAR(position.at("min")[axis], low[axis] + offset[axis], 1e-6);
  }
}

TEST_P(ViewerRules, TheBoxIsACubeFromTheOffsetOnAndTheSpacingFitsIt) {
  const auto metaData = WrittenOctree(folder_.path() / "cloud").metaData;
  const std::array<double, 3> low = metaData.at("boundingBox").at("min");
  const std::array<double, 3> high = metaData.at("boundingBox").at("max");
  for (std::size_t axis = 0; axis < 3; ++axis) EXPECT_NEAR(high[axis] - low[axis], high[0] - low[0], 1e-6);
  EXPECT_EQ(metaData.at("offset"), metaData.at("boundingBox").at("min"));
  EXPECT_NEAR(metaData.at("spacing").get<double>() * 2, high[0] - low[0], 1e-6) << "a grid of 2 cells a side";
}

TEST_P(ViewerRules, EveryPointLiesInTheCubeOfItsNode) {
  const WrittenOctree octree(folder_.path() / "cloud");
  const double edge = octree.metaData.at("spacing").get<double>() * 2 / 0.001;
  for (const auto& [name, record] : octree.nodes) {
    const double size = edge / static_cast<double>(1U << (name.size() - 1));
    std::array<double, 3> low{};
    for (std::size_t level = 1; level < name.size(); ++level) {
      const int child = name[level] - '0';
      const double half = edge / static_cast<double>(1U << level);
      for (std::size_t axis = 0; axis < 3; ++axis) low[axis] += (child >> (2 - axis) & 1) * half;
    }
    for (const std::string& point : octree.pointsOf(name)) {
      const auto stored = Testing::positionOf(point);
      for (std::size_t axis = 0; axis < 3; ++axis) {
        ASSERT_GE(stored[axis], low[axis]) << name;
        ASSERT_LT(stored[axis], low[axis] + size) << name;
      }
    }
  }
}

TEST_P(ViewerRules, EveryChunkHoldsExactlyTheRecordsThatItsMasksReach) {
  const WrittenOctree octree(folder_.path() / "cloud");
  EXPECT_GT(octree.chunks.size(), 10U);
  std::uint64_t bytes = 0;
  for (const auto& chunk : octree.chunks) {
    EXPECT_EQ(chunk.byteSize, chunk.reached.size() * 22);
    EXPECT_NE(chunk.records.front().type, 2U);
    bytes += chunk.byteSize;
  }
  EXPECT_EQ(bytes, octree.hierarchy.size()) << "no record that nothing reaches";
}

TEST_P(ViewerRules, TypesMasksCountsAndDepthAreTrue) {
  const WrittenOctree octree(folder_.path() / "cloud");
  std::uint64_t points = 0;
  std::size_t depth = 0;
  for (const auto& [name, record] : octree.nodes) {
    EXPECT_EQ(record.type, record.childMask == 0 ? 1U : 0U) << name;
    EXPECT_GT(record.numPoints, 0U) << name;
    points += record.numPoints;
    depth = std::max(depth, name.size() - 1);
  }
  EXPECT_EQ(octree.metaData.at("points"), points);
  EXPECT_EQ(octree.metaData.at("hierarchy").at("depth"), depth);
  EXPECT_GT(depth, 12U);
  for (const auto& chunk : octree.chunks) {
    for (std::size_t r = 1; r < chunk.records.size(); ++r) {
      if (chunk.records[r].type != 2) continue;
      EXPECT_EQ(chunk.records[r].childMask, octree.nodes.at(chunk.reached[r]).childMask);
      EXPECT_EQ(chunk.records[r].numPoints, octree.nodes.at(chunk.reached[r]).numPoints);
    }
  }
}

TEST_P(ViewerRules, NodeDataFillTheirFileWithoutGaps) {
  const WrittenOctree octree(folder_.path() / "cloud");
  std::map<std::uint64_t, std::uint64_t> sizes;
  for (const auto& [name, record] : octree.nodes) sizes.emplace(record.byteOffset, record.byteSize);
  std::uint64_t end = 0;
  for (const auto& [offset, size] : sizes) {
    EXPECT_EQ(offset, end);
    end += size;
  }
  EXPECT_EQ(end, octree.data.size());
}

TEST_P(ViewerRules, ColoursAreSixteenBitOnesThatNobodyTakesForEightBitOnes) {
  for (const std::string& record : WrittenOctree(folder_.path() / "cloud").allPoints()) {
    for (const std::size_t highByte : {32U, 34U, 36U}) ASSERT_NE(record[highByte], '\0');
  }
}

TEST(ViewerRulesOfNodes, ANodeWithoutPointsHasNoBytesAndNoPlace) {
  const Testing::TempFolder folder;
  Core::DiskFileSystem files(Core::DiskFileSystem::Sync::No);
  for (const Encoding encoding : {Encoding::Uncompressed, Encoding::Brotli}) {
    const auto path = folder.path() / std::to_string(static_cast<int>(encoding));
    Converter::OctreeWriter writer(files, path, plainMetaData(encoding));
    writer.addNode(Testing::nodeNamed("r7"), plainRecords({{1, 2, 3}}));
    writer.addNode(Testing::nodeNamed("r"), {});
    writer.finish();
    const Testing::HierarchyRecord root = WrittenOctree(path).nodes.at("r");
    EXPECT_EQ(root, (Testing::HierarchyRecord{0, 0x80, 0, 0, 0}));
  }
}

TEST(ViewerRulesOfNodes, NegativePositionsAreRefused) {
  const Testing::TempFolder folder;
  Core::DiskFileSystem files(Core::DiskFileSystem::Sync::No);
  Converter::OctreeWriter writer(files, folder.path(), plainMetaData());
  EXPECT_THAT(
      [&] {
        writer.addNode(Testing::nodeNamed("r"), plainRecords({{1, 2, 3}, {0, -1, 0}}));
      },
      testing::ThrowsMessage<std::invalid_argument>(testing::HasSubstr("coordinate -1 is negative")));
}

}  // namespace
