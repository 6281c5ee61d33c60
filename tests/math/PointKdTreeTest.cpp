#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "math/PointKdTree.h"
#include "math/RandomShapes.h"

using Tree = Math::PointKdTree<float, 3>;
using Sphere = Math::NSphere<float, 3>;
using Testing::RandomShapes;

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

template <class Shape>
std::vector<std::uint32_t> found(const Tree& tree, const Shape& shape) {
  std::vector<std::uint32_t> indices;
  tree.search(shape, indices);
  return indices;
}

std::vector<std::uint32_t> sorted(std::vector<std::uint32_t> indices) {
  std::sort(indices.begin(), indices.end());
  return indices;
}

/// Every point tested with the shape's own inside test.
template <class Shape>
std::vector<std::uint32_t> byBruteForce(const std::vector<float>& positions, const Shape& shape) {
  std::vector<std::uint32_t> indices;
  for (std::size_t i = 0; i < positions.size() / 3; ++i) {
    if (Math::inside(shape, {{positions[3 * i], positions[3 * i + 1], positions[3 * i + 2]}})) {
      indices.push_back(static_cast<std::uint32_t>(i));
    }
  }
  return indices;
}

std::vector<std::uint32_t> upTo(std::uint32_t count) {
  std::vector<std::uint32_t> indices(count);
  std::iota(indices.begin(), indices.end(), 0U);
  return indices;
}

/// Points with coordinates that are whole numbers of @p step, so that many lie on faces, on each other and on
/// the borders of shapes made of such numbers.
std::vector<float> gridPoints(RandomShapes& random, std::size_t count, float step) {
  std::vector<float> positions(3 * count);
  for (float& coordinate : positions) {
    coordinate = random.coordinate();
    if (std::isfinite(coordinate)) coordinate = std::round(coordinate / step) * step;
  }
  return positions;
}

/// Pairs of neighbouring points with the shape's border between them, as far as random points are on both
/// sides.
template <class Shape>
std::vector<float> aroundBorder(RandomShapes& random, const Shape& shape, int numPairs) {
  std::vector<float> positions;
  for (int k = 0; k < numPairs; ++k) {
    Math::Point<float, 3> in = random.point<3>();
    Math::Point<float, 3> out = random.point<3>();
    if (!Math::inside(shape, in)) std::swap(in, out);
    if (!Math::inside(shape, in) || Math::inside(shape, out)) continue;
    Testing::closeInOnBorder(shape, in, out);
    positions.insert(positions.end(), {in[0], in[1], in[2], out[0], out[1], out[2]});
  }
  return positions;
}

const Sphere kEverywhere{{{0, 0, 0}}, kInfinity};

template <class Shape>
class PointKdTreeSearch : public ::testing::Test {
 protected:
  /// Searches for random shapes and compares with the points tested one by one.
  static void compare(unsigned seed, const Testing::Terrain& terrain, std::size_t numPoints, int numShapes,
                      float step) {
    SCOPED_TRACE("seed " + std::to_string(seed) + ", " + std::to_string(numPoints) + " points");
    RandomShapes random(seed, terrain);
    const auto positions = gridPoints(random, numPoints, step);
    const Tree tree(positions);
    for (int n = 0; n < numShapes; ++n) {
      const auto shape = random.template shape<Shape>();
      ASSERT_EQ(sorted(found(tree, shape)), byBruteForce(positions, shape)) << "shape " << n;
    }
  }
};
TYPED_TEST_SUITE(PointKdTreeSearch, Testing::QueryShapes);

}  // namespace

