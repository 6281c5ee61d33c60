#include "converter/UpperTree.h"

#include <algorithm>
#include <utility>

namespace Converter {

void UpperTree::choose(const SortedPoints& points, ChunkTree& chunk) {
  const Octree::OctreeNodeId root = chunk.nodes().front().id;
  for (unsigned number = 0; number < root.level(); ++number) {
    Octree::OctreeNodeId ancestor = root;
    while (ancestor.level() > number) ancestor = ancestor.parent();
    if (number == levels_.size()) {
      levels_.push_back(std::make_unique<Level>());
      open(*levels_.back(), ancestor);
    }
    Level& level = *levels_[number];
    if (level.node != ancestor) {
      close(level);
      open(level, ancestor);
    }
    chunk.offer(number, level.lastOffered, [&](std::size_t i) {
      if (sampling_ == Sampling::Poisson && !level.grid.take(points.cubePoint(i))) return false;
      level.records.resize(level.records.size() + output_.stride());
      output_.convert(points.record(i), level.records.data() + level.records.size() - output_.stride());
      return true;
    });
  }
}

void UpperTree::open(Level& level, Octree::OctreeNodeId node) {
  level.node = node;
  level.grid.begin(static_cast<unsigned>(node.level()));
}

void UpperTree::close(Level& level) {
  if (level.records.empty()) return;
  const std::size_t size = level.records.size();
  Node& node = finished_.emplace_back();
  node.id = level.node;
  node.numPoints = static_cast<std::uint32_t>(size / output_.stride());
  if (kept_ + size <= mostKept_) {
    kept_ += size;
    level.records.shrink_to_fit();
    node.records = std::move(level.records);
  } else {
    node.cell = store_.addCells(1);
    store_.append(node.cell, level.records);
  }
  level.records.clear();
}

std::vector<UpperTree::Node> UpperTree::finish() {
  for (const auto& level : levels_) close(*level);
  levels_.clear();
  // Nodes of a level were finished along the curve.
  std::stable_sort(finished_.begin(), finished_.end(),
                   [](const Node& a, const Node& b) { return a.id.level() > b.id.level(); });
  return std::move(finished_);
}

}  // namespace Converter
