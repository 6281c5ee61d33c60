#include <gmock/gmock.h>

#include <filesystem>
#include <map>

#include "converter/OctreeWriter.h"
#include "converter/WrittenOctree.h"
#include "support/FaultyFileSystem.h"
#include "support/FileSizeLimit.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace {

namespace fs = std::filesystem;
using PoTree::Encoding;
using testing::HasSubstr;
using Testing::nodeNamed;
using Testing::plainMetaData;
using Testing::plainRecords;
using Testing::readFile;
using Testing::TempFolder;
using testing::ThrowsMessage;
using Testing::WrittenOctree;

const std::vector<std::array<std::int32_t, 3>> kThreePoints{{1, 2, 3}, {70'000, 5, 99'999}, {0, 0, 0}};

class OctreeWriter : public testing::Test {
 public:
  /// An octree of three nodes whose names are not in order.
  void writeThreeNodes(const fs::path& name, Encoding encoding, const std::vector<std::string>& order) {
    const std::map<std::string, std::vector<std::byte>> nodes{
        {"r", plainRecords(kThreePoints)},
        {"r1", plainRecords({{4, 4, 4}})},
        {"r44", plainRecords({{80'000, 1, 1}, {80'001, 2, 2}})}};
    Converter::OctreeWriter writer(files_, folder_.path() / name, plainMetaData(encoding));
    for (const std::string& node : order) writer.addNode(nodeNamed(node), nodes.at(node));
    writer.finish();
  }

  Core::DiskFileSystem files_{Core::DiskFileSystem::Sync::No};
  TempFolder folder_;
};

