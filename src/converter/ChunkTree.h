#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <stop_token>
#include <vector>

#include "converter/Conversion.h"
#include "converter/SortedPoints.h"
#include "converter/SpacingGrid.h"
#include "octree/OctreeNodeId.h"

namespace Converter {

/// The nodes of one chunk and which of its points each one holds.
///
/// A node of no more than @p leafPoints points, counted with those that coarser nodes take, is a leaf; so is
/// one whose points lie in one place, and one of the deepest level. Other nodes offer themselves points, one
/// of each cell of half their spacing, and take those that keep their spacing; leaves hold what nobody took.
/// The point that a cell offers is drawn at random (by SortedPoints::priorities) from those that no coarser
/// node took, in the first leaf along the Z curve that has such ones in the cell. So every point that is
/// stored below a node lies within 1.9 spacings of a point of that node. With random sampling a node takes
/// one point of each cell of its spacing.
///
/// Which points a node gets thus depends on the whole cloud along the Z curve, and not on the cut into
/// chunks: coarser nodes than the chunk's root choose first (offer()), chunk after chunk.
class ChunkTree {
 public:
  struct Node {
    Octree::OctreeNodeId id;
    std::size_t begin = 0;  ///< of the points that lie in the node
    std::size_t end = 0;
    bool leaf = false;
    std::uint32_t numPoints = 0;  ///< that the node holds; set by select()
    std::size_t parent = 0;       ///< place among the nodes; the root's own for the root

   private:
    friend class ChunkTree;
    std::size_t firstLeaf_ = 0;  // places among the leaves
    std::size_t endLeaf_ = 0;
    std::size_t keys_ = 0;  // place among the key sets
  };

  /// @param points  of the node @p root; must outlive the tree.
  ChunkTree(const SortedPoints& points, Octree::OctreeNodeId root, std::size_t leafPoints, Sampling sampling);

  /// Offers the chunk's points to an ancestor of its root, at @p level. @p take(index) says whether a point
  /// is taken. Ancestors choose from the root of the cloud downwards.
  /// @param lastOffered  the ancestor that offered itself a point last in the chunks before, where cells are
  ///                     as large as the chunk or larger; kept from chunk to chunk, one for each level.
  template <class Take>
  void offer(unsigned level, std::optional<Octree::OctreeNodeId>& lastOffered, const Take& take);

  /// Lets the chunk's own nodes choose, after all ancestors.
  /// @param whenShareDone  is told now and then the share of the work that is done, rising to 1.
  void select(SpacingGrid& grid, const std::stop_token& stopToken,
              const std::function<void(double share)>& whenShareDone = {});

  /// Breadth first, those of a level along the Z curve.
  [[nodiscard]] const std::vector<Node>& nodes() const { return nodes_; }

  /// Calls @p work(node's place among nodes(), point's index) for every point that no ancestor took, along
  /// the Z curve. After select().
  template <class Work>
  void eachPoint(const Work& work) const;

  /// The levels of cells below a node's level from which it takes one point each.
  [[nodiscard]] static unsigned cellLevels(Sampling sampling) {
    return sampling == Sampling::Poisson ? 8 : 7;
  }

 private:
  static constexpr std::uint8_t kNotTaken = 255;
  // Keys of 21 levels serve nodes of 13, whose cells lie up to 8 levels deeper.
  static constexpr unsigned kLevelsPerKeySet = kKeyLevels - 8;

  /// Keys of a range of points that begin at a level.
  struct KeySet {
    unsigned level = 0;
    std::size_t first = 0;  // the point of the first key
    std::vector<std::uint64_t> own;
    std::span<const std::uint64_t> keys;
  };

  [[nodiscard]] bool isLeaf(const Node& node) const;
  std::size_t keySetFor(const Node& node, std::size_t parentSet);
  void build(Node node, std::size_t parentSet);
  void orderByLevel();
  template <class Take>
  void offerCells(const Node& node, unsigned cellLevel, const Take& take);
  [[nodiscard]] std::size_t draw(std::size_t begin, std::size_t end) const;

  const SortedPoints& points_;
  std::size_t leafPoints_;
  Sampling sampling_;
  std::vector<KeySet> keySets_;
  std::vector<Node> nodes_;
  std::vector<std::size_t> leaves_;         // places among the nodes, along the Z curve
  std::vector<std::uint8_t> takenAtLevel_;  // by point
};

// -- templates --------------------------------------------------------------------------------------------

template <class Take>
void ChunkTree::offerCells(const Node& node, unsigned cellLevel, const Take& take) {
  const KeySet& set = keySets_[node.keys_];
  const unsigned shift = 3 * (kKeyLevels - (cellLevel - set.level));
  const auto cellOf = [&](std::size_t i) { return set.keys[i - set.first] >> shift; };
  const auto level = static_cast<std::uint8_t>(node.id.level());
  std::optional<std::uint64_t> lastOffered;
  for (std::size_t leaf = node.firstLeaf_; leaf < node.endLeaf_; ++leaf) {
    const std::size_t leafEnd = nodes_[leaves_[leaf]].end;
    for (std::size_t begin = nodes_[leaves_[leaf]].begin; begin < leafEnd;) {
      const std::uint64_t cell = cellOf(begin);
      std::size_t end = begin + 1;
      while (end < leafEnd && cellOf(end) == cell) ++end;
      if (lastOffered != cell) {
        const std::size_t offered = draw(begin, end);
        if (offered != end) {
          lastOffered = cell;
          if (take(offered)) takenAtLevel_[offered] = level;
        }
      }
      begin = end;
    }
  }
}

template <class Take>
void ChunkTree::offer(unsigned level, std::optional<Octree::OctreeNodeId>& lastOffered, const Take& take) {
  Node ancestor = nodes_.front();
  const auto chunkLevel = static_cast<unsigned>(ancestor.id.level());
  const unsigned cellLevel = level + cellLevels(sampling_);
  while (ancestor.id.level() > level) ancestor.id = ancestor.id.parent();
  if (cellLevel >= chunkLevel) return offerCells(ancestor, cellLevel, take);

  Octree::OctreeNodeId cell = nodes_.front().id;
  while (cell.level() > cellLevel) cell = cell.parent();
  if (lastOffered == cell) return;
  for (const std::size_t leaf : leaves_) {
    const std::size_t offered = draw(nodes_[leaf].begin, nodes_[leaf].end);
    if (offered == nodes_[leaf].end) continue;
    lastOffered = cell;
    if (take(offered)) takenAtLevel_[offered] = static_cast<std::uint8_t>(level);
    return;
  }
}

template <class Work>
void ChunkTree::eachPoint(const Work& work) const {
  std::array<std::size_t, Octree::OctreeNodeId::kDeepestLevel + 1> atLevel{};
  const std::uint64_t rootLevel = nodes_.front().id.level();
  for (const std::size_t leaf : leaves_) {
    for (std::size_t node = leaf;; node = nodes_[node].parent) {
      atLevel[nodes_[node].id.level()] = node;
      if (nodes_[node].parent == node) break;
    }
    for (std::size_t i = nodes_[leaf].begin; i < nodes_[leaf].end; ++i) {
      const std::uint8_t level = takenAtLevel_[i];
      if (level == kNotTaken) {
        work(leaf, i);
      } else if (level >= rootLevel) {
        work(atLevel[level], i);
      }
    }
  }
}

}  // namespace Converter
