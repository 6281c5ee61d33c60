#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <variant>
#include <vector>

#include "math/BoxTests.h"
#include "math/PointKdTree.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "math/PointKdTreeSearch.cpp"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"
#include "math/PointKdTreeFilters-inl.h"

#ifndef SORVIK_MATH_POINT_KD_TREE_SEARCH_ONCE
#define SORVIK_MATH_POINT_KD_TREE_SEARCH_ONCE
namespace Math {

using QueryShape = std::variant<const NBoundingBox<float, 3>*, const NBoundingBox<float, 2>*,
                                const NSphere<float, 3>*, const NSphere<float, 2>*,
                                const NOrientedBoundingBox<float, 3>*, const NOrientedBoundingBox<float, 2>*,
                                const Polygon<float>*, const Cylinder<float>*, const CylinderFinite<float>*>;

}  // namespace Math
#endif

HWY_BEFORE_NAMESPACE();
namespace Math::HWY_NAMESPACE {

using Tree = PointKdTree<float, 3>;

/// Siblings by bit: those to look into, and those of them that lie inside as a whole.
struct Choice {
  std::uint32_t overlapping = 0;
  std::uint32_t contained = 0;
};

HWY_INLINE std::uint32_t bitsOf(Mask mask) {
  HWY_ALIGN std::uint8_t bytes[8] = {};  // as many as StoreMaskBits may write
  hn::StoreMaskBits(Floats(), mask, bytes);
  return bytes[0] | static_cast<std::uint32_t>(bytes[1]) << 8U;
}

/// Writes the accepted ones of one vector of @p indices to @p to, where there must be room for all, and
/// returns their number.
HWY_INLINE std::size_t compress(const std::uint32_t* indices, Mask accepted, std::uint32_t* to) {
#if HWY_TARGET <= HWY_AVX3
  // A compressing store is microcoded on some processors, so compress first and store all lanes.
  const hn::RebindToUnsigned<Floats> wholes;
  hn::StoreU(hn::Compress(hn::LoadU(wholes, indices), hn::RebindMask(wholes, accepted)), wholes, to);
  return hn::CountTrue(Floats(), accepted);
#else
  // Elsewhere compressing takes a table, which g++ copies to the stack for every vector.
  const std::uint32_t bits = bitsOf(accepted);
  if (bits == 0) return 0;
  std::size_t count = 0;
  for (std::size_t lane = 0; lane < hn::Lanes(Floats()); ++lane) {
    to[count] = indices[lane];
    count += bits >> lane & 1U;
  }
  return count;
#endif
}

/// One search: walks the tree from the top and appends what is inside in the tree's order.
template <class Shape>
class Search {
 public:
  Search(const Tree& tree, const Shape& shape, std::vector<std::uint32_t>& found)
      : tree_(tree), shape_(shape), filter_(shape), found_(found) {}

  void run() {
    if (!tree_.levels().empty()) {
      std::size_t nodeSize = Tree::kLeafSize;
      for (std::size_t level = 1; level < tree_.levels().size(); ++level) nodeSize *= Tree::kFanOut;
      visit(tree_.levels().size() - 1, 0, nodeSize);
    }
    const std::size_t firstUnbounded = tree_.levels().empty() ? 0 : tree_.levels()[0].numNodes;
    for (std::size_t first = 0; first < tree_.numUnbounded(); first += Tree::kLeafSize) {
      filterLeaf(firstUnbounded + first / Tree::kLeafSize, tree_.numUnbounded() - first);
    }
  }

 private:
  /// Looks into the siblings of a block of a level; each node there has room for @p nodeSize points.
  void visit(std::size_t level, std::size_t block, std::size_t nodeSize) {
    const Tree::Level& nodes = tree_.levels()[level];
    const std::size_t firstNode = block * Tree::kFanOut;
    const std::size_t count = std::min(nodes.numNodes - firstNode, Tree::kFanOut);
    const Choice choice = choose(nodes.siblings[block], count, level);
    for (std::uint32_t left = choice.overlapping; left != 0; left &= left - 1) {
      const std::size_t sibling = hwy::Num0BitsBelowLS1Bit_Nonzero32(left);
      const std::size_t first = (firstNode + sibling) * nodeSize;
      if ((choice.contained >> sibling & 1U) != 0) {
        const auto indices = tree_.indices().subspan(first, std::min(nodeSize, tree_.numBounded() - first));
        found_.insert(found_.end(), indices.begin(), indices.end());
      } else if (level == 0) {
        filterLeaf(firstNode + sibling, tree_.numBounded() - first);
      } else {
        visit(level - 1, firstNode + sibling, nodeSize / Tree::kFanOut);
      }
    }
  }

