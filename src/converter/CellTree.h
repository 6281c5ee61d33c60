#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "converter/CubePoint.h"
#include "octree/OctreeNodeId.h"

namespace Converter {

/// A cut of the octree's cube into cells of differing size, numbered along the Z curve. Every place belongs
/// to one cell. Threads: const calls are safe together.
class CellTree {
 public:
  /// One cell: the node @p root.
  explicit CellTree(Octree::OctreeNodeId root = {});

  /// Splits the cube until no cell below the deepest level holds more than @p mostOfSample of @p sample.
  CellTree(std::vector<CubePoint> sample, std::size_t mostOfSample);

  /// The eight children of a node above the deepest level.
  [[nodiscard]] static CellTree childrenOf(Octree::OctreeNodeId node);

  [[nodiscard]] std::size_t size() const { return cells_.size(); }
  [[nodiscard]] Octree::OctreeNodeId id(std::size_t cell) const { return cells_[cell]; }

  /// The cell of a point that lies in the root (not checked).
  [[nodiscard]] std::uint32_t cellOf(const CubePoint& p) const {
    std::uint32_t node = nodes_[0];
    for (unsigned level = rootLevel_; (node & kIsCell) == 0; ++level)
      node = nodes_[node + childIndexAt(p, level)];
    return node & ~kIsCell;
  }

 private:
  static constexpr std::uint32_t kIsCell = std::uint32_t{1} << 31U;

  struct Splitter;

  // Element 0 is the root, then the children of split nodes, eight beside each other: the place of the first
  // child, or kIsCell and the number of the cell.
  std::vector<std::uint32_t> nodes_;
  std::vector<Octree::OctreeNodeId> cells_;
  unsigned rootLevel_ = 0;
};

/// A part of the cloud that is indexed at once: an octree node and the cells that lie in it.
struct Chunk {
  Octree::OctreeNodeId id;
  std::uint64_t bytes = 0;
  std::vector<std::size_t> cells;
};

/// A cell that was filled.
struct FilledCell {
  Octree::OctreeNodeId id;
  std::uint64_t bytes = 0;
  bool onePlace = false;  ///< whether all its points are known to lie in one place
};

/// The cut of a cloud into chunks: the largest nodes that hold at most @p mostBytes; a cell that holds more
/// by itself is a chunk. Empty cells belong to none. Chunks stand along the Z curve.
/// @param cells  a cut of the cube along the Z curve; numbers in Chunk::cells are places in it.
[[nodiscard]] std::vector<Chunk> cutIntoChunks(const std::vector<FilledCell>& cells, std::uint64_t mostBytes);

}  // namespace Converter
