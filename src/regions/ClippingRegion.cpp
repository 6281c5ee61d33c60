#include "regions/ClippingRegion.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "regions/BatchKernels.h"

namespace Math {
namespace {

using Tree = PointKdTree<float, 3>;
using Box = NBoundingBox<float, 3>;

constexpr std::size_t kLeavesInBatch = PointBatch::kCapacity / Tree::kLeafSize;
static_assert(kLeavesInBatch == Tree::kFanOut, "the leaves below a node make one batch");

/// One search: box tests down to nodes of 512 points, which are tested in one batch.
class Search {
 public:
  Search(const Tree& tree, const ClippingRegion<float>& region, std::vector<std::uint32_t>& found)
      : tree_(tree), region_(region), found_(found) {}

  void run() {
    const auto levels = tree_.levels();
    if (!levels.empty()) {
      std::size_t nodeSize = Tree::kLeafSize;
      for (std::size_t level = 1; level < levels.size(); ++level) nodeSize *= Tree::kFanOut;
      visit(levels.size() - 1, 0, nodeSize);
    }
    const std::size_t firstUnbounded = levels.empty() ? 0 : levels[0].numNodes;
    for (std::size_t first = 0; first < tree_.numUnbounded(); first += PointBatch::kCapacity) {
      const std::size_t count = std::min(tree_.numUnbounded() - first, PointBatch::kCapacity);
      test(firstUnbounded + first / Tree::kLeafSize, count, std::nullopt);
    }
  }

 private:
  /// Looks at the siblings of a block of a level; each node there has room for @p nodeSize points.
  void visit(std::size_t level, std::size_t block, std::size_t nodeSize) {
    const Tree::Level& nodes = tree_.levels()[level];
    const std::size_t firstNode = block * Tree::kFanOut;
    const std::size_t numNodes = std::min(nodes.numNodes - firstNode, Tree::kFanOut);
    if (level == 0) {
      Box bounds;
      for (std::size_t i = 0; i < numNodes; ++i) {
        bounds.expand(boxOf(nodes.siblings[block], i).minimum);
        bounds.expand(boxOf(nodes.siblings[block], i).maximum);
      }
      visitBox(0, block, bounds, Tree::kFanOut * nodeSize);
      return;
    }
    for (std::size_t i = 0; i < numNodes; ++i) {
      visitBox(level - 1, firstNode + i, boxOf(nodes.siblings[block], i), nodeSize);
    }
  }

  /// Looks at the @p nodeSize points at most below a block of a level, all of them in @p box.
  void visitBox(std::size_t level, std::size_t block, const Box& box, std::size_t nodeSize) {
    if (!region_.boxIntersects(box)) return;
    const std::size_t first = block * nodeSize;
    const std::size_t count = std::min(nodeSize, tree_.numBounded() - first);
    if (region_.boxInside(box)) {
      const auto indices = tree_.indices().subspan(first, count);
      found_.insert(found_.end(), indices.begin(), indices.end());
    } else if (level == 0) {
      test(first / Tree::kLeafSize, count, box);
    } else {
      visit(level, block, nodeSize / Tree::kFanOut);
    }
  }

  /// Appends those of @p count points, from leaf @p firstLeaf on, that are inside.
  void test(std::size_t firstLeaf, std::size_t count, const std::optional<Box>& bounds) {
    PointBatch batch;
    for (std::size_t point = 0; point < count; point += Tree::kLeafSize) {
      const Tree::Leaf& leaf = tree_.leaves()[firstLeaf + point / Tree::kLeafSize];
      for (std::size_t axis = 0; axis < 3; ++axis) {
        std::memcpy(batch.coordinates[axis] + point, leaf.coordinates[axis], sizeof leaf.coordinates[axis]);
      }
    }
    batch.size = count;
    batch.bounds = bounds;
    batch.pad();
    PointMask inside;
    region_.pointsInside(batch, inside);
    append(firstLeaf, count, inside);
  }

  void append(std::size_t firstLeaf, std::size_t count, const PointMask& inside) {
    const auto indices = tree_.indices().subspan(firstLeaf * Tree::kLeafSize, count);
    for (std::size_t first = 0; first < count; first += PointBatch::kWordBits) {
      std::uint64_t word = inside.words[first / PointBatch::kWordBits];
      if (count - first < PointBatch::kWordBits) word &= (std::uint64_t{1} << (count - first)) - 1;
      for (; word != 0; word &= word - 1) {
        found_.push_back(indices[first + static_cast<std::size_t>(std::countr_zero(word))]);
      }
    }
  }

  static Box boxOf(const Tree::Siblings& siblings, std::size_t i) {
    return {{{siblings.minimum[0][i], siblings.minimum[1][i], siblings.minimum[2][i]}},
            {{siblings.maximum[0][i], siblings.maximum[1][i], siblings.maximum[2][i]}}};
  }

  const Tree& tree_;
  const ClippingRegion<float>& region_;
  std::vector<std::uint32_t>& found_;
};

/// A byte for each of eight bits, 1 or 0, the lowest bit first.
std::uint64_t spread(std::uint64_t eightBits) {
  constexpr std::uint64_t kEveryByte = 0x0101010101010101;
  constexpr std::uint64_t kOneBitOfEach = 0x8040201008040201;
  // A bit that is set is carried to the top of its byte.
  return (((eightBits * kEveryByte & kOneBitOfEach) + 0x7F * kEveryByte) >> 7U) & kEveryByte;
}

}  // namespace

void ClippingRegion<float>::searchImpl(const PointKdTree<float, 3>& tree,
                                       std::vector<std::uint32_t>& indices) const {
  Search(tree, *this, indices).run();
}

void markInside(const ClippingRegion<float>& region, std::span<const float> positions,
                std::span<std::uint8_t> marks) {
  PointBatch batch;
  PointMask inside;
  for (std::size_t first = 0; first < positions.size() / 3; first += PointBatch::kCapacity) {
    const std::size_t count = std::min(positions.size() / 3 - first, PointBatch::kCapacity);
    fillBatch(positions.subspan(3 * first, 3 * count), batch);
    region.pointsInside(batch, inside);
    for (std::size_t i = 0; i < count; i += 8) {
      const std::uint64_t eight =
          spread(inside.words[i / PointBatch::kWordBits] >> i % PointBatch::kWordBits & 0xFFU);
      std::memcpy(&marks[first + i], &eight, std::min(count - i, sizeof eight));
    }
  }
}

}  // namespace Math
