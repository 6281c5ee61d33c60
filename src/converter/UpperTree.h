#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "converter/ChunkTree.h"
#include "converter/OutputRecords.h"
#include "converter/SpacingGrid.h"
#include "converter/TempStore.h"
#include "octree/OctreeNodeId.h"

namespace Converter {

/// The nodes above the chunks' roots. Each chunk, in its turn along the Z curve, lets them choose from its
/// points. Of each level one node is open at a time; the stored records of finished ones wait in memory and,
/// what is more than that may hold, in the store.
/// Threads: one at a time.
class UpperTree {
 public:
  /// A finished node: its records, or none where they are the content of a store cell.
  struct Node {
    Octree::OctreeNodeId id;
    std::uint32_t numPoints = 0;
    std::vector<std::byte> records;
    std::size_t cell = 0;
  };

  /// Views all that it is given.
  /// @param mostKept  bytes of records that may wait in memory.
  UpperTree(Sampling sampling, const OutputRecords& output, TempStore& store, std::uint64_t mostKept)
      : sampling_(sampling), output_(output), store_(store), mostKept_(mostKept) {}

  /// Lets all ancestors of the chunk's root choose.
  void choose(const SortedPoints& points, ChunkTree& chunk);

  /// After the last chunk: the nodes with points, deepest level first and the root last, those of a level
  /// along the Z curve.
  [[nodiscard]] std::vector<Node> finish();

 private:
  struct Level {
    Octree::OctreeNodeId node;
    std::optional<Octree::OctreeNodeId> lastOffered;
    SpacingGrid grid;  // used for Poisson sampling alone
    std::vector<std::byte> records;
  };

  void open(Level& level, Octree::OctreeNodeId node);
  void close(Level& level);

  Sampling sampling_;
  const OutputRecords& output_;
  TempStore& store_;
  std::uint64_t mostKept_;
  std::uint64_t kept_ = 0;
  std::vector<std::unique_ptr<Level>> levels_;  // from the root down
  std::vector<Node> finished_;
};

}  // namespace Converter