  Choice choose(const Siblings& siblings, std::size_t count, std::size_t level) const {
    Choice choice;
    if constexpr (kTestsVectors) {
      for (std::size_t first = 0; first < count; first += hn::Lanes(Floats())) {
        choice.overlapping |= bitsOf(filter_.overlapping(siblings, first)) << first;
        choice.contained |= bitsOf(filter_.contained(siblings, first)) << first;
      }
    } else if (level == 0) {
      // Testing one leaf's box costs more than filtering its points.
      choice.overlapping = ~std::uint32_t{0};
    } else {
      for (std::size_t i = 0; i < count; ++i) {
        const NBoundingBox<float, 3> box = {
            {{siblings.minimum[0][i], siblings.minimum[1][i], siblings.minimum[2][i]}},
            {{siblings.maximum[0][i], siblings.maximum[1][i], siblings.maximum[2][i]}}};
        choice.overlapping |= static_cast<std::uint32_t>(overlaps(shape_, box)) << i;
        choice.contained |= static_cast<std::uint32_t>(contains(shape_, box)) << i;
      }
    }
    choice.overlapping &= (std::uint32_t{1} << count) - 1;
    return choice;
  }

  /// Appends the points of a leaf that are inside, of which it has @p count (what exceeds 32 is other
  /// leaves').
  HWY_INLINE void filterLeaf(std::size_t leaf, std::size_t count) {
    const Tree::Leaf& points = tree_.leaves()[leaf];
    const std::uint32_t* const indices = tree_.indices().data() + leaf * Tree::kLeafSize;
    HWY_ALIGN std::uint32_t inside[Tree::kLeafSize + Tree::kFanOut];
    std::size_t numInside = 0;
    for (std::size_t i = 0; i < std::min(count, Tree::kLeafSize); i += hn::Lanes(Floats())) {
      Mask accepted = filter_.inside(hn::Load(Floats(), points.coordinates[0] + i),
                                     hn::Load(Floats(), points.coordinates[1] + i),
                                     hn::Load(Floats(), points.coordinates[2] + i));
      if (count - i < hn::Lanes(Floats())) accepted = hn::And(accepted, hn::FirstN(Floats(), count - i));
      numInside += compress(indices + i, accepted, inside + numInside);
    }
    found_.insert(found_.end(), inside, inside + numInside);
  }

  static constexpr bool kTestsVectors = requires(const Filter<Shape>& filter, const Siblings& siblings) {
    filter.overlapping(siblings, std::size_t{});
  };

  const Tree& tree_;
  const Shape& shape_;
  Filter<Shape> filter_;
  std::vector<std::uint32_t>& found_;
};

void searchTree(const Tree& tree, const QueryShape& anyShape, std::vector<std::uint32_t>& found) {
  std::visit([&](const auto* shape) HWY_ATTR { Search(tree, *shape, found).run(); }, anyShape);
}

}  // namespace Math::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Math {

HWY_EXPORT(searchTree);

template <class Shape>
void PointKdTree<float, 3>::search(const Shape& shape, std::vector<std::uint32_t>& indices) const {
  HWY_DYNAMIC_DISPATCH(searchTree)(*this, &shape, indices);
}

template void PointKdTree<float, 3>::search(const NBoundingBox<float, 3>&, std::vector<std::uint32_t>&) const;
template void PointKdTree<float, 3>::search(const NBoundingBox<float, 2>&, std::vector<std::uint32_t>&) const;
template void PointKdTree<float, 3>::search(const NSphere<float, 3>&, std::vector<std::uint32_t>&) const;
template void PointKdTree<float, 3>::search(const NSphere<float, 2>&, std::vector<std::uint32_t>&) const;
template void PointKdTree<float, 3>::search(const NOrientedBoundingBox<float, 3>&,
                                            std::vector<std::uint32_t>&) const;
template void PointKdTree<float, 3>::search(const NOrientedBoundingBox<float, 2>&,
                                            std::vector<std::uint32_t>&) const;
template void PointKdTree<float, 3>::search(const Polygon<float>&, std::vector<std::uint32_t>&) const;
template void PointKdTree<float, 3>::search(const Cylinder<float>&, std::vector<std::uint32_t>&) const;
template void PointKdTree<float, 3>::search(const CylinderFinite<float>&, std::vector<std::uint32_t>&) const;

}  // namespace Math
#endif
