#include "converter/Conversion.h"

#include <algorithm>
#include <cmath>
#include <thread>
#include <utility>

#include "converter/CellSplitter.h"
#include "converter/ConversionError.h"
#include "converter/Distribute.h"
#include "converter/FileRole.h"
#include "converter/IndexStage.h"
#include "converter/NodeEncoder.h"
#include "converter/OctreeWriter.h"
#include "converter/OutputRecords.h"
#include "converter/Survey.h"
#include "converter/WorkerThreads.h"
#include "core/Memory.h"

namespace Converter {
namespace {

constexpr std::uint64_t kLeastBudget = std::uint64_t{512} << 20U;
constexpr std::uint64_t kMostDefaultBudget = std::uint64_t{4} << 30U;

WorkOrder workOrder(const ConversionSettings& settings) {
  WorkOrder order;
  order.threads =
      settings.threads != 0 ? settings.threads : std::max(1U, std::thread::hardware_concurrency());
  order.memoryBudget = settings.memoryBudget != 0
                           ? std::max(settings.memoryBudget, kLeastBudget)
                           : std::clamp(Core::usableMemory() / 2, kLeastBudget, kMostDefaultBudget);
  order.shuffleSeed = settings.shuffleSeed;
  return order;
}

/// Whether two boxes differ by more than the rounding of their corners.
bool differ(const Math::NBoundingBox<double, 3>& a, const Math::NBoundingBox<double, 3>& b) {
  for (int axis = 0; axis < 3; ++axis) {
    for (const auto& [x, y] :
         {std::pair(a.minimum[axis], b.minimum[axis]), std::pair(a.maximum[axis], b.maximum[axis])}) {
      if (std::abs(x - y) > 1e-9 * std::max(std::abs(x), std::abs(y))) return true;
    }
  }
  return false;
}

/// The stages of one conversion, one after the other.
class Conversion {
 public:
  Conversion(Scans scans, const ConversionSettings& settings, const ConversionFolders& folders,
             Core::FileSystem& files, Progress& progress, std::stop_token stopToken)
      : scans_(scans),
        settings_(settings),
        folders_(folders),
        files_(files),
        progress_(progress),
        stopToken_(std::move(stopToken)),
        order_(workOrder(settings)) {
    for (const auto& scan : scans) {
      infos_.push_back(&scan->info());
      numPoints_ += scan->info().numPoints;
    }
  }

  ConversionReport run() {
    if (numPoints_ == 0) throw ConversionError(Result::InputEmpty, "the input holds no points");
    const CloudRecords records = joinScans(infos_, settings_.strictCrs, report_.remarks);
    const Sample sample(scans_, stopToken_);
    if (sample.hasOutliers()) {
      report_.remarks.emplace_back(
          "A few points lie far away from all others: stray points, or inputs in different coordinate "
          "systems.");
    }
    const auto stated = statedBox(scans_);
    if (stated && sample.agreesWith(*stated)) {
      if (convert(records, sample, *stated)) return std::move(report_);
    } else {
      progress_.begin(Stage::Survey, numPoints_);
      bounds_ = measureBounds(scans_, order_, progress_, stopToken_);
      if (stated && holdsAll(*stated) && convert(records, sample, *stated)) return std::move(report_);
    }
    const auto tight = tightBox(scans_, bounds_);
    if (allBoxesAreStated() && (!stated || differ(*stated, tight))) {
      report_.remarks.emplace_back(
          "The boxes that the inputs state do not fit their points, which were measured.");
    }
    if (!convert(records, sample, tight)) {
      throw ConversionError(Result::InputCannotRead, "the inputs changed while they were read");
    }
    return std::move(report_);
  }

 private:
  [[nodiscard]] OutputGrid gridFor(const Math::NBoundingBox<double, 3>& box,
                                   std::vector<std::string>& remarks) const {
    return chooseGrid(infos_, box, settings_.scale, remarks);
  }

  [[nodiscard]] bool allBoxesAreStated() const {
    return std::all_of(infos_.begin(), infos_.end(),
                       [](const ScanInfo* info) { return info->statedBox != ScanInfo().statedBox; });
  }

  /// Whether a stated box does, by the bounds that were measured: the same rule as that of convert().
  [[nodiscard]] bool holdsAll(const Math::NBoundingBox<double, 3>& stated) const {
    if (!isCloseTo(stated, tightBox(scans_, bounds_))) return false;
    std::vector<std::string> remarks;
    const OutputGrid grid = gridFor(stated, remarks);
    for (std::size_t i = 0; i < scans_.size(); ++i) {
      if (!bounds_[i].fits(infos_[i]->grid, grid)) return false;
    }
    return true;
  }

  /// Converts with the cube of @p box. False when points lie outside of it, or it is much larger than theirs;
  /// bounds_ are known then.
  bool convert(const CloudRecords& records, const Sample& sample, const Math::NBoundingBox<double, 3>& box) {
    std::vector<std::string> remarks;
    const OutputGrid grid = gridFor(box, remarks);
    TempStore store(files_, folders_.temporary / "points.tmp");
    const CellTree cells = sample.cells(grid, records.stride, settings_.tree.cellBytes);
    const std::size_t firstCell = store.addCells(cells.size());

    progress_.begin(Stage::Distribute, numPoints_);
    DistributeResult points =
        Distribute(scans_, records, grid, cells, store, firstCell).run(order_, progress_, stopToken_);
    bounds_ = std::move(points.bounds);
    for (const auto& scan : scans_) scan->checkUnchanged();
    if (points.outsideGrid) return false;
    if (points.numPoints == 0) throw ConversionError(Result::InputEmpty, "the input holds no points");
    if (!isCloseTo(box, tightBox(scans_, bounds_))) return false;

    report_.remarks.insert(report_.remarks.end(), remarks.begin(), remarks.end());
    write(records, grid, chunksOf(cells, firstCell, records.stride, grid, store), points, store);
    return true;
  }

