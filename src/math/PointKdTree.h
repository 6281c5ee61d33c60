#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "math/SoAPointContainer.h"

namespace Math {

template <class T, int N>
class PointKdTree;

/// A kd-tree over points in space, for many searches in one set of points. It keeps its own copy of the
/// positions and refers to nothing outside.
///
/// Points are split at medians of the longer sides down to leaves of 32. Leaves are full but for the last, so
/// the tree needs no pointers: node i of a level stands above nodes 16 i to 16 i + 15 of the level below, and
/// the nodes of level 0 are the leaves. Nodes stand in blocks of 16 siblings, by columns, so that a few
/// vector instructions test them all. Points with a coordinate that is not finite belong to no box; they
/// stand in leaves of their own behind the tree's and every search tests them.
///
/// The order of the points is a function of the positions alone. Threads: const calls are safe together.
template <>
class PointKdTree<float, 3> {
 public:
  static constexpr std::size_t kLeafSize = 32;
  static constexpr std::size_t kFanOut = 16;

  /// The positions of up to 32 points by axis. What is behind the last point of a leaf repeats it.
  struct alignas(64) Leaf {
    float coordinates[3][kLeafSize];
  };

  /// The tight boxes of up to 16 siblings by axis. What is behind the last sibling repeats it.
  struct alignas(64) Siblings {
    float minimum[3][kFanOut];
    float maximum[3][kFanOut];
  };

  struct Level {
    std::vector<Siblings, UninitialisedAllocator<Siblings>> siblings;
    std::size_t numNodes = 0;
  };

  /// Builds serially over interleaved x, y, z.
  /// @throws std::invalid_argument when their number is no multiple of 3; std::length_error beyond 2^32 - 32
  ///         points.
  explicit PointKdTree(std::span<const float> positions);

  /// Appends the index of every point that @p shape's inside test accepts (plane shapes: on x and y), exactly
  /// as if each point had been tested: equal bits on every processor, NaN and infinite coordinates included.
  /// Indices come in the order of the tree, whatever the shape. Instantiated for the nine query shapes.
  template <class Shape>
  void search(const Shape& shape, std::vector<std::uint32_t>& indices) const;

  [[nodiscard]] std::size_t size() const { return numBounded_ + numUnbounded_; }

  /// Bytes allocated for the tree.
  [[nodiscard]] std::size_t byteSize() const;

  /// The levels from the leaves up; the top one has at most 16 nodes. None without finite points.
  [[nodiscard]] std::span<const Level> levels() const { return levels_; }
  /// The leaves of the tree, then those of the points that are not finite.
  [[nodiscard]] std::span<const Leaf> leaves() const { return leaves_; }
  /// The number that each point has in the positions given, 32 for each leaf; point k of leaf l is element
  /// 32 l + k. What is behind the last point of a leaf is of no meaning.
  [[nodiscard]] std::span<const std::uint32_t> indices() const { return indices_; }
  /// The number of points in the tree's leaves: those that are finite.
  [[nodiscard]] std::size_t numBounded() const { return numBounded_; }
  /// The number of points in the leaves behind the tree's: those that are not finite.
  [[nodiscard]] std::size_t numUnbounded() const { return numUnbounded_; }

 private:
  std::vector<Leaf, UninitialisedAllocator<Leaf>> leaves_;
  std::vector<std::uint32_t> indices_;
  std::vector<Level> levels_;
  std::size_t numBounded_ = 0;
  std::size_t numUnbounded_ = 0;
};

}  // namespace Math
