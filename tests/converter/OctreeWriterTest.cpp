#include <gmock/gmock.h>

#include <filesystem>

#include "converter/OctreeWriter.h"
#include "converter/WrittenOctree.h"
#include "support/FileSizeLimit.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace {

namespace fs = std::filesystem;
using Converter::OctreeWriter;
using PoTree::Encoding;
using testing::HasSubstr;
using Testing::nodeId;
using Testing::plainMetaData;
using Testing::plainRecords;
using Testing::readFile;
using Testing::TempFolder;
using testing::ThrowsMessage;
using Testing::WrittenOctree;

const std::vector<std::array<std::int32_t, 3>> kThreePoints{{1, 2, 3}, {70'000, 5, 99'999}, {0, 0, 0}};

/// An octree of three nodes whose names are not in order.
void writeThreeNodes(const fs::path& folder, Encoding encoding, const std::vector<std::string>& order) {
  const std::map<std::string, std::vector<std::byte>> nodes{
      {"r", plainRecords(kThreePoints)},
      {"r1", plainRecords({{4, 4, 4}})},
      {"r44", plainRecords({{80'000, 1, 1}, {80'001, 2, 2}})}};
  OctreeWriter writer(folder, plainMetaData(encoding));
  for (const std::string& name : order) writer.addNode(nodeId(name), nodes.at(name));
  writer.finish();
}

