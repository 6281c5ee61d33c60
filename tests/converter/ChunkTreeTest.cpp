#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "converter/ChunkTree.h"
#include "converter/Spread.h"
#include "converter/TreePoints.h"
#include "sample/RandomBits.h"

namespace {

using Converter::ChunkTree;
using Converter::Sampling;
using Converter::SortedPoints;
using Converter::SpacingGrid;
using Converter::StoredPosition;
using Octree::OctreeNodeId;
using Testing::holdsOnePointOfEachCell;
using Testing::PlacesByNode;
using Testing::spreadOf;

constexpr unsigned kEdgeBits = 24;
const Converter::OutputGrid kGrid({1, 1, 1}, {}, {1U << kEdgeBits, 1U << kEdgeBits, 1U << kEdgeBits});

SortedPoints sortedPoints(const std::vector<StoredPosition>& places, unsigned level = 0) {
  return {Testing::numberedRecords(places), Testing::kNumberedStride, kGrid, level};
}

/// A tree over points that coarser nodes did not choose from.
struct SelectedTree {
  ChunkTree tree;

  SelectedTree(const SortedPoints& points, std::size_t leafPoints, Sampling sampling = Sampling::Poisson,
               OctreeNodeId root = {})
      : tree(points, root, leafPoints, sampling) {
    SpacingGrid grid;
    tree.select(grid, {});
  }
};

/// By the names that the nodes would have if the tree's root were that of the cloud.
PlacesByNode placesOf(const SortedPoints& points, const ChunkTree& tree) {
  const std::uint64_t rootLevel = tree.nodes().front().id.level();
  PlacesByNode nodes;
  tree.eachPoint([&](std::size_t node, std::size_t i) {
    nodes["r" + tree.nodes()[node].id.name().substr(1 + rootLevel)].push_back(Testing::placeOf(points, i));
  });
  return nodes;
}

TEST(ChunkTree, HoldsEveryPointInExactlyOneNode) {
  for (const auto sampling : {Sampling::Poisson, Sampling::Random}) {
    for (const auto& places : Testing::treeClouds(kEdgeBits)) {
      const SortedPoints points = sortedPoints(places);
      const SelectedTree selected(points, 20, sampling);
      std::vector<int> times(points.size());
      std::vector<std::uint32_t> counts(selected.tree.nodes().size());
      selected.tree.eachPoint([&](std::size_t node, std::size_t i) {
        ++times[i];
        ++counts[node];
      });
      EXPECT_THAT(times, testing::Each(1));
      for (std::size_t node = 0; node < counts.size(); ++node) {
        EXPECT_EQ(selected.tree.nodes()[node].numPoints, counts[node]);
      }
    }
  }
}

TEST(ChunkTree, InnerNodesKeepTheirSpacingAndCoverWhatLiesBelow) {
  for (const auto& places : Testing::treeClouds(kEdgeBits)) {
    const SortedPoints points = sortedPoints(places);
    const Testing::Spread spread =
        spreadOf(placesOf(points, SelectedTree(points, 20).tree), std::exp2(kEdgeBits));
    EXPECT_GE(spread.closest, 1);
    EXPECT_LE(spread.farthest, 1.95);
  }
}

TEST(ChunkTree, RandomSamplingTakesOnePointOfEachCell) {
  for (const auto& places : Testing::treeClouds(kEdgeBits)) {
    const SortedPoints points = sortedPoints(places);
    EXPECT_TRUE(holdsOnePointOfEachCell(placesOf(points, SelectedTree(points, 20, Sampling::Random).tree),
                                        kEdgeBits));
  }
}

TEST(ChunkTree, PointsLieInTheirNodes) {
  for (const auto& places : Testing::treeClouds(kEdgeBits)) {
    const SortedPoints points = sortedPoints(places);
    const SelectedTree selected(points, 20);
    selected.tree.eachPoint([&](std::size_t node, std::size_t i) {
      const OctreeNodeId id = selected.tree.nodes()[node].id;
      for (unsigned level = 0; level < id.level(); ++level) {
        ASSERT_EQ(childIndexAt(points.cubePoint(i), level), id.childIndexAt(level + 1));
      }
    });
  }
}

TEST(ChunkTree, NodesStandBreadthFirstAlongTheCurveBehindTheirParents) {
  const SortedPoints points = sortedPoints(Testing::treeClouds(kEdgeBits)[0]);
  const SelectedTree selected(points, 20);
  const auto& nodes = selected.tree.nodes();
  EXPECT_TRUE(std::is_sorted(nodes.begin(), nodes.end(),
                             [](const auto& a, const auto& b) { return a.id.value() < b.id.value(); }));
  for (std::size_t i = 1; i < nodes.size(); ++i) {
    EXPECT_EQ(nodes[nodes[i].parent].id, nodes[i].id.parent());
    EXPECT_LT(nodes[i].begin, nodes[i].end);
    EXPECT_FALSE(nodes[nodes[i].parent].leaf);
  }
}

TEST(ChunkTree, ANodeOfNoMoreThanTheLimitIsALeaf) {
  auto places = Testing::treeClouds(kEdgeBits)[0];
  places.resize(20);
  const SortedPoints few = sortedPoints(places);
  EXPECT_EQ(SelectedTree(few, 20).tree.nodes().size(), 1);
  EXPECT_GT(SelectedTree(few, 19).tree.nodes().size(), 1);
}

TEST(ChunkTree, APlaceOfMorePointsThanTheLimitIsOneLeaf) {
  const SortedPoints points = sortedPoints(std::vector<StoredPosition>(1'000, {7, 8, 9}));
  const SelectedTree selected(points, 20);
  ASSERT_EQ(selected.tree.nodes().size(), 1);
  EXPECT_TRUE(selected.tree.nodes()[0].leaf);
  EXPECT_EQ(selected.tree.nodes()[0].numPoints, 1'000);
}

TEST(ChunkTree, ANodeOfTheDeepestLevelIsALeaf) {
  const Converter::OutputGrid grid({1, 1, 1}, {}, {1U << 30U, 1U << 30U, 1U << 30U});
  std::vector<StoredPosition> places;
  for (std::uint32_t i = 0; i < 500; ++i) places.push_back({i % 8, i / 8 % 8, i / 64});
  const SortedPoints points(Testing::numberedRecords(places), Testing::kNumberedStride, grid, 0);
  const SelectedTree selected(points, 20);
  const auto& deepest = selected.tree.nodes().back();
  EXPECT_EQ(deepest.id.level(), 21);
  EXPECT_TRUE(deepest.leaf);
  EXPECT_GT(deepest.numPoints, 400);
}

TEST(ChunkTree, ADeepChunkIsSampledAsOneAtTheTop) {
  constexpr unsigned kRootLevel = 7;
  OctreeNodeId root;
  while (root.level() < kRootLevel) root = root.child(0);
  const SortedPoints points = sortedPoints(Testing::treeClouds(kEdgeBits - kRootLevel)[0], kRootLevel);
  const SelectedTree selected(points, 20, Sampling::Poisson, root);
  EXPECT_GT(selected.tree.nodes().back().id.level(), 15) << "more than the keys of the points tell apart";
  const Testing::Spread spread = spreadOf(placesOf(points, selected.tree), std::exp2(kEdgeBits - kRootLevel));
  EXPECT_GE(spread.closest, 1);
  EXPECT_LE(spread.farthest, 1.95);
}

TEST(ChunkTree, DoesNotDependOnTheOrderInWhichPointsCame) {
  auto places = Testing::treeClouds(kEdgeBits)[1];
  const SortedPoints points = sortedPoints(places);
  std::reverse(places.begin(), places.end());
  const SortedPoints reversed = sortedPoints(places);
  EXPECT_EQ(placesOf(points, SelectedTree(points, 20).tree),
            placesOf(reversed, SelectedTree(reversed, 20).tree));
}

TEST(ChunkTree, StopsWhenToldTo) {
  const SortedPoints points = sortedPoints(Testing::treeClouds(kEdgeBits)[0]);
  ChunkTree tree(points, {}, 20, Sampling::Poisson);
  std::stop_source stop;
  stop.request_stop();
  SpacingGrid grid;
  EXPECT_ANY_THROW(tree.select(grid, stop.get_token()));
}

}  // namespace
