#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "converter/ChunkTree.h"
#include "converter/IndexStage.h"
#include "converter/SortedPoints.h"
#include "converter/SpacingGrid.h"
#include "converter/UpperTree.h"

namespace Converter {

/// Neighbouring nodes of one chunk, and what they became.
struct NodeBatch {
  std::size_t firstNode = 0;
  std::size_t endNode = 0;
  std::vector<EncodedNode> encoded;  // views of the chunk's records or of the scratch strings
  std::vector<std::string> scratch;
};

/// The way of one chunk from the store to encoded nodes, in steps that different threads may take one after
/// the other. Encoding is cut into batches that may be worked on at once.
class ChunkWork {
 public:
  /// Views all that it is given.
  ChunkWork(const IndexPlan& plan, const Chunk& chunk, TempStore& store, Progress& progress)
      : plan_(plan), chunk_(chunk), store_(store), progress_(progress) {}

  /// Bytes that a chunk takes at most at any time until it is written.
  [[nodiscard]] static std::uint64_t memoryFor(const IndexPlan& plan, const Chunk& chunk);

  /// Takes the points out of the store and sorts them.
  /// @param dropped  gets the duplicates that were dropped.
  /// @return their number.
  std::uint64_t load(AttributeStatistics& dropped, const std::stop_token& stopToken);
  /// In the chunk's turn along the Z curve.
  void chooseAbove(UpperTree& upper) { upper.choose(*points_, *tree_); }
  /// Lets the chunk's nodes choose, and brings the records into the order of the file.
  void select(SpacingGrid& grid, const std::stop_token& stopToken);
  /// Batches of about a mebibyte.
  [[nodiscard]] std::size_t numBatches() const { return batches_.size(); }
  void encode(std::size_t batch, const std::stop_token& stopToken);
  /// @return the points that were written.
  std::uint64_t write(OctreeWriter& writer);

  /// Bytes that the chunk takes from select() on, until it is written.
  [[nodiscard]] std::uint64_t memoryForEncoding() const { return 2 * stored_.size(); }

 private:
  [[nodiscard]] RawBytes takeRecords();
  /// Tells the progress that all points of the chunk have taken a step.
  void advance(std::uint64_t share) { progress_.advance(chunk_.bytes / plan_.records.stride * share); }
  void cutIntoBatches();

  const IndexPlan& plan_;
  const Chunk& chunk_;
  TempStore& store_;
  Progress& progress_;
  std::unique_ptr<SortedPoints> points_;
  std::unique_ptr<ChunkTree> tree_;
  // of select():
  struct StoredNode {
    Octree::OctreeNodeId id;
    std::uint32_t numPoints = 0;
    std::size_t offset = 0;  // of its records
  };
  std::vector<StoredNode> nodes_;
  RawBytes stored_;  // records as the octree stores them, node after node
  std::vector<NodeBatch> batches_;
};

}  // namespace Converter
