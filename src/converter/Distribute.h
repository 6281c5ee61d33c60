#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <stop_token>
#include <vector>

#include "converter/AttributeStatistics.h"
#include "converter/CellTree.h"
#include "converter/CloudRecords.h"
#include "converter/OutputGrid.h"
#include "converter/Progress.h"
#include "converter/Quantiser.h"
#include "converter/ScanReader.h"
#include "converter/TempStore.h"
#include "converter/WorkOrder.h"

namespace Converter {

using Scans = std::span<const std::unique_ptr<ScanReader>>;

/// What reading all points has shown.
struct DistributeResult {
  std::vector<ScanBounds> bounds;  ///< one a scan
  /// Whether a point lies outside the grid. Then bounds are all that is of use.
  bool outsideGrid = false;
  std::uint64_t numPoints = 0;
  AttributeStatistics statistics;
  /// Whether readers of brotli nodes would lose a position's high bits (PositionCode::readable).
  bool unreadablePosition = false;
};

/// The pass over all points: brings them onto the grid, gathers their statistics and appends their records to
/// the cells in which they lie, cell i of the tree to cell firstCell + i of the store.
class Distribute {
 public:
  /// Views all that it is given.
  Distribute(Scans scans, const CloudRecords& records, const OutputGrid& grid, const CellTree& cells,
             TempStore& store, std::size_t firstCell)
      : scans_(scans), records_(records), grid_(grid), cells_(cells), store_(store), firstCell_(firstCell) {}

  /// When a point outside the grid is met, the rest of the pass measures bounds alone.
  /// @throws ConversionError, ConversionCancelled.
  [[nodiscard]] DistributeResult run(const WorkOrder& order, Progress& progress,
                                     std::stop_token stopToken) const;

 private:
  class Worker;
  struct Shared;

  Scans scans_;
  const CloudRecords& records_;
  const OutputGrid& grid_;
  const CellTree& cells_;
  TempStore& store_;
  std::size_t firstCell_;
};

/// The bounds of all scans' points, one a scan; reads coordinates alone.
/// @throws ConversionError, ConversionCancelled.
[[nodiscard]] std::vector<ScanBounds> measureBounds(Scans scans, const WorkOrder& order, Progress& progress,
                                                    std::stop_token stopToken);

}  // namespace Converter
