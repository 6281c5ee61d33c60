// Scan files that many threads read at once: compressed points, E57 scans, members of projects.

#include <gmock/gmock.h>

#include <array>
#include <thread>

#include "converter/Converter.h"
#include "converter/LasScanReader.h"
#include "support/E57File.h"
#include "support/LazFile.h"
#include "support/MemoryFileSystem.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

using Converter::ScanReader;

/// All attributes of a block.
std::vector<std::byte> attributesOf(const ScanReader& scan, std::uint64_t block) {
  std::vector<std::size_t> offsets;
  std::size_t stride = 0;
  for (const Math::Attribute& attribute : scan.info().attributes) {
    offsets.push_back(stride);
    stride += attribute.size();
  }
  std::vector<std::byte> records(scan.mostPointsOf(block) * stride);
  Converter::BlockCoordinates coordinates;
  EXPECT_EQ(scan.readBlock(block, {records.data(), stride, offsets}, coordinates), scan.mostPointsOf(block));
  return records;
}

/// Reads all blocks of a LAZ file on each of six threads, and expects the attributes of the LAS file.
void expectSamePointsOnEachThread(const LazFile& file) {
  MemoryFileSystem files;
  files.put("a.laz", file.bytes());
  files.put("a.las", file.lasBytes());
  const auto plain = Converter::openLas(files, "a.las", {});
  const auto compressed = Converter::openLas(files, "a.laz", {});
  ASSERT_EQ(compressed->numBlocks(), plain->numBlocks());
  std::array<std::size_t, 6> same{};
  {
    std::vector<std::jthread> threads;
    for (std::size_t& blocks : same) {
      threads.emplace_back([&] {
        for (std::uint64_t i = 0; i < plain->numBlocks(); ++i) {
          blocks += attributesOf(*compressed, i) == attributesOf(*plain, i) ? 1 : 0;
        }
      });
    }
  }
  EXPECT_THAT(same, testing::Each(plain->numBlocks()));
}

TEST(ScanThreads, ChunksOfPointwiseCompressedPointsAreDecodedAtOnce) {
  expectSamePointsOnEachThread(LazFile(3, variedRecords(3, 36, 2'000)).chunkSize(300));
}

TEST(ScanThreads, LayeredChunksAreDecodedAtOnce) {
  expectSamePointsOnEachThread(LazFile(6, layeredRecords(2, 2'000, 3)).chunkSize(300));
}

TEST(ScanThreads, AChunkOfSeveralBlocksIsSharedByThreadsThatWantAllOfThem) {
  constexpr std::size_t kCount = ScanReader::kMostPointsPerBlock + 5;
  expectSamePointsOnEachThread(LazFile(0, variedRecords(0, 20, kCount)).chunkSize(kCount));
}

/// A folder that is converted.
class ConvertOnThreads : public testing::Test {
 protected:
  void write(const std::filesystem::path& name, const std::string& bytes) const {
    folder_.write("in" / name, bytes);
  }

  [[nodiscard]] std::string octreeFor(unsigned threads) {
    Converter::ConverterOptions options;
    options.conversion.name = "cloud";
    options.conversion.threads = threads;
    options.conversion.tree = {.leafPoints = 50, .chunkBytes = 8 << 10U, .cellBytes = 2 << 10U};
    options.applyPose = true;
    options.overwrite = true;
    options.syncToDisk = false;
    Converter::Converter job(folder_.path() / "in", folder_.path() / "out", options);
    EXPECT_EQ(job.run(), Core::JobState::Completed) << job.failedReason();
    numPoints_ = job.report().numPoints;
    std::string bytes;
    for (const char* const name : {"metadata.json", "hierarchy.bin", "octree.bin"}) {
      bytes += readFile(folder_.path() / "out" / name);
    }
    return bytes;
  }

  void expectTheOctreeOfOneThread(std::uint64_t numPoints) {
    const std::string expected = octreeFor(1);
    EXPECT_EQ(numPoints_, numPoints);
    EXPECT_TRUE(octreeFor(6) == expected);
  }

 private:
  TempFolder folder_;
  std::uint64_t numPoints_ = 0;
};

TEST_F(ConvertOnThreads, SeveralLazFiles) {
  for (const char* const name : {"a.laz", "b.laz", "c.laz"}) {
    write(name, LazFile(1, variedRecords(1, 28, 1'500)).chunkSize(400).bytes());
  }
  expectTheOctreeOfOneThread(4'500);
}

E57Scan lineOf(std::int64_t points, std::int64_t y) {
  std::vector<std::int64_t> x;
  for (std::int64_t i = 0; i < points; ++i) x.push_back(i);
  const auto count = static_cast<std::size_t>(points);
  E57Scan scan;
  scan.fields = {integerField("cartesianX", 0, 100'000, x),
                 integerField("cartesianY", y, y, std::vector<std::int64_t>(count, y)),
                 integerField("cartesianZ", 0, 1, std::vector<std::int64_t>(count, 1))};
  scan.elements = e57Pose("0.6 0 0 0.8", "1 2 3");
  return scan;
}

TEST_F(ConvertOnThreads, AnE57FileOfSeveralScansAndBlocks) {
  constexpr std::int64_t kTwoBlocks = ScanReader::kMostPointsPerBlock + 5;
  write("a.e57", E57File().scan(lineOf(500, 1)).scan(lineOf(kTwoBlocks, 2)).scan(lineOf(700, 3)).bytes());
  expectTheOctreeOfOneThread(kTwoBlocks + 1'200);
}

TEST_F(ConvertOnThreads, AProjectOfLasLazAndE57Files) {
  std::string positions;
  for (const char* const scan : {"a.rxp", "b.rxp", "c.rxp"}) {
    positions +=
        "<scanposition><sop><matrix>0 -1 0 10 1 0 0 20 0 0 1 30 0 0 0 "
        "1</matrix></sop><singlescans><scan><file>" +
        std::string(scan) + "</file></scan></singlescans></scanposition>";
  }
  write("p.rsp", "<project><scanpositions>" + positions + "</scanpositions></project>");
  write("a.las", LasFile().points(1'000).bytes());
  write("b.laz", LazFile(1, variedRecords(1, 28, 1'000)).chunkSize(400).bytes());
  write("c.e57", E57File().scan(lineOf(1'000, 1)).bytes());
  expectTheOctreeOfOneThread(3'000);
}

}  // namespace
}  // namespace Testing
