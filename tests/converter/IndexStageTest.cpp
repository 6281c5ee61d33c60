#include <gmock/gmock.h>

#include <cmath>

#include "converter/CellBuffers.h"
#include "converter/ChunkWork.h"
#include "converter/ConversionError.h"
#include "converter/ConversionRun.h"
#include "converter/IndexStage.h"
#include "converter/TreePoints.h"
#include "support/SampleData.h"

namespace {

using Converter::IndexResult;
using Converter::StoredPosition;
using Converter::WorkOrder;
using Testing::OctreeFiles;

constexpr unsigned kEdgeBits = 24;
constexpr std::uint64_t kChunkBytes = 200 * Testing::kNumberedStride;
constexpr Converter::IndexShares kShares{
    .load = 1, .order = 1, .gather = 1, .select = 1, .arrange = 1, .encode = 5};
constexpr std::uint64_t kMuchMemory = std::uint64_t{1} << 30U;

/// One cloud of numbered points, from a filled store to files.
class Indexing {
 public:
  explicit Indexing(const std::vector<StoredPosition>& places) {
    records_.attributes = {Testing::scanAttribute<std::uint32_t>("number")};
    records_.offsets = {12};
    records_.stride = Testing::kNumberedStride;
    output_ = std::make_unique<Converter::OutputRecords>(
        records_, Converter::AttributeStatistics(records_).facts(), remarks_);
    metaData_.scale = {1, 1, 1};
    metaData_.spacing = std::exp2(kEdgeBits - 7);
    metaData_.boundingBox = {{{0, 0, 0}}, Math::Point<double, 3>::filled(std::exp2(kEdgeBits))};
    metaData_.encoding = PoTree::Encoding::Uncompressed;
    metaData_.attributes = output_->attributes();
    encoder_ = makeNodeEncoder(metaData_.encoding, Converter::RecordLayout(metaData_.attributes));
    fillStore(places);
  }

  IndexResult run(const WorkOrder& order, const std::stop_token& stopToken = {}) {
    const Converter::IndexPlan plan{
        records_, grid_, *output_, *encoder_, chunks_, 20, Converter::Sampling::Poisson, false, kShares};
    Converter::AttributeStatistics statistics(records_);
    Converter::OctreeWriter writer(disk_, folder_.path() / "cloud", metaData_);
    progress_.begin(Converter::Stage::Index, 0);
    const IndexResult result = indexChunks(plan, store_, writer, statistics, order, progress_, stopToken);
    writer.finish();
    return result;
  }

  [[nodiscard]] OctreeFiles files() const {
    const auto cloud = folder_.path() / "cloud";
    return {Testing::readFile(cloud / "metadata.json"), Testing::readFile(cloud / "hierarchy.bin"),
            Testing::readFile(cloud / "octree.bin")};
  }
  [[nodiscard]] const std::vector<Converter::Chunk>& chunks() const { return chunks_; }
  [[nodiscard]] const Converter::TempStore& store() const { return store_; }
  [[nodiscard]] std::uint64_t done() const { return progress_.stages().back().done; }

 private:
  void fillStore(const std::vector<StoredPosition>& places) {
    std::vector<Converter::CubePoint> sample;
    for (const StoredPosition& p : places) sample.push_back(grid_.cubePoint(p));
    const Converter::CellTree cells(sample, 100);
    store_.addCells(cells.size());
    Converter::CellBuffers buffers(store_, 0, cells.size(), records_.stride, 256);
    const Converter::RawBytes records = Testing::numberedRecords(places);
    for (std::size_t i = 0; i < places.size(); ++i)
      buffers.add(cells.cellOf(sample[i]), records.data() + i * records_.stride);
    buffers.flush();
    std::vector<Converter::FilledCell> filled;
    for (std::size_t i = 0; i < cells.size(); ++i) filled.push_back({cells.id(i), store_.bytesOf(i)});
    chunks_ = cutIntoChunks(filled, kChunkBytes);
  }

  const Converter::OutputGrid grid_{{1, 1, 1}, {}, {1U << kEdgeBits, 1U << kEdgeBits, 1U << kEdgeBits}};
  Testing::TempFolder folder_;
  Core::DiskFileSystem disk_{Core::DiskFileSystem::Sync::No};
  Converter::TempStore store_{disk_, folder_.path() / "points.tmp"};
  Testing::ProgressLog progress_;
  Converter::CloudRecords records_;
  std::vector<std::string> remarks_;
  std::unique_ptr<Converter::OutputRecords> output_;
  PoTree::MetaData metaData_;
  std::unique_ptr<Converter::NodeEncoder> encoder_;
  std::vector<Converter::Chunk> chunks_;
};

TEST(IndexStage, WritesTheSameFilesWithHowLittleMemoryEver) {
  const auto places = Testing::treeClouds(kEdgeBits)[0];
  Indexing plenty(places);
  plenty.run({.threads = 1, .memoryBudget = kMuchMemory, .shuffleSeed = {}});
  EXPECT_GT(plenty.chunks().size(), 20);
  for (const std::uint64_t budget : {std::uint64_t{0}, 3 * kChunkBytes, 20 * kChunkBytes}) {
    Indexing indexing(places);
    indexing.run({.threads = 4, .memoryBudget = budget, .shuffleSeed = 1});
    EXPECT_EQ(indexing.files(), plenty.files()) << budget;
  }
}

TEST(IndexStage, WritesAllPointsAndEmptiesTheStore) {
  for (const auto& places : Testing::treeClouds(kEdgeBits)) {
    Indexing indexing(places);
    const IndexResult result = indexing.run({.threads = 3, .memoryBudget = kMuchMemory, .shuffleSeed = {}});
    EXPECT_EQ(result.numPoints, places.size());
    EXPECT_EQ(result.duplicates, 0);
    EXPECT_EQ(indexing.done(), 10 * places.size()) << "of the progress";
    for (const Converter::Chunk& chunk : indexing.chunks()) {
      for (const std::size_t cell : chunk.cells) EXPECT_EQ(indexing.store().bytesOf(cell), 0);
    }
  }
}

TEST(IndexStage, EndsWhenAStopIsRequestedBefore) {
  std::stop_source stop;
  stop.request_stop();
  Indexing indexing(Testing::treeClouds(kEdgeBits)[0]);
  EXPECT_THROW(indexing.run({.threads = 3, .memoryBudget = kMuchMemory, .shuffleSeed = {}}, stop.get_token()),
               Converter::ConversionCancelled);
}

TEST(IndexStage, OfNoChunksWritesNothing) {
  Indexing indexing({});
  EXPECT_EQ(indexing.run({.threads = 2, .memoryBudget = kMuchMemory, .shuffleSeed = {}}).numPoints, 0);
}

}  // namespace