TYPED_TEST(PointKdTreeSearch, FindsWhatTheInsideTestAcceptsWhateverTheNumberOfPoints) {
  for (const std::size_t numPoints : {0U, 1U, 31U, 32U, 33U, 64U, 511U, 512U, 513U, 8'193U}) {
    this->compare(1, {0.0F, 10.0F, 0}, numPoints, 20, 1e-4F);
  }
}

TYPED_TEST(PointKdTreeSearch, FindsPointsOnTheBorder) {
  this->compare(2, {0.0F, 4.0F, 0}, 1'500, 100, 1.0F);
  this->compare(3, {1000.0F, 4.0F, 0}, 1'500, 100, 0.25F);
}

TYPED_TEST(PointKdTreeSearch, FindsTheNeighboursOfTheBorderToTheLastBit) {
  RandomShapes random(10, {100.0F, 10.0F, 0});
  for (int n = 0; n < 150; ++n) {
    const auto shape = random.template shape<TypeParam>();
    const auto positions = aroundBorder(random, shape, 60);
    ASSERT_EQ(sorted(found(Tree(positions), shape)), byBruteForce(positions, shape))
        << "seed 10, shape " << n;
  }
}

TYPED_TEST(PointKdTreeSearch, TestsPointsOfNaNAndInfinitiesAsTheInsideTestDoes) {
  this->compare(4, {0.0F, 10.0F, 9}, 2'000, 200, 1e-3F);
}

TYPED_TEST(PointKdTreeSearch, TakesHugeNumbers) { this->compare(5, {0.0F, 1e38F, 30}, 1'000, 50, 1e30F); }

TYPED_TEST(PointKdTreeSearch, GivesTheSameIndicesOnEveryProcessor) {
  RandomShapes random(6, {0.0F, 10.0F, 50});
  const auto positions = gridPoints(random, 3'000, 0.125F);
  const Tree tree(positions);
  std::vector<TypeParam> shapes;
  std::vector<std::vector<std::uint32_t>> expected;
  for (int n = 0; n < 60; ++n) {
    shapes.push_back(random.template shape<TypeParam>());
    expected.push_back(found(tree, shapes.back()));
  }
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    for (std::size_t n = 0; n < shapes.size(); ++n) {
      EXPECT_EQ(found(tree, shapes[n]), expected[n]) << hwy::TargetName(target) << ", shape " << n;
      EXPECT_EQ(sorted(expected[n]), byBruteForce(positions, shapes[n])) << "shape " << n;
    }
  }
  hwy::SetSupportedTargetsForTest(0);
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

TEST(PointKdTree, AppendsToWhatTheListHolds) {
  const Tree tree(std::vector<float>{1, 2, 3});
  std::vector<std::uint32_t> indices{7};
  tree.search(kEverywhere, indices);
  EXPECT_EQ(indices, (std::vector<std::uint32_t>{7, 0}));
}

TEST(PointKdTree, FindsNothingWithoutPoints) {
  const Tree tree(std::span<const float>{});
  EXPECT_TRUE(found(tree, kEverywhere).empty());
  EXPECT_EQ(tree.size(), 0U);
  EXPECT_TRUE(tree.levels().empty());
}

TEST(PointKdTree, TakesPointsThatAreAllEqual) {
  std::vector<float> positions;
  for (int i = 0; i < 5'000; ++i) positions.insert(positions.end(), {1, 2, 3});
  const Tree tree(positions);
  EXPECT_EQ(sorted(found(tree, Sphere{{{1, 2, 3}}, 0})), upTo(5'000));
  EXPECT_TRUE(found(tree, Sphere{{{1, 2, 4}}, 0.5F}).empty());
}

TEST(PointKdTree, TakesPointsOnALineInAnyOrder) {
  std::vector<float> rising;
  for (int i = 0; i < 5'000; ++i) rising.insert(rising.end(), {static_cast<float>(i), 0, 0});
  std::vector<float> falling;
  for (int i = 5'000; i-- > 0;) falling.insert(falling.end(), {static_cast<float>(i), 0, 0});
  const Sphere middle{{{2'500, 0, 0}}, 10};
  for (const auto& positions : {rising, falling}) {
    EXPECT_EQ(sorted(found(Tree(positions), middle)), byBruteForce(positions, middle));
  }
}

TEST(PointKdTree, KeepsPointsThatAreNotFiniteOutOfItsBoxes) {
  const Tree tree(std::vector<float>{0, 0, 0, kNaN, 0, 0, 1, 1, 1, 0, -kInfinity, 0});
  EXPECT_EQ(tree.numBounded(), 2U);
  EXPECT_EQ(tree.numUnbounded(), 2U);
  EXPECT_EQ(tree.levels()[0].siblings[0].maximum[0][0], 1.0F);
  // The inside test of a box lets NaN pass.
  const Math::NBoundingBox<float, 3> box{{{-1, -1, -1}}, {{1, 1, 1}}};
  EXPECT_EQ(found(tree, box), (std::vector<std::uint32_t>{0, 2, 1}));
}

TEST(PointKdTree, GivesIndicesInOneOrderWhateverTheShape) {
  RandomShapes random(7, {0.0F, 10.0F, 0});
  const Tree tree(gridPoints(random, 2'000, 1e-4F));
  const auto all = found(tree, kEverywhere);
  auto some = found(tree, Sphere{{{1, 1, 1}}, 6});
  ASSERT_GT(some.size(), 50U);
  std::size_t next = 0;
  for (const std::uint32_t index : all)
    next += static_cast<std::size_t>(next < some.size() && some[next] == index);
  EXPECT_EQ(next, some.size());
}

TEST(PointKdTree, BoundsEveryNodeTightly) {
  RandomShapes random(8, {0.0F, 10.0F, 0});
  const Tree tree(gridPoints(random, 9'000, 1e-4F));
  ASSERT_EQ(tree.levels().size(), 3U);
  std::size_t nodeSize = Tree::kLeafSize;
  for (const Tree::Level& level : tree.levels()) {
    EXPECT_EQ(level.numNodes, (tree.size() + nodeSize - 1) / nodeSize);
    for (std::size_t node = 0; node < level.numNodes; ++node) {
      Math::NBoundingBox<float, 3> box;
      for (std::size_t i = node * nodeSize; i < std::min((node + 1) * nodeSize, tree.size()); ++i) {
        const auto& leaf = tree.leaves()[i / Tree::kLeafSize].coordinates;
        const std::size_t at = i % Tree::kLeafSize;
        box.expand({{leaf[0][at], leaf[1][at], leaf[2][at]}});
      }
      const Tree::Siblings& siblings = level.siblings[node / Tree::kFanOut];
      for (int axis = 0; axis < 3; ++axis) {
        ASSERT_EQ(siblings.minimum[axis][node % Tree::kFanOut], box.minimum[axis]);
        ASSERT_EQ(siblings.maximum[axis][node % Tree::kFanOut], box.maximum[axis]);
      }
    }
    nodeSize *= Tree::kFanOut;
  }
}

TEST(PointKdTree, CountsItsBytes) {
  RandomShapes random(9, {0.0F, 10.0F, 0});
  const Tree tree(gridPoints(random, 20'000, 1e-4F));
  EXPECT_GE(tree.byteSize(), 20'000 * (3 * sizeof(float) + sizeof(std::uint32_t)));
  EXPECT_LE(tree.byteSize(), 20'000 * 18U);
}

TEST(PointKdTree, RefusesPositionsThatAreNoTriples) {
  EXPECT_THROW(Tree(std::vector<float>{1, 2, 3, 4}), std::invalid_argument);
}
