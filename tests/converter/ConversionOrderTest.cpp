// That an octree's bytes depend on scans and settings alone, and how octree.bin is ordered.

#include <gmock/gmock.h>

#include <algorithm>

#include "converter/ConversionRun.h"

namespace {

using Testing::clusteredScan;
using Testing::ConversionRun;
using Testing::filesOf;
using Testing::OctreeFiles;
using Testing::ScanContent;
using Testing::scansOf;
using Testing::smallSettings;
using Testing::WrittenOctree;

class ConversionOrder : public testing::Test {
 protected:
  const std::vector<ScanContent> contents_{clusteredScan(4'000, 21), clusteredScan(3'000, 22)};
  const OctreeFiles expected_ = filesOf(contents_);
};

TEST_F(ConversionOrder, BytesAreTheSameForAnyNumberOfThreads) {
  for (const unsigned threads : {1U, 2U, 7U}) {
    auto settings = smallSettings();
    settings.threads = threads;
    EXPECT_EQ(filesOf(contents_, settings), expected_) << threads;
  }
}

TEST_F(ConversionOrder, BytesAreTheSameForAnyMemoryBudget) {
  for (const std::uint64_t mebibytes : {512U, 1024U, 4096U}) {
    auto settings = smallSettings();
    settings.memoryBudget = mebibytes << 20U;
    EXPECT_EQ(filesOf(contents_, settings), expected_) << mebibytes;
  }
}

TEST_F(ConversionOrder, BytesAreTheSameInWhateverOrderWorkIsDone) {
  for (std::uint64_t seed = 0; seed < 8; ++seed) {
    auto settings = smallSettings();
    settings.shuffleSeed = seed;
    settings.threads = seed % 2 == 0 ? 1 : 3;
    EXPECT_EQ(filesOf(contents_, settings), expected_) << seed;
  }
}

TEST_F(ConversionOrder, BytesAreTheSameForAnyCutOfTheTemporaryFile) {
  for (const std::uint64_t cellBytes : {100U, 1000U, 1'000'000U}) {
    auto settings = smallSettings();
    settings.tree.cellBytes = cellBytes;
    EXPECT_EQ(filesOf(contents_, settings), expected_) << cellBytes;
  }
}

TEST_F(ConversionOrder, BytesAreTheSameWhereTemporaryFilesLieBesideTheOutput) {
  ConversionRun run(ConversionRun::Folders::Same);
  run.convert(scansOf(contents_));
  EXPECT_EQ(run.files(), expected_);
  EXPECT_FALSE(std::filesystem::exists(run.output() / "points.tmp"));
}

TEST_F(ConversionOrder, BytesAreTheSameForAnyBlocksOfTheScans) {
  auto contents = contents_;
  contents[0].pointsPerBlock = 77;
  contents[1].pointsPerBlock = 100'000;
  EXPECT_EQ(filesOf(contents), expected_);
}

TEST_F(ConversionOrder, BrotliBytesAreTheSameForAnyNumberOfThreadsAndOrder) {
  auto settings = smallSettings();
  settings.encoding = PoTree::Encoding::Brotli;
  const OctreeFiles expected = filesOf(contents_, settings);
  EXPECT_NE(expected.data, expected_.data);
  settings.threads = 5;
  settings.shuffleSeed = 3;
  EXPECT_EQ(filesOf(contents_, settings), expected);
}

TEST_F(ConversionOrder, DroppingDuplicatesGivesTheSameBytesInAnyOrder) {
  std::vector<ScanContent> twice{contents_[0], contents_[0], contents_[1]};
  auto settings = smallSettings();
  settings.dropDuplicates = true;
  const OctreeFiles expected = filesOf(twice, settings);
  settings.shuffleSeed = 9;
  settings.threads = 1;
  EXPECT_EQ(filesOf(twice, settings), expected);
}

/// The points of each node, sorted.
std::map<std::string, std::vector<std::string>> nodesOf(const std::vector<ScanContent>& contents,
                                                        std::uint64_t chunkBytes,
                                                        Converter::Sampling sampling) {
  auto settings = smallSettings();
  settings.tree.chunkBytes = chunkBytes;
  settings.sampling = sampling;
  ConversionRun run;
  run.convert(scansOf(contents), settings);
  const WrittenOctree octree = run.octree();
  std::map<std::string, std::vector<std::string>> nodes;
  for (const auto& [name, record] : octree.nodes) {
    auto& points = nodes[name] = octree.pointsOf(name);
    std::sort(points.begin(), points.end());
  }
  return nodes;
}

TEST_F(ConversionOrder, NodesHoldTheSamePointsForAnyCutIntoChunks) {
  for (const auto sampling : {Converter::Sampling::Poisson, Converter::Sampling::Random}) {
    const auto uncut = nodesOf(contents_, 64 << 20U, sampling);
    EXPECT_GT(uncut.size(), 100);
    for (const std::uint64_t chunkBytes : {1700U, 5000U, 20'000U, 100'000U}) {
      EXPECT_EQ(nodesOf(contents_, chunkBytes, sampling), uncut) << chunkBytes;
    }
  }
}

/// The nodes with points in the order of the file.
std::vector<std::string> nodesInFile(const WrittenOctree& octree) {
  std::vector<std::pair<std::uint64_t, std::string>> places;
  for (const auto& [name, record] : octree.nodes) {
    if (record.numPoints > 0) places.emplace_back(record.byteOffset, name);
  }
  std::sort(places.begin(), places.end());
  std::vector<std::string> names;
  for (const auto& [offset, name] : places) names.push_back(name);
  return names;
}

TEST_F(ConversionOrder, NodesFollowEachOtherInTheFileWithoutGaps) {
  ConversionRun run;
  run.convert(scansOf(contents_));
  const WrittenOctree octree = run.octree();
  std::uint64_t end = 0;
  for (const std::string& name : nodesInFile(octree)) {
    EXPECT_EQ(octree.nodes.at(name).byteOffset, end) << name;
    end += octree.nodes.at(name).byteSize;
  }
  EXPECT_EQ(end, octree.data.size());
}

TEST_F(ConversionOrder, AChunkAloneIsWrittenBreadthFirst) {
  auto settings = smallSettings();
  settings.tree.chunkBytes = 64 << 20U;
  ConversionRun run;
  run.convert(scansOf(contents_), settings);
  const auto names = nodesInFile(run.octree());
  auto expected = names;
  std::sort(expected.begin(), expected.end());
  std::stable_sort(expected.begin(), expected.end(),
                   [](const std::string& a, const std::string& b) { return a.size() < b.size(); });
  EXPECT_EQ(names, expected);
}

TEST_F(ConversionOrder, ChunksStandAlongTheCurveAndTheNodesAboveThemLastTheRootAtTheEnd) {
  ConversionRun run;
  run.convert(scansOf(contents_));
  const auto names = nodesInFile(run.octree());
  // The nodes above the chunks are those at the end whose levels only fall.
  auto upper = names.end();
  while (upper != names.begin() && (upper == names.end() || (upper - 1)->size() >= upper->size())) --upper;
  EXPECT_EQ(names.back(), "r");
  EXPECT_GT(names.end() - upper, 5);
  std::vector<std::string> roots;  // of chunks: nodes that no node before them leads to
  for (auto name = names.begin(); name != upper; ++name) {
    if (roots.empty() || name->rfind(roots.back(), 0) != 0) roots.push_back(*name);
  }
  EXPECT_GT(roots.size(), 20);
  EXPECT_TRUE(std::is_sorted(roots.begin(), roots.end()));
}

}  // namespace
