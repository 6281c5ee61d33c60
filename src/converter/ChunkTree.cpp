#include "converter/ChunkTree.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "converter/ConversionError.h"
#include "converter/WorkerThreads.h"

namespace Converter {

ChunkTree::ChunkTree(const SortedPoints& points, Octree::OctreeNodeId root, std::size_t leafPoints,
                     Sampling sampling)
    : points_(points), leafPoints_(leafPoints), sampling_(sampling), takenAtLevel_(points.size(), kNotTaken) {
  keySets_.push_back({static_cast<unsigned>(root.level()), 0, {}, points.keys()});
  Node node;
  node.id = root;
  node.end = points.size();
  build(node, 0);
  orderByLevel();
}

bool ChunkTree::isLeaf(const Node& node) const {
  return node.end - node.begin <= leafPoints_ || node.id.level() == Octree::OctreeNodeId::kDeepestLevel ||
         positionOf(points_.record(node.begin)) == positionOf(points_.record(node.end - 1));
}

/// The keys that serve a node and the cells from which it takes points.
std::size_t ChunkTree::keySetFor(const Node& node, std::size_t parentSet) {
  const auto level = static_cast<unsigned>(node.id.level());
  if (level - keySets_[parentSet].level < kLevelsPerKeySet) return parentSet;
  KeySet set{level, node.begin, {}, {}};
  set.own.reserve(node.end - node.begin);
  for (std::size_t i = node.begin; i < node.end; ++i) set.own.push_back(cellKey(points_.cubePoint(i), level));
  set.keys = set.own;
  keySets_.push_back(std::move(set));  // a moved vector keeps its elements where they are
  return keySets_.size() - 1;
}

void ChunkTree::build(Node node, std::size_t parentSet) {
  const std::size_t place = nodes_.size();
  node.firstLeaf_ = leaves_.size();
  node.leaf = isLeaf(node);
  node.keys_ = node.leaf ? parentSet : keySetFor(node, parentSet);
  nodes_.push_back(node);
  if (node.leaf) {
    leaves_.push_back(place);
  } else {
    const KeySet set{keySets_[node.keys_].level, keySets_[node.keys_].first, {}, keySets_[node.keys_].keys};
    const unsigned shift = 3 * (kKeyLevels - 1 - (static_cast<unsigned>(node.id.level()) - set.level));
    for (std::uint8_t child = 0; child < 8; ++child) {
      const auto* const first = set.keys.data() + (node.begin - set.first);
      const auto* const last = set.keys.data() + (node.end - set.first);
      const auto* const end =
          std::partition_point(first, last, [&](std::uint64_t key) { return (key >> shift & 7U) <= child; });
      Node below;
      below.id = node.id.child(child);
      below.begin = node.begin;
      below.end = node.begin + static_cast<std::size_t>(end - first);
      below.parent = place;
      node.begin = below.end;
      if (below.begin != below.end) build(below, node.keys_);
    }
  }
  nodes_[place].endLeaf_ = leaves_.size();
}

/// From depth first, in which the nodes were built, to breadth first.
void ChunkTree::orderByLevel() {
  std::vector<std::size_t> order(nodes_.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return nodes_[a].id.level() < nodes_[b].id.level(); });
  std::vector<std::size_t> placeOf(nodes_.size());
  std::vector<Node> ordered;
  ordered.reserve(nodes_.size());
  for (const std::size_t old : order) {
    placeOf[old] = ordered.size();
    ordered.push_back(nodes_[old]);
  }
  for (Node& node : ordered) node.parent = placeOf[node.parent];
  for (std::size_t& leaf : leaves_) leaf = placeOf[leaf];
  nodes_ = std::move(ordered);
}

/// The point of [begin, end) that is drawn from those that nobody took; end when there is none.
std::size_t ChunkTree::draw(std::size_t begin, std::size_t end) const {
  const std::span<const std::uint32_t> priorities = points_.priorities();
  std::size_t drawn = end;
  for (std::size_t i = begin; i < end; ++i) {
    if (takenAtLevel_[i] == kNotTaken && (drawn == end || priorities[i] < priorities[drawn])) drawn = i;
  }
  return drawn;
}

void ChunkTree::select(SpacingGrid& grid, const std::stop_token& stopToken,
                       const std::function<void(double share)>& whenShareDone) {
  // Inner nodes look at all points that lie in them.
  std::size_t looks = 0;
  for (const Node& node : nodes_) looks += node.leaf ? 0 : node.end - node.begin;
  std::size_t looked = 0;
  for (const Node& node : nodes_) {
    if (node.leaf) continue;
    throwIfStopped(stopToken);
    const auto level = static_cast<unsigned>(node.id.level());
    const unsigned cellLevel = level + cellLevels(sampling_);
    if (sampling_ == Sampling::Poisson) {
      grid.begin(level);
      offerCells(node, cellLevel, [&](std::size_t i) { return grid.take(points_.cubePoint(i)); });
    } else {
      offerCells(node, cellLevel, [](std::size_t) { return true; });
    }
    looked += node.end - node.begin;
    if (whenShareDone) whenShareDone(static_cast<double>(looked) / static_cast<double>(looks));
  }
  for (Node& node : nodes_) node.numPoints = 0;
  eachPoint([&](std::size_t node, std::size_t) { ++nodes_[node].numPoints; });
}

}  // namespace Converter
