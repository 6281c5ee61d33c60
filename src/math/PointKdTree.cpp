#include "math/PointKdTree.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace Math {
namespace {

using Tree = PointKdTree<float, 3>;

/// How many groups of @p size hold @p count.
std::size_t numGroups(std::size_t count, std::size_t size) { return (count + size - 1) / size; }

struct IndexedPoint {
  float coordinates[3];
  std::uint32_t index;
};

/// The finite points from the front, the others from the back in reverse order.
struct Partition {
  std::vector<IndexedPoint, UninitialisedAllocator<IndexedPoint>> points;
  std::size_t numFinite;
};

Partition separate(std::span<const float> positions) {
  Partition result{{}, 0};
  result.points.resize(positions.size() / 3);
  std::size_t last = result.points.size();
  for (std::size_t i = 0; i < result.points.size(); ++i) {
    const float* p = &positions[3 * i];
    const bool finite = std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
    result.points[finite ? result.numFinite++ : --last] = {{p[0], p[1], p[2]}, static_cast<std::uint32_t>(i)};
  }
  return result;
}

/// Reorders so that the points whose coordinate is accepted come first, and returns their number. Free of
/// branches that depend on the data, which would be mispredicted every other time.
template <class Accepts>
std::size_t partition(std::span<IndexedPoint> points, const Accepts& accepts) {
  std::size_t accepted = 0;
  for (IndexedPoint& point : points) {
    const IndexedPoint moved = point;
    point = points[accepted];
    points[accepted] = moved;
    accepted += static_cast<std::size_t>(accepts(moved));
  }
  return accepted;
}

/// Reorders so that no point before @p rank has a greater coordinate on @p axis than one from there on: a
/// quickselect around the quantile of a small sample (after Floyd, Rivest 1975). Inputs on which the sample
/// fails too often are left to the library's selection with its guaranteed bound.
void selectRank(std::span<IndexedPoint> points, std::size_t rank, std::size_t axis) {
  constexpr std::size_t kSampleSize = 8;
  constexpr std::size_t kSmall = 48;
  const auto mostRounds = 4 * static_cast<std::size_t>(std::bit_width(points.size()));
  for (std::size_t round = 0; round < mostRounds && points.size() > kSmall; ++round) {
    std::array<float, kSampleSize> sample;
    for (std::size_t i = 0; i < kSampleSize; ++i) {
      sample[i] = points[(2 * i + 1) * points.size() / (2 * kSampleSize)].coordinates[axis];
    }
    std::sort(sample.begin(), sample.end());
    const float pivot = sample[rank * kSampleSize / points.size()];
    std::size_t before = partition(points, [&](const auto& p) { return p.coordinates[axis] < pivot; });
    if (before == 0) {
      // The pivot is the least coordinate. Its equals may be all there is, so they go in one step.
      before = partition(points, [&](const auto& p) { return p.coordinates[axis] <= pivot; });
      if (rank < before) return;
    }
    if (rank < before) {
      points = points.first(before);
    } else {
      points = points.subspan(before);
      rank -= before;
    }
  }
  if (rank >= points.size()) return;
  std::nth_element(points.begin(), points.begin() + static_cast<std::ptrdiff_t>(rank), points.end(),
                   [&](const IndexedPoint& a, const IndexedPoint& b) {
                     return a.coordinates[axis] < b.coordinates[axis];
                   });
}

/// The axis on which the points reach farthest; the first of equals.
std::size_t longestAxis(std::span<const IndexedPoint> points) {
  std::array<float, 3> minimum{points[0].coordinates[0], points[0].coordinates[1], points[0].coordinates[2]};
  std::array<float, 3> maximum = minimum;
  for (const IndexedPoint& point : points) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      minimum[axis] = std::min(minimum[axis], point.coordinates[axis]);
      maximum[axis] = std::max(maximum[axis], point.coordinates[axis]);
    }
  }
  std::size_t longest = 0;
  for (std::size_t axis = 1; axis < 3; ++axis) {
    if (maximum[axis] - minimum[axis] > maximum[longest] - minimum[longest]) longest = axis;
  }
  return longest;
}

/// Brings the points into the order of the tree. The points of a node are halved by whole children, so that
/// the children of every level are full but for the last.
void orderPoints(std::span<IndexedPoint> points) {
  if (points.size() <= Tree::kLeafSize) return;
  std::size_t childSize = Tree::kLeafSize;
  while (childSize * Tree::kFanOut < points.size()) childSize *= Tree::kFanOut;
  const std::size_t half = numGroups(points.size(), childSize) / 2 * childSize;
  selectRank(points, half, longestAxis(points));
  orderPoints(points.first(half));
  orderPoints(points.subspan(half));
}

