#include "converter/CellTree.h"

#include <algorithm>
#include <span>

namespace Converter {

/// Cuts sorted keys into the cells of a tree.
struct CellTree::Splitter {
  CellTree& tree;
  std::size_t mostOfSample;

  void run(std::size_t at, Octree::OctreeNodeId id, std::span<const std::uint64_t> keys) {
    const auto level = static_cast<unsigned>(id.level());
    if (keys.size() <= mostOfSample || level == Octree::OctreeNodeId::kDeepestLevel) {
      tree.nodes_[at] = kIsCell | static_cast<std::uint32_t>(tree.cells_.size());
      tree.cells_.push_back(id);
      return;
    }
    const std::size_t children = tree.nodes_.size();
    tree.nodes_[at] = static_cast<std::uint32_t>(children);
    tree.nodes_.resize(children + 8);
    const unsigned shift = 3 * (kKeyLevels - 1 - level);
    for (unsigned child = 0; child < 8; ++child) {
      const auto end = std::partition_point(keys.begin(), keys.end(),
                                            [&](std::uint64_t key) { return (key >> shift & 7U) <= child; });
      const auto count = static_cast<std::size_t>(end - keys.begin());
      run(children + child, id.child(static_cast<std::uint8_t>(child)), keys.first(count));
      keys = keys.subspan(count);
    }
  }
};

CellTree::CellTree(Octree::OctreeNodeId root)
    : nodes_{kIsCell}, cells_{root}, rootLevel_(static_cast<unsigned>(root.level())) {}

CellTree::CellTree(std::vector<CubePoint> sample, std::size_t mostOfSample) : nodes_(1) {
  std::vector<std::uint64_t> keys(sample.size());
  std::transform(sample.begin(), sample.end(), keys.begin(),
                 [](const CubePoint& p) { return cellKey(p, 0); });
  std::sort(keys.begin(), keys.end());
  Splitter{*this, mostOfSample}.run(0, {}, keys);
}

CellTree CellTree::childrenOf(Octree::OctreeNodeId node) {
  CellTree tree(node);
  tree.nodes_ = {1};
  tree.cells_.clear();
  for (std::uint8_t child = 0; child < 8; ++child) {
    tree.nodes_.push_back(kIsCell | child);
    tree.cells_.push_back(node.child(child));
  }
  return tree;
}

namespace {

/// The part of sorted cells that lies in a node becomes one chunk, or those of its children.
struct ChunkCutter {
  const std::vector<FilledCell>& cells;
  std::uint64_t mostBytes;
  std::vector<Chunk> chunks;

  void run(Octree::OctreeNodeId id, std::size_t begin, std::size_t end) {
    Chunk chunk{id, 0, {}};
    for (std::size_t i = begin; i < end; ++i) {
      if (cells[i].bytes > 0) chunk.cells.push_back(i);
      chunk.bytes += cells[i].bytes;
    }
    if (chunk.cells.empty()) return;
    const FilledCell& only = cells[chunk.cells.front()];
    const bool cannotSplit = chunk.cells.size() == 1 && (only.onePlace || only.id == id);
    if (chunk.bytes <= mostBytes || cannotSplit) {
      chunks.push_back(std::move(chunk));
      return;
    }
    const std::uint64_t level = id.level() + 1;
    for (std::uint8_t child = 0; child < 8; ++child) {
      std::size_t last = begin;
      while (last < end && cells[last].id.childIndexAt(level) == child) ++last;
      run(id.child(child), begin, last);
      begin = last;
    }
  }
};

}  // namespace

std::vector<Chunk> cutIntoChunks(const std::vector<FilledCell>& cells, std::uint64_t mostBytes) {
  ChunkCutter cutter{cells, mostBytes, {}};
  cutter.run({}, 0, cells.size());
  return std::move(cutter.chunks);
}

}  // namespace Converter