TEST(OctreeWriter, KeepsEachNodesPoints) {
  for (const Encoding encoding : {Encoding::Uncompressed, Encoding::Brotli}) {
    const TempFolder folder;
    writeThreeNodes(folder.path() / "out", encoding, {"r", "r44", "r1"});
    const WrittenOctree octree(folder.path() / "out");
    EXPECT_EQ(octree.metaData["points"], 6);
    EXPECT_EQ(octree.nodes.size(), 4U);
    EXPECT_EQ(octree.nodes.at("r4").numPoints, 0U);
    EXPECT_EQ(octree.pointsOf("r").size(), 3U);
    const std::vector<std::string> deep = octree.pointsOf("r44");
    ASSERT_EQ(deep.size(), 2U);
    EXPECT_EQ(Testing::positionOf(deep[1]), (std::array<std::int32_t, 3>{80'001, 2, 2}));
  }
}

TEST(OctreeWriter, WritesTheSameBytesForTheSameCalls) {
  const TempFolder folder;
  for (const char* name : {"a", "b"})
    writeThreeNodes(folder.path() / name, Encoding::Brotli, {"r44", "r1", "r"});
  for (const char* file : {"metadata.json", "hierarchy.bin", "octree.bin"}) {
    EXPECT_EQ(readFile(folder.path() / "a" / file), readFile(folder.path() / "b" / file)) << file;
  }
}

TEST(OctreeWriter, MovesNothingButNodeDataWhenTheOrderOfTheNodesChanges) {
  const TempFolder folder;
  writeThreeNodes(folder.path() / "a", Encoding::Brotli, {"r", "r1", "r44"});
  writeThreeNodes(folder.path() / "b", Encoding::Brotli, {"r44", "r", "r1"});
  EXPECT_EQ(readFile(folder.path() / "a" / "metadata.json"), readFile(folder.path() / "b" / "metadata.json"));
  const WrittenOctree a(folder.path() / "a");
  const WrittenOctree b(folder.path() / "b");
  EXPECT_NE(a.data, b.data);
  ASSERT_EQ(a.nodes.size(), b.nodes.size());
  for (const auto& [name, record] : a.nodes) {
    const auto& other = b.nodes.at(name);
    EXPECT_EQ(a.data.substr(record.byteOffset, record.byteSize),
              b.data.substr(other.byteOffset, other.byteSize));
  }
}

TEST(OctreeWriter, AddsManyNodesAsIfOneByOne) {
  const TempFolder folder;
  writeThreeNodes(folder.path() / "single", Encoding::Brotli, {"r", "r1", "r44"});
  const auto root = plainRecords(kThreePoints);
  const auto first = plainRecords({{4, 4, 4}});
  const auto second = plainRecords({{80'000, 1, 1}, {80'001, 2, 2}});
  OctreeWriter writer(folder.path() / "batch", plainMetaData(Encoding::Brotli));
  writer.addNodes(std::array<Converter::NodeRecords, 3>{
      {{nodeId("r"), root}, {nodeId("r1"), first}, {nodeId("r44"), second}}});
  writer.finish();
  EXPECT_EQ(readFile(folder.path() / "single" / "octree.bin"),
            readFile(folder.path() / "batch" / "octree.bin"));
  EXPECT_EQ(readFile(folder.path() / "single" / "hierarchy.bin"),
            readFile(folder.path() / "batch" / "hierarchy.bin"));
}

TEST(OctreeWriter, WritesAnEmptyOctreeAsARootWithoutPoints) {
  const TempFolder folder;
  OctreeWriter(folder.path() / "out", plainMetaData()).finish();
  const WrittenOctree octree(folder.path() / "out");
  EXPECT_EQ(octree.metaData["points"], 0);
  EXPECT_EQ(octree.data, "");
  ASSERT_EQ(octree.nodes.size(), 1U);
  EXPECT_EQ(octree.nodes.at("r"), (Testing::HierarchyRecord{1, 0, 0, 0, 0}));
}

TEST(OctreeWriter, WritesASmallerFileAtAHigherQuality) {
  const TempFolder folder;
  std::vector<std::array<std::int32_t, 3>> positions;
  for (std::int32_t i = 0; i < 5000; ++i) positions.push_back({i * 7 % 1000, i * 13 % 1000, i % 50});
  for (const int quality : {0, 9}) {
    Converter::OctreeWriterOptions options;
    options.brotliQuality = quality;
    OctreeWriter writer(folder.path() / std::to_string(quality), plainMetaData(Encoding::Brotli), options);
    writer.addNode(nodeId("r"), plainRecords(positions));
    writer.finish();
  }
  EXPECT_LT(fs::file_size(folder.path() / "9" / "octree.bin"),
            fs::file_size(folder.path() / "0" / "octree.bin"));
}

TEST(OctreeWriter, WritesOctreesThatOnlyAddAttributes) {
  const TempFolder folder;
  PoTree::MetaData metaData = plainMetaData();
  metaData.attributes = {Testing::makeAttribute("visibility", "uint8")};
  OctreeWriter writer(folder.path() / "out", metaData, {6, PoTree::MetaDataUse::ExternalAttributes});
  writer.addNode(nodeId("r"), std::vector{std::byte{1}, std::byte{0}});
  writer.finish();
  EXPECT_EQ(WrittenOctree(folder.path() / "out").data, std::string("\1\0", 2));
}

TEST(OctreeWriter, RefusesANodeThatWasAddedBefore) {
  const TempFolder folder;
  OctreeWriter writer(folder.path() / "out", plainMetaData());
  const auto records = plainRecords(kThreePoints);
  writer.addNode(nodeId("r04"), records);
  EXPECT_THAT([&] { writer.addNode(nodeId("r04"), records); },
              ThrowsMessage<std::invalid_argument>(HasSubstr("node r04: was added before")));
  const std::array<Converter::NodeRecords, 2> twins{{{nodeId("r1"), records}, {nodeId("r1"), records}}};
  EXPECT_THROW(writer.addNodes(twins), std::invalid_argument);
  writer.finish();
  EXPECT_EQ(WrittenOctree(folder.path() / "out").metaData["points"], 3) << "a refused call adds nothing";
}

TEST(OctreeWriter, RefusesANodeBelowTheDeepestLevel) {
  const TempFolder folder;
  OctreeWriter writer(folder.path() / "out", plainMetaData());
  const auto records = plainRecords(kThreePoints);
  const Octree::OctreeNodeId deepest = nodeId("r" + std::string(21, '0'));
  EXPECT_NO_THROW(writer.addNode(deepest, records));
  EXPECT_THROW(writer.addNode(deepest.child(0), records), std::invalid_argument);
  EXPECT_THROW(writer.addNode(deepest.child(5), records), std::invalid_argument);
}

TEST(OctreeWriter, RefusesBytesThatAreNoWholeRecords) {
  const TempFolder folder;
  OctreeWriter writer(folder.path() / "out", plainMetaData());
  auto records = plainRecords(kThreePoints);
  records.pop_back();
  EXPECT_THAT([&] { writer.addNode(nodeId("r"), records); },
              ThrowsMessage<std::invalid_argument>(HasSubstr("62 bytes are no whole records of 21")));
}

TEST(OctreeWriter, RefusesMorePointsInANodeThanViewersCount) {
  const TempFolder folder;
  PoTree::MetaData metaData = plainMetaData();
  metaData.attributes = {Testing::makeAttribute("visibility", "uint8")};
  OctreeWriter writer(folder.path() / "out", metaData, {6, PoTree::MetaDataUse::ExternalAttributes});
  constexpr std::size_t kTooMany = std::size_t{1} << 31U;
  const auto untouched = std::make_unique_for_overwrite<std::byte[]>(kTooMany);
  EXPECT_THAT(
      [&] {
        writer.addNode(nodeId("r"), {untouched.get(), kTooMany});
      },
      ThrowsMessage<std::invalid_argument>(HasSubstr("more than 2^31 - 1 points")));
}

TEST(OctreeWriter, CannotBeUsedAfterFinish) {
  const TempFolder folder;
  OctreeWriter writer(folder.path() / "out", plainMetaData());
  writer.finish();
  EXPECT_THROW(writer.addNode(nodeId("r"), plainRecords(kThreePoints)), std::logic_error);
  EXPECT_THROW(writer.finish(), std::logic_error);
}

TEST(OctreeWriter, RefusesAQualityThatBrotliDoesNotHave) {
  const TempFolder folder;
  EXPECT_THROW(OctreeWriter(folder.path() / "out", plainMetaData(), {12}), std::invalid_argument);
  EXPECT_THROW(OctreeWriter(folder.path() / "out", plainMetaData(), {-1}), std::invalid_argument);
  EXPECT_FALSE(fs::exists(folder.path() / "out"));
}

TEST(OctreeWriter, MakesMissingParentsOfItsFolder) {
  const TempFolder folder;
  OctreeWriter(folder.path() / "a" / "b" / "c", plainMetaData()).finish();
  EXPECT_TRUE(fs::exists(folder.path() / "a" / "b" / "c" / "metadata.json"));
}

TEST(OctreeWriter, NeverOverwritesAFile) {
  for (const char* name : {"metadata.json", "hierarchy.bin", "octree.bin"}) {
    const TempFolder folder;
    const fs::path file = folder.write(name, "mine");
    EXPECT_THAT([&] { OctreeWriter(folder.path(), plainMetaData()); },
                ThrowsMessage<std::runtime_error>(HasSubstr(file.string())));
    EXPECT_EQ(readFile(file), "mine");
  }
}

TEST(OctreeWriter, NamesTheFolderThatCannotBeMade) {
  const TempFolder folder;
  const fs::path file = folder.write("file", "");
  EXPECT_THAT([&] { OctreeWriter(file / "out", plainMetaData()); },
              ThrowsMessage<std::runtime_error>(HasSubstr(file.string())));
}

TEST(OctreeWriter, LeavesNoNodeDataBehindWhenItIsNotFinished) {
  const TempFolder folder;
  {
    OctreeWriter writer(folder.path(), plainMetaData());
    writer.addNode(nodeId("r"), plainRecords(kThreePoints));
  }
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(OctreeWriter, NamesTheFileThatCannotBeWrittenAndIsNotUsedAgain) {
  const TempFolder folder;
  OctreeWriter writer(folder.path(), plainMetaData());
  const std::vector<std::array<std::int32_t, 3>> many(5000);
  const Testing::FileSizeLimit limit(1000);
  EXPECT_THAT([&] { writer.addNode(nodeId("r"), plainRecords(many)); },
              ThrowsMessage<std::runtime_error>(HasSubstr((folder.path() / "octree.bin").string())));
  EXPECT_THROW(writer.addNode(nodeId("r1"), plainRecords(kThreePoints)), std::logic_error);
  EXPECT_THROW(writer.finish(), std::logic_error);
}

TEST(OctreeWriter, LeavesNoMetaDataWhenWritingThemFails) {
  const TempFolder folder;
  OctreeWriter writer(folder.path(), plainMetaData());
  const Testing::FileSizeLimit limit(100);
  EXPECT_THAT([&] { writer.finish(); },
              ThrowsMessage<std::runtime_error>(HasSubstr((folder.path() / "metadata.json").string())));
  EXPECT_FALSE(fs::exists(folder.path() / "metadata.json"));
}

}  // namespace
