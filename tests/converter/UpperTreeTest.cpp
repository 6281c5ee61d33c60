#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "converter/Spread.h"
#include "converter/TreePoints.h"
#include "converter/UpperTree.h"
#include "support/ListScan.h"
#include "support/TempFolder.h"

namespace {

using Converter::ChunkTree;
using Converter::Sampling;
using Converter::SortedPoints;
using Converter::SpacingGrid;
using Converter::StoredPosition;
using Octree::OctreeNodeId;
using Testing::PlacesByNode;

constexpr unsigned kEdgeBits = 24;
constexpr std::size_t kLeafPoints = 20;

/// Trees of whole clouds that were cut into chunks.
class UpperTreeTest : public testing::TestWithParam<Sampling> {
 protected:
  UpperTreeTest() {
    records_.attributes = {Testing::scanAttribute<std::uint32_t>("number")};
    records_.offsets = {12};
    records_.stride = Testing::kNumberedStride;
    output_ = std::make_unique<Converter::OutputRecords>(
        records_, Converter::AttributeStatistics(records_).facts(), remarks_);
  }

  /// The points of all nodes when nodes of no more than @p chunkPoints become chunks.
  PlacesByNode nodesOf(const std::vector<StoredPosition>& places, std::size_t chunkPoints,
                       std::uint64_t mostKept = 1'000) {
    Converter::UpperTree upper(GetParam(), *output_, store_, mostKept);
    PlacesByNode nodes;
    chunkFrom({}, places, chunkPoints, upper, nodes);
    for (const auto& node : upper.finish()) {
      finishedLevels_.push_back(node.id.level());
      std::vector<std::byte> bytes = node.records;
      if (bytes.empty()) {
        const auto piece = store_.piecesOf(node.cell).front();
        bytes.resize(piece.size);
        store_.read(piece, bytes);
      }
      for (std::size_t at = 0; at < bytes.size(); at += records_.stride) {
        const StoredPosition p = Converter::positionOf(bytes.data() + at);
        nodes[node.id.name()].push_back({double(p[0]), double(p[1]), double(p[2])});
      }
      EXPECT_EQ(nodes[node.id.name()].size(), node.numPoints);
    }
    for (auto& [name, ofNode] : nodes) std::sort(ofNode.begin(), ofNode.end());
    return nodes;
  }

  Converter::CloudRecords records_;
  std::vector<std::string> remarks_;
  std::unique_ptr<Converter::OutputRecords> output_;
  Testing::TempFolder folder_;
  Core::DiskFileSystem disk_{Core::DiskFileSystem::Sync::No};
  Converter::TempStore store_{disk_, folder_.path() / "points.tmp"};
  const Converter::OutputGrid grid_{{1, 1, 1}, {}, {1U << kEdgeBits, 1U << kEdgeBits, 1U << kEdgeBits}};
  std::vector<std::uint64_t> finishedLevels_;

 private:
  void chunkFrom(OctreeNodeId id, const std::vector<StoredPosition>& places, std::size_t chunkPoints,
                 Converter::UpperTree& upper, PlacesByNode& nodes) {
    if (places.empty()) return;
    const bool onePlace = std::all_of(places.begin(), places.end(),
                                      [&](const StoredPosition& p) { return p == places.front(); });
    if (places.size() > chunkPoints && !onePlace && id.level() < OctreeNodeId::kDeepestLevel) {
      std::array<std::vector<StoredPosition>, 8> parts;
      for (const StoredPosition& p : places)
        parts[childIndexAt(grid_.cubePoint(p), static_cast<unsigned>(id.level()))].push_back(p);
      for (std::uint8_t child = 0; child < 8; ++child)
        chunkFrom(id.child(child), parts[child], chunkPoints, upper, nodes);
      return;
    }
    const SortedPoints points(Testing::numberedRecords(places), Testing::kNumberedStride, grid_,
                              static_cast<unsigned>(id.level()));
    ChunkTree tree(points, id, kLeafPoints, GetParam());
    upper.choose(points, tree);
    tree.select(spacing_, {});
    tree.eachPoint([&](std::size_t node, std::size_t i) {
      nodes[tree.nodes()[node].id.name()].push_back(Testing::placeOf(points, i));
    });
  }

  SpacingGrid spacing_;
};

INSTANTIATE_TEST_SUITE_P(Samplings, UpperTreeTest, testing::Values(Sampling::Poisson, Sampling::Random),
                         [](const auto& sampling) {
                           return sampling.param == Sampling::Poisson ? "Poisson" : "Random";
                         });

TEST_P(UpperTreeTest, NodesGetTheSamePointsForAnyCutIntoChunks) {
  for (const auto& places : Testing::treeClouds(kEdgeBits)) {
    const PlacesByNode uncut = nodesOf(places, 100'000);
    for (const std::size_t chunkPoints : {kLeafPoints, std::size_t{60}, std::size_t{1'000}}) {
      EXPECT_EQ(nodesOf(places, chunkPoints), uncut) << chunkPoints;
    }
  }
}

TEST_P(UpperTreeTest, FinishedNodesGoToTheStoreOnlyWhenMemoryDoesNotDo) {
  const auto places = Testing::treeClouds(kEdgeBits)[0];
  const PlacesByNode kept = nodesOf(places, 60, UINT64_MAX);
  EXPECT_EQ(store_.bytesWritten(), 0U);
  EXPECT_EQ(nodesOf(places, 60, 0), kept);
  EXPECT_GT(store_.bytesWritten(), 0U);
}

TEST_P(UpperTreeTest, NodesAboveChunksAreSampledAsAllOthers) {
  for (const auto& places : Testing::treeClouds(kEdgeBits)) {
    const PlacesByNode nodes = nodesOf(places, 100);
    if (GetParam() == Sampling::Poisson) {
      const Testing::Spread spread = Testing::spreadOf(nodes, std::exp2(kEdgeBits));
      EXPECT_GE(spread.closest, 1);
      EXPECT_LE(spread.farthest, 1.95);
    } else {
      EXPECT_TRUE(Testing::holdsOnePointOfEachCell(nodes, kEdgeBits));
    }
  }
}

TEST_P(UpperTreeTest, FinishesTheDeepestNodesFirstAndTheRootLast) {
  (void)nodesOf(Testing::treeClouds(kEdgeBits)[0], 100);
  EXPECT_GT(finishedLevels_.front(), 4);
  EXPECT_TRUE(std::is_sorted(finishedLevels_.rbegin(), finishedLevels_.rend()));
  EXPECT_EQ(finishedLevels_.back(), 0);
}

}  // namespace