  [[nodiscard]] std::vector<Chunk> chunksOf(const CellTree& cells, std::size_t firstCell, std::size_t stride,
                                            const OutputGrid& grid, TempStore& store) const {
    std::vector<StoredCell> stored;
    for (std::size_t i = 0; i < cells.size(); ++i) stored.push_back({cells.id(i), firstCell + i, false});
    stored = splitLargeCells(stored, settings_.tree.chunkBytes, stride, grid, store, stopToken_);
    std::vector<FilledCell> filled;
    filled.reserve(stored.size());
    for (const StoredCell& cell : stored)
      filled.push_back({cell.id, store.bytesOf(cell.cell), cell.onePlace});
    std::vector<Chunk> chunks = cutIntoChunks(filled, settings_.tree.chunkBytes);
    for (Chunk& chunk : chunks) {
      for (std::size_t& cell : chunk.cells) cell = stored[cell].cell;
    }
    return chunks;
  }

  [[nodiscard]] PoTree::Encoding encodingFor(const DistributeResult& points) {
    if (settings_.encoding == PoTree::Encoding::Uncompressed || !points.unreadablePosition)
      return settings_.encoding;
    report_.remarks.emplace_back(
        "The cloud is stored uncompressed: readers of compressed nodes would lose the high bits of some "
        "positions.");
    return PoTree::Encoding::Uncompressed;
  }

  void write(const CloudRecords& records, const OutputGrid& grid, std::vector<Chunk> chunks,
             DistributeResult& points, TempStore& store) {
    const OutputRecords output(records, points.statistics.facts(), report_.remarks);
    PoTree::MetaData metaData;
    metaData.name = settings_.name;
    metaData.projection = records.projection;
    metaData.offset = grid.offset();
    metaData.scale = grid.scale();
    metaData.spacing = grid.edge() / 128;
    for (int axis = 0; axis < 3; ++axis) {
      metaData.boundingBox.minimum[axis] = grid.offset()[static_cast<std::size_t>(axis)];
      metaData.boundingBox.maximum[axis] = metaData.boundingBox.minimum[axis] + grid.edge();
    }
    metaData.encoding = encodingFor(points);
    metaData.attributes = output.attributes();
    const auto box = tightBox(scans_, bounds_);
    metaData.attributes.front().min.assign(box.minimum.coordinates, box.minimum.coordinates + 3);
    metaData.attributes.front().max.assign(box.maximum.coordinates, box.maximum.coordinates + 3);

    const auto encoder =
        makeNodeEncoder(metaData.encoding, RecordLayout(metaData.attributes), settings_.compression);
    const OctreeWriterOptions writing{settings_.compression, PoTree::MetaDataUse::Main};
    OctreeWriter writer =
        withRole(FileRole::Output, [&] { return OctreeWriter(files_, folders_.output, metaData, writing); });
    const std::size_t leafPoints =
        std::min<std::uint64_t>(settings_.tree.leafPoints, settings_.tree.chunkBytes / records.stride);
    const IndexPlan plan{records,
                         grid,
                         output,
                         *encoder,
                         std::move(chunks),
                         leafPoints,
                         settings_.sampling,
                         settings_.dropDuplicates,
                         IndexShares::of(metaData.encoding)};
    progress_.begin(Stage::Index, points.numPoints * plan.shares.sum());
    const IndexResult result =
        indexChunks(plan, store, writer, points.statistics, order_, progress_, stopToken_);
    report_.numPoints = result.numPoints;
    report_.duplicates = result.duplicates;

    progress_.begin(Stage::Write, 1);
    for (std::size_t i = 0; i < records.attributes.size(); ++i) {
      if (points.statistics.facts()[i].histogram.empty()) continue;
      for (PoTree::Attribute& attribute : metaData.attributes) {
        if (attribute.name == records.attributes[i].name) {
          attribute.histogram = points.statistics.facts()[i].histogram;
        }
      }
    }
    throwIfStopped(stopToken_);
    withRole(FileRole::Output, [&] { writer.finish(metaData); });
    progress_.advance(1);
  }

  Scans scans_;
  const ConversionSettings& settings_;
  const ConversionFolders& folders_;
  Core::FileSystem& files_;
  Progress& progress_;
  std::stop_token stopToken_;
  WorkOrder order_;
  std::vector<const ScanInfo*> infos_;
  std::uint64_t numPoints_ = 0;
  std::vector<ScanBounds> bounds_;  // once they were measured
  ConversionReport report_;
};

}  // namespace

ConversionReport convertScans(Scans scans, const ConversionSettings& settings,
                              const ConversionFolders& folders, Core::FileSystem& files, Progress& progress,
                              std::stop_token stopToken) {
  return Conversion(scans, settings, folders, files, progress, std::move(stopToken)).run();
}

}  // namespace Converter