TEST_F(OctreeWriter, KeepsEachNodesPoints) {
  for (const Encoding encoding : {Encoding::Uncompressed, Encoding::Brotli}) {
    const std::string name = std::to_string(static_cast<int>(encoding));
    writeThreeNodes(name, encoding, {"r", "r44", "r1"});
    const WrittenOctree octree(folder_.path() / name);
    EXPECT_EQ(octree.metaData["points"], 6);
    EXPECT_EQ(octree.nodes.size(), 4U);
    EXPECT_EQ(octree.nodes.at("r4").numPoints, 0U);
    EXPECT_EQ(octree.pointsOf("r").size(), 3U);
    const std::vector<std::string> deep = octree.pointsOf("r44");
    ASSERT_EQ(deep.size(), 2U);
    EXPECT_EQ(Testing::positionOf(deep[1]), (std::array<std::int32_t, 3>{80'001, 2, 2}));
  }
}

TEST_F(OctreeWriter, WritesTheSameBytesForTheSameCalls) {
  for (const char* name : {"a", "b"}) writeThreeNodes(name, Encoding::Brotli, {"r44", "r1", "r"});
  for (const char* file : {"metadata.json", "hierarchy.bin", "octree.bin"}) {
    EXPECT_EQ(readFile(folder_.path() / "a" / file), readFile(folder_.path() / "b" / file)) << file;
  }
}

TEST_F(OctreeWriter, MovesNothingButNodeDataWhenTheOrderOfTheNodesChanges) {
  writeThreeNodes("a", Encoding::Brotli, {"r", "r1", "r44"});
  writeThreeNodes("b", Encoding::Brotli, {"r44", "r", "r1"});
  EXPECT_EQ(readFile(folder_.path() / "a" / "metadata.json"),
            readFile(folder_.path() / "b" / "metadata.json"));
  const WrittenOctree a(folder_.path() / "a");
  const WrittenOctree b(folder_.path() / "b");
  EXPECT_NE(a.data, b.data);
  ASSERT_EQ(a.nodes.size(), b.nodes.size());
  for (const auto& [name, record] : a.nodes) {
    const auto& other = b.nodes.at(name);
    EXPECT_EQ(a.data.substr(record.byteOffset, record.byteSize),
              b.data.substr(other.byteOffset, other.byteSize));
  }
}

TEST_F(OctreeWriter, AddsManyNodesAsIfOneByOne) {
  writeThreeNodes("single", Encoding::Brotli, {"r", "r1", "r44"});
  const auto root = plainRecords(kThreePoints);
  const auto first = plainRecords({{4, 4, 4}});
  const auto second = plainRecords({{80'000, 1, 1}, {80'001, 2, 2}});
  Converter::OctreeWriter writer(files_, folder_.path() / "batch", plainMetaData(Encoding::Brotli));
  writer.addNodes(std::array<Converter::NodeRecords, 3>{
      {{nodeNamed("r"), root}, {nodeNamed("r1"), first}, {nodeNamed("r44"), second}}});
  writer.finish();
  EXPECT_EQ(readFile(folder_.path() / "single" / "octree.bin"),
            readFile(folder_.path() / "batch" / "octree.bin"));
  EXPECT_EQ(readFile(folder_.path() / "single" / "hierarchy.bin"),
            readFile(folder_.path() / "batch" / "hierarchy.bin"));
}

TEST_F(OctreeWriter, TakesNodesThatWereEncodedElsewhere) {
  writeThreeNodes("records", Encoding::Uncompressed, {"r", "r1", "r44"});
  const auto root = plainRecords(kThreePoints);
  const auto together = plainRecords({{4, 4, 4}});
  const auto last = plainRecords({{80'000, 1, 1}, {80'001, 2, 2}});
  Converter::OctreeWriter writer(files_, folder_.path() / "encoded", plainMetaData());
  writer.addEncoded(std::array<Converter::EncodedNode, 3>{
      {{nodeNamed("r"), 3, root}, {nodeNamed("r1"), 1, together}, {nodeNamed("r44"), 2, last}}});
  writer.finish();
  for (const char* file : {"metadata.json", "hierarchy.bin", "octree.bin"}) {
    EXPECT_EQ(readFile(folder_.path() / "records" / file), readFile(folder_.path() / "encoded" / file))
        << file;
  }
}

TEST_F(OctreeWriter, WritesEncodedNodesThatFollowEachOtherInMemoryInOneCall) {
  std::size_t writes = 0;
  Testing::FaultyFileSystem counted(files_);
  counted.before(
      [&](Testing::FileCall call, const fs::path&) { writes += call == Testing::FileCall::Write; });
  Converter::OctreeWriter writer(counted, folder_.path() / "out", plainMetaData());
  const auto records = plainRecords(kThreePoints);
  const std::span<const std::byte> bytes(records);
  writer.addEncoded(std::array<Converter::EncodedNode, 3>{{{nodeNamed("r"), 1, bytes.first(21)},
                                                           {nodeNamed("r0"), 0, {}},
                                                           {nodeNamed("r1"), 2, bytes.subspan(21)}}});
  EXPECT_EQ(writes, 1U);
  writer.finish();
  EXPECT_EQ(readFile(folder_.path() / "out" / "octree.bin").size(), records.size());
}

TEST_F(OctreeWriter, RefusesEncodedNodesWhosePointsAndBytesDisagree) {
  Converter::OctreeWriter writer(files_, folder_.path() / "out", plainMetaData());
  const auto records = plainRecords(kThreePoints);
  const std::array<Converter::EncodedNode, 1> noBytes{{{nodeNamed("r"), 3, {}}}};
  const std::array<Converter::EncodedNode, 1> noPoints{{{nodeNamed("r"), 0, records}}};
  const std::array<Converter::EncodedNode, 1> tooMany{{{nodeNamed("r"), 1U << 31U, records}}};
  EXPECT_THROW(writer.addEncoded(noBytes), std::invalid_argument);
  EXPECT_THROW(writer.addEncoded(noPoints), std::invalid_argument);
  EXPECT_THROW(writer.addEncoded(tooMany), std::invalid_argument);
  writer.finish();
  EXPECT_EQ(WrittenOctree(folder_.path() / "out").data, "") << "a refused call adds nothing";
}

TEST_F(OctreeWriter, WritesTheMetaDataThatAreKnownAtTheEnd) {
  Converter::OctreeWriter writer(files_, folder_.path() / "out", plainMetaData());
  writer.addNode(nodeNamed("r"), plainRecords(kThreePoints));
  PoTree::MetaData metaData = plainMetaData();
  metaData.attributes[1].min = {1000};
  metaData.attributes[1].max = {1002};
  writer.finish(metaData);
  const WrittenOctree octree(folder_.path() / "out");
  EXPECT_EQ(octree.metaData["attributes"][1]["max"][0], 1002);
  EXPECT_EQ(octree.metaData["points"], 3);
}

TEST_F(OctreeWriter, RefusesMetaDataThatDoNotFitItsNodes) {
  Converter::OctreeWriter writer(files_, folder_.path() / "out", plainMetaData());
  PoTree::MetaData other = plainMetaData();
  other.attributes.pop_back();
  EXPECT_THROW(writer.finish(other), std::invalid_argument);
  EXPECT_THROW(writer.finish(plainMetaData(Encoding::Brotli)), std::invalid_argument);
  writer.finish();
  EXPECT_TRUE(fs::exists(folder_.path() / "out" / "metadata.json"));
}

TEST_F(OctreeWriter, WritesAnEmptyOctreeAsARootWithoutPoints) {
  Converter::OctreeWriter(files_, folder_.path() / "out", plainMetaData()).finish();
  const WrittenOctree octree(folder_.path() / "out");
  EXPECT_EQ(octree.metaData["points"], 0);
  EXPECT_EQ(octree.data, "");
  ASSERT_EQ(octree.nodes.size(), 1U);
  EXPECT_EQ(octree.nodes.at("r"), (Testing::HierarchyRecord{1, 0, 0, 0, 0}));
}

TEST_F(OctreeWriter, CompressesAsItsOptionsSay) {
  std::vector<std::array<std::int32_t, 3>> positions;
  for (std::int32_t i = 0; i < 5000; ++i) positions.push_back({i * 7 % 1000, i * 13 % 1000, i % 50});
  std::map<Converter::NodeCompression, std::string> nodes;
  for (const auto compression : {Converter::NodeCompression::Columns, Converter::NodeCompression::Search}) {
    const fs::path folder = folder_.path() / std::to_string(static_cast<int>(compression));
    Converter::OctreeWriterOptions options;
    options.compression = compression;
    Converter::OctreeWriter writer(files_, folder, plainMetaData(Encoding::Brotli), options);
    writer.addNode(nodeNamed("r"), plainRecords(positions));
    writer.finish();
    nodes[compression] = WrittenOctree(folder).data;
  }
  EXPECT_NE(nodes[Converter::NodeCompression::Columns], nodes[Converter::NodeCompression::Search]);
}

TEST_F(OctreeWriter, WritesOctreesThatOnlyAddAttributes) {
  PoTree::MetaData metaData = plainMetaData();
  metaData.attributes = {Testing::makeAttribute("visibility", "uint8")};
  Converter::OctreeWriter writer(
      files_, folder_.path() / "out", metaData,
      {Converter::NodeCompression::Columns, PoTree::MetaDataUse::ExternalAttributes});
  writer.addNode(nodeNamed("r"), std::vector{std::byte{1}, std::byte{0}});
  writer.finish();
  EXPECT_EQ(WrittenOctree(folder_.path() / "out").data, std::string("\1\0", 2));
}

TEST_F(OctreeWriter, RefusesANodeThatWasAddedBefore) {
  Converter::OctreeWriter writer(files_, folder_.path() / "out", plainMetaData());
  const auto records = plainRecords(kThreePoints);
  writer.addNode(nodeNamed("r04"), records);
  EXPECT_THAT([&] { writer.addNode(nodeNamed("r04"), records); },
              ThrowsMessage<std::invalid_argument>(HasSubstr("node r04: was added before")));
  const std::array<Converter::NodeRecords, 2> twins{{{nodeNamed("r1"), records}, {nodeNamed("r1"), records}}};
  EXPECT_THROW(writer.addNodes(twins), std::invalid_argument);
  writer.finish();
  EXPECT_EQ(WrittenOctree(folder_.path() / "out").metaData["points"], 3) << "a refused call adds nothing";
}

TEST_F(OctreeWriter, RefusesANodeBelowTheDeepestLevel) {
  Converter::OctreeWriter writer(files_, folder_.path() / "out", plainMetaData());
  const auto records = plainRecords(kThreePoints);
  const Octree::OctreeNodeId deepest = nodeNamed("r" + std::string(21, '0'));
  EXPECT_NO_THROW(writer.addNode(deepest, records));
  EXPECT_THROW(writer.addNode(deepest.child(0), records), std::invalid_argument);
  EXPECT_THROW(writer.addNode(deepest.child(5), records), std::invalid_argument);
}

TEST_F(OctreeWriter, RefusesBytesThatAreNoWholeRecords) {
  Converter::OctreeWriter writer(files_, folder_.path() / "out", plainMetaData());
  auto records = plainRecords(kThreePoints);
  records.pop_back();
  EXPECT_THAT([&] { writer.addNode(nodeNamed("r"), records); },
              ThrowsMessage<std::invalid_argument>(HasSubstr("62 bytes are no whole records of 21")));
}

TEST_F(OctreeWriter, RefusesMorePointsInANodeThanViewersCount) {
  PoTree::MetaData metaData = plainMetaData();
  metaData.attributes = {Testing::makeAttribute("visibility", "uint8")};
  Converter::OctreeWriter writer(
      files_, folder_.path() / "out", metaData,
      {Converter::NodeCompression::Columns, PoTree::MetaDataUse::ExternalAttributes});
  constexpr std::size_t kTooMany = std::size_t{1} << 31U;
  const auto untouched = std::make_unique_for_overwrite<std::byte[]>(kTooMany);
  EXPECT_THAT(
      [&] {
        writer.addNode(nodeNamed("r"), {untouched.get(), kTooMany});
      },
      ThrowsMessage<std::invalid_argument>(HasSubstr("more than 2^31 - 1 points")));
}

TEST_F(OctreeWriter, CannotBeUsedAfterFinish) {
  Converter::OctreeWriter writer(files_, folder_.path() / "out", plainMetaData());
  writer.finish();
  EXPECT_THROW(writer.addNode(nodeNamed("r"), plainRecords(kThreePoints)), std::logic_error);
  EXPECT_THROW(writer.finish(), std::logic_error);
}

TEST_F(OctreeWriter, MakesMissingParentsOfItsFolder) {
  Converter::OctreeWriter(files_, folder_.path() / "a" / "b" / "c", plainMetaData()).finish();
  EXPECT_TRUE(fs::exists(folder_.path() / "a" / "b" / "c" / "metadata.json"));
}

TEST_F(OctreeWriter, NeverOverwritesAFile) {
  for (const char* name : {"metadata.json", "hierarchy.bin", "octree.bin"}) {
    const fs::path file = folder_.write(fs::path("of") / name / name, "mine");
    EXPECT_THAT([&] { Converter::OctreeWriter(files_, file.parent_path(), plainMetaData()); },
                ThrowsMessage<std::runtime_error>(HasSubstr(file.string())));
    EXPECT_EQ(readFile(file), "mine");
  }
}

TEST_F(OctreeWriter, NamesTheFolderThatCannotBeMade) {
  const fs::path file = folder_.write("file", "");
  EXPECT_THAT([&] { Converter::OctreeWriter(files_, file / "out", plainMetaData()); },
              ThrowsMessage<std::runtime_error>(HasSubstr(file.string())));
}

TEST_F(OctreeWriter, LeavesNoNodeDataBehindWhenItIsNotFinished) {
  {
    Converter::OctreeWriter writer(files_, folder_.path(), plainMetaData());
    writer.addNode(nodeNamed("r"), plainRecords(kThreePoints));
  }
  EXPECT_TRUE(fs::is_empty(folder_.path()));
}

TEST_F(OctreeWriter, NamesTheFileThatCannotBeWrittenAndIsNotUsedAgain) {
  Converter::OctreeWriter writer(files_, folder_.path(), plainMetaData());
  const std::vector<std::array<std::int32_t, 3>> many(5000);
  const Testing::FileSizeLimit limit(1000);
  EXPECT_THAT([&] { writer.addNode(nodeNamed("r"), plainRecords(many)); },
              ThrowsMessage<std::runtime_error>(HasSubstr((folder_.path() / "octree.bin").string())));
  EXPECT_THROW(writer.addNode(nodeNamed("r1"), plainRecords(kThreePoints)), std::logic_error);
  EXPECT_THROW(writer.finish(), std::logic_error);
}

TEST_F(OctreeWriter, LeavesNoMetaDataWhenWritingThemFails) {
  Converter::OctreeWriter writer(files_, folder_.path(), plainMetaData());
  const Testing::FileSizeLimit limit(100);
  EXPECT_THAT([&] { writer.finish(); },
              ThrowsMessage<std::runtime_error>(HasSubstr((folder_.path() / "metadata.json").string())));
  EXPECT_FALSE(fs::exists(folder_.path() / "metadata.json"));
}

}  // namespace
