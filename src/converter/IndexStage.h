#pragma once

#include <cstddef>
#include <cstdint>
#include <stop_token>
#include <vector>

#include "converter/AttributeStatistics.h"
#include "converter/CellTree.h"
#include "converter/Conversion.h"
#include "converter/NodeEncoder.h"
#include "converter/OctreeWriter.h"
#include "converter/OutputGrid.h"
#include "converter/OutputRecords.h"
#include "converter/Progress.h"
#include "converter/TempStore.h"
#include "converter/WorkOrder.h"

namespace Converter {

/// How the time of indexing a point is shared by its steps, measured; in units of progress.
struct IndexShares {
  std::uint64_t load = 0;
  std::uint64_t order = 0;   ///< along the curve
  std::uint64_t gather = 0;  ///< records in that order
  std::uint64_t select = 0;
  std::uint64_t arrange = 0;  ///< records in the order of the file
  std::uint64_t encode = 0;   ///< and write

  [[nodiscard]] static constexpr IndexShares of(PoTree::Encoding encoding) {
    return encoding == PoTree::Encoding::Brotli ? IndexShares{1, 2, 2, 5, 2, 60}
                                                : IndexShares{1, 2, 2, 5, 2, 2};
  }
  /// Of one point.
  [[nodiscard]] constexpr std::uint64_t sum() const {
    return load + order + gather + select + arrange + encode;
  }
};

/// What indexing needs to know of the cloud.
struct IndexPlan {
  const CloudRecords& records;
  const OutputGrid& grid;
  const OutputRecords& output;
  const NodeEncoder& encoder;
  std::vector<Chunk> chunks;   ///< along the Z curve; cells are numbers in the store
  std::size_t leafPoints = 0;  ///< a node of no more points is a leaf
  Sampling sampling = Sampling::Poisson;
  bool dropDuplicates = false;
  IndexShares shares;
};

struct IndexResult {
  std::uint64_t numPoints = 0;  ///< written
  std::uint64_t duplicates = 0;
};

/// Indexes all chunks and writes their nodes, chunk after chunk along the Z curve, those of a chunk breadth
/// first, then the nodes above them, the root last. The chunks' points leave the store.
/// @param statistics  gets dropped duplicates taken out.
/// @param progress    advances by about IndexPlan::shares for each point.
/// @throws ConversionError, ConversionCancelled.
[[nodiscard]] IndexResult indexChunks(const IndexPlan& plan, TempStore& store, OctreeWriter& writer,
                                      AttributeStatistics& statistics, const WorkOrder& order,
                                      Progress& progress, std::stop_token stopToken);

}  // namespace Converter