/// Writes whole leaves, the last one filled up with its last point.
void writeLeaves(std::span<const IndexedPoint> points, std::span<Tree::Leaf> leaves,
                 std::span<std::uint32_t> indices) {
  for (std::size_t i = 0; i < indices.size(); ++i) {
    const IndexedPoint& point = points[std::min(i, points.size() - 1)];
    Tree::Leaf& leaf = leaves[i / Tree::kLeafSize];
    for (std::size_t axis = 0; axis < 3; ++axis) {
      leaf.coordinates[axis][i % Tree::kLeafSize] = point.coordinates[axis];
    }
    indices[i] = point.index;
  }
}

/// A level of @p numNodes nodes; node i bounds the columns minimum(i, axis) and maximum(i, axis) of @p width
/// values each.
template <std::size_t width, class Minimum, class Maximum>
Tree::Level boundNodes(std::size_t numNodes, const Minimum& minimum, const Maximum& maximum) {
  Tree::Level level;
  level.numNodes = numNodes;
  level.siblings.resize(numGroups(numNodes, Tree::kFanOut));
  for (std::size_t slot = 0; slot < level.siblings.size() * Tree::kFanOut; ++slot) {
    Tree::Siblings& siblings = level.siblings[slot / Tree::kFanOut];
    const std::size_t node = std::min(slot, numNodes - 1);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const float* const low = minimum(node, axis);
      const float* const high = maximum(node, axis);
      siblings.minimum[axis][slot % Tree::kFanOut] = *std::min_element(low, low + width);
      siblings.maximum[axis][slot % Tree::kFanOut] = *std::max_element(high, high + width);
    }
  }
  return level;
}

Tree::Level boundLeaves(std::span<const Tree::Leaf> leaves) {
  const auto column = [&](std::size_t leaf, std::size_t axis) { return leaves[leaf].coordinates[axis]; };
  return boundNodes<Tree::kLeafSize>(leaves.size(), column, column);
}

Tree::Level boundSiblings(const Tree::Level& below) {
  return boundNodes<Tree::kFanOut>(
      below.siblings.size(),
      [&](std::size_t node, std::size_t axis) { return below.siblings[node].minimum[axis]; },
      [&](std::size_t node, std::size_t axis) { return below.siblings[node].maximum[axis]; });
}

}  // namespace

PointKdTree<float, 3>::PointKdTree(std::span<const float> positions) {
  if (positions.size() % 3 != 0) throw std::invalid_argument("positions are no multiple of 3 values");
  if (positions.size() / 3 > std::numeric_limits<std::uint32_t>::max() - kLeafSize + 1) {
    throw std::length_error("more points than a kd-tree can number");
  }
  auto [points, numFinite] = separate(positions);
  const auto bounded = std::span(points).first(numFinite);
  const auto unbounded = std::span(points).subspan(numFinite);
  numBounded_ = bounded.size();
  numUnbounded_ = unbounded.size();
  orderPoints(bounded);
  std::reverse(unbounded.begin(), unbounded.end());

  const std::size_t boundedLeaves = numGroups(numBounded_, kLeafSize);
  leaves_.resize(boundedLeaves + numGroups(numUnbounded_, kLeafSize));
  indices_.resize(leaves_.size() * kLeafSize);
  const std::span leaves(leaves_);
  const std::span indices(indices_);
  writeLeaves(bounded, leaves.first(boundedLeaves), indices.first(boundedLeaves * kLeafSize));
  writeLeaves(unbounded, leaves.subspan(boundedLeaves), indices.subspan(boundedLeaves * kLeafSize));

  if (numBounded_ == 0) return;
  levels_.push_back(boundLeaves(leaves.first(boundedLeaves)));
  while (levels_.back().numNodes > kFanOut) levels_.push_back(boundSiblings(levels_.back()));
}

std::size_t PointKdTree<float, 3>::byteSize() const {
  std::size_t bytes = leaves_.capacity() * sizeof(Leaf) + indices_.capacity() * sizeof(std::uint32_t) +
                      levels_.capacity() * sizeof(Level);
  for (const Level& level : levels_) bytes += level.siblings.capacity() * sizeof(Siblings);
  return bytes;
}

}  // namespace Math
