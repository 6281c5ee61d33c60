#include "converter/Distribute.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>
#include <utility>

#include "converter/CellBuffers.h"
#include "converter/LittleEndian.h"
#include "converter/MortonCode.h"
#include "converter/ScanBlocks.h"
#include "converter/WorkerThreads.h"
#include "core/ByteReader.h"

namespace Converter {
namespace {

// Below this many steps no position code is ever misread.
constexpr std::uint32_t kAlwaysReadable = std::uint32_t{1} << 26U;

/// The bytes of a cell's buffer: what a quarter of the budget gives all threads, but no more than pays.
std::size_t bufferBytes(const WorkOrder& order, std::size_t numCells) {
  constexpr std::uint64_t kLeast = 4 << 10U;
  constexpr std::uint64_t kMost = 64 << 10U;
  const std::uint64_t share = order.memoryBudget / 4 / order.threads / numCells;
  return static_cast<std::size_t>(std::clamp(share, kLeast, kMost));
}

void shiftTimes(const ScanMapping& mapping, std::span<std::byte> records, std::size_t stride) {
  if (!mapping.gpsTimeOffset) return;
  for (std::size_t record = 0; record < records.size(); record += stride) {
    std::byte* const at = records.data() + record + *mapping.gpsTimeOffset;
    const double time = Core::loadLittleEndian<double>(at) + mapping.gpsTimeShift;
    std::memcpy(at, &time, sizeof time);
  }
}

bool anyUnreadable(const std::vector<StoredPosition>& positions) {
  return std::any_of(positions.begin(), positions.end(),
                     [](const StoredPosition& p) { return !positionCode(p[0], p[1], p[2]).readable(); });
}

}  // namespace

/// What the threads of a pass share.
struct Distribute::Shared {
  ScanBlocks blocks;
  std::vector<Quantiser> quantisers;
  std::atomic<bool> outsideGrid{false};
  std::mutex mutex;
  DistributeResult result;  // guarded by mutex
};

/// One thread's part of a pass.
class Distribute::Worker {
 public:
  Worker(const Distribute& pass, Shared& shared, std::size_t cellBytes)
      : pass_(pass),
        shared_(shared),
        buffers_(pass.store_, pass.firstCell_, pass.cells_.size(), pass.records_.stride, cellBytes),
        statistics_(pass.records_),
        bounds_(pass.scans_.size()),
        looksForUnreadable_(std::any_of(pass.grid_.steps().begin(), pass.grid_.steps().end(),
                                        [](std::uint32_t steps) { return steps >= kAlwaysReadable; })) {}

  void run(Progress& progress, const std::stop_token& stopToken) {
    while (const auto next = shared_.blocks.next()) {
      if (stopToken.stop_requested()) return;
      progress.advance(read(*next));
    }
    if (!shared_.outsideGrid) buffers_.flush();
    join();
  }

 private:
  std::size_t read(const ScanBlock& at) {
    const ScanReader& scan = *pass_.scans_[at.scan];
    const ScanMapping& mapping = pass_.records_.mappings[at.scan];
    const std::size_t stride = pass_.records_.stride;
    block_.assign(scan.mostPointsOf(at.block) * stride, std::byte{0});
    const std::size_t count =
        scan.readBlock(at.block, {block_.data(), stride, mapping.offsets}, coordinates_);
    bounds_[at.scan].add(coordinates_, count);
    if (shared_.outsideGrid) return count;
    if (!shared_.quantisers[at.scan].run(coordinates_, count, positions_)) {
      shared_.outsideGrid = true;
      return count;
    }
    numPoints_ += count;
    shiftTimes(mapping, std::span(block_).first(count * stride), stride);
    const RecordView points{block_.data(), stride, count};
    statistics_.add(points);
    if (looksForUnreadable_) unreadable_ = unreadable_ || anyUnreadable(positions_);
    distribute(count);
    return count;
  }

  void distribute(std::size_t count) {
    std::byte* record = block_.data();
    for (std::size_t p = 0; p < count; ++p, record += pass_.records_.stride) {
      std::memcpy(record, positions_[p].data(), CloudRecords::kPositionSize);
      buffers_.add(pass_.cells_.cellOf(pass_.grid_.cubePoint(positions_[p])), record);
    }
  }

  void join() {
    const std::lock_guard lock(shared_.mutex);
    DistributeResult& result = shared_.result;
    for (std::size_t i = 0; i < bounds_.size(); ++i) result.bounds[i].add(bounds_[i]);
    result.numPoints += numPoints_;
    result.statistics.add(statistics_);
    result.unreadablePosition = result.unreadablePosition || unreadable_;
  }

  const Distribute& pass_;
  Shared& shared_;
  CellBuffers buffers_;
  AttributeStatistics statistics_;
  std::vector<ScanBounds> bounds_;
  bool looksForUnreadable_;
  bool unreadable_ = false;
  std::uint64_t numPoints_ = 0;
  // of the block at hand
  std::vector<std::byte> block_;
  BlockCoordinates coordinates_;
  std::vector<StoredPosition> positions_;
};

DistributeResult Distribute::run(const WorkOrder& order, Progress& progress,
                                 std::stop_token stopToken) const {
  Shared shared{
      .blocks = ScanBlocks(scans_, order.shuffleSeed),
      .quantisers = {},
      .mutex = {},
      .result = {std::vector<ScanBounds>(scans_.size()), false, 0, AttributeStatistics(records_), false}};
  for (const auto& scan : scans_) shared.quantisers.emplace_back(scan->info().grid, grid_);
  const std::size_t cellBytes = bufferBytes(order, cells_.size());
  runOnThreads(order.threads, std::move(stopToken),
               [&](const std::stop_token& stop) { Worker(*this, shared, cellBytes).run(progress, stop); });
  shared.result.outsideGrid = shared.outsideGrid;
  return std::move(shared.result);
}

std::vector<ScanBounds> measureBounds(Scans scans, const WorkOrder& order, Progress& progress,
                                      std::stop_token stopToken) {
  ScanBlocks blocks(scans, order.shuffleSeed);
  std::vector<ScanBounds> bounds(scans.size());
  std::mutex mutex;  // guards bounds
  runOnThreads(order.threads, std::move(stopToken), [&](const std::stop_token& stop) {
    std::vector<ScanBounds> mine(scans.size());
    BlockCoordinates coordinates;
    while (const auto next = blocks.next()) {
      if (stop.stop_requested()) return;
      const ScanReader& scan = *scans[next->scan];
      const std::vector<std::size_t> unwanted(scan.info().attributes.size(), RecordTarget::kUnwanted);
      const std::size_t count = scan.readBlock(next->block, {nullptr, 0, unwanted}, coordinates);
      mine[next->scan].add(coordinates, count);
      progress.advance(count);
    }
    const std::lock_guard lock(mutex);
    for (std::size_t i = 0; i < mine.size(); ++i) bounds[i].add(mine[i]);
  });
  return bounds;
}

}  // namespace Converter
