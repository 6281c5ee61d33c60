#include <gmock/gmock.h>

#include <algorithm>

#include "converter/CellTree.h"
#include "sample/RandomBits.h"

namespace {

using Converter::CellTree;
using Converter::Chunk;
using Converter::CubePoint;
using Converter::cutIntoChunks;
using Converter::FilledCell;
using Octree::OctreeNodeId;
using testing::ElementsAre;

bool liesIn(const CubePoint& p, OctreeNodeId id) {
  for (unsigned level = 0; level < id.level(); ++level) {
    if (childIndexAt(p, level) != id.childIndexAt(level + 1)) return false;
  }
  return true;
}

/// Half of them anywhere, half in an ever smaller corner.
std::vector<CubePoint> randomPlaces(std::size_t count) {
  Sample::RandomBits random(1);
  std::vector<CubePoint> places;
  for (std::size_t i = 0; i < count; ++i) {
    const auto next = [&] {
      return static_cast<std::uint32_t>(random.next() >> 32U >> (i % 2 == 0 ? 0 : i % 17));
    };
    places.push_back({next(), next(), next()});
  }
  return places;
}

OctreeNodeId node(std::string_view digits) {
  OctreeNodeId id;
  for (const char digit : digits) id = id.child(static_cast<std::uint8_t>(digit - '0'));
  return id;
}

TEST(CellTree, EveryPlaceLiesInItsCell) {
  const CellTree tree(randomPlaces(1'000), 20);
  EXPECT_GT(tree.size(), 50);
  for (const CubePoint& p : randomPlaces(5'000)) ASSERT_TRUE(liesIn(p, tree.id(tree.cellOf(p))));
}

TEST(CellTree, NoCellHoldsMoreOfTheSampleThanAllowed) {
  const CellTree tree(randomPlaces(1'000), 20);
  std::vector<std::size_t> counts(tree.size());
  for (const CubePoint& p : randomPlaces(1'000)) ++counts[tree.cellOf(p)];
  EXPECT_LE(*std::max_element(counts.begin(), counts.end()), 20);
}

TEST(CellTree, CellsAreNumberedAlongTheCurve) {
  const CellTree tree(randomPlaces(1'000), 20);
  auto places = randomPlaces(3'000);
  std::sort(places.begin(), places.end(),
            [](const CubePoint& a, const CubePoint& b) { return compareAlongCurve(a, b) < 0; });
  for (std::size_t i = 1; i < places.size(); ++i)
    ASSERT_LE(tree.cellOf(places[i - 1]), tree.cellOf(places[i]));
}

TEST(CellTree, SplitsManyPlacesInOneNoFurtherThanTheDeepestLevel) {
  const CellTree tree(std::vector<CubePoint>(100, {7, 7, 7}), 20);
  EXPECT_EQ(tree.id(tree.cellOf({7, 7, 7})).level(), 21);
  EXPECT_EQ(tree.size(), 1 + 7 * 21);
}

TEST(CellTree, IsTheWholeCubeWithoutASample) {
  EXPECT_EQ(CellTree().size(), 1);
  EXPECT_TRUE(CellTree({}, 1).id(0).isRoot());
  EXPECT_EQ(CellTree().cellOf({UINT32_MAX, 0, 5}), 0);
}

TEST(CellTree, ChildrenOfANodeAreItsCells) {
  const CellTree tree = CellTree::childrenOf(node("70"));
  ASSERT_EQ(tree.size(), 8);
  EXPECT_EQ(tree.id(5), node("705"));
  constexpr std::uint32_t kUpper = 1U << 29U;  // of level 2
  EXPECT_EQ(tree.cellOf({1U << 31U | kUpper, 1U << 31U, 1U << 31U | kUpper}), 5);
}

TEST(CutIntoChunks, TakesTheLargestNodesThatHoldNoMoreThanAllowed) {
  const std::vector<FilledCell> cells{{node("0"), 40}, {node("10"), 30}, {node("11"), 30}, {node("12"), 1},
                                      {node("13"), 0}, {node("2"), 60},  {node("3"), 0}};
  const std::vector<Chunk> chunks = cutIntoChunks(cells, 61);
  ASSERT_EQ(chunks.size(), 3);
  EXPECT_EQ(chunks[0].id, node("0"));
  EXPECT_EQ(chunks[1].id, node("1"));
  EXPECT_EQ(chunks[1].bytes, 61);
  EXPECT_THAT(chunks[1].cells, ElementsAre(1, 2, 3));
  EXPECT_EQ(chunks[2].id, node("2"));
}

TEST(CutIntoChunks, MakesOneChunkOfASmallCloudAndNoneOfNothing) {
  const std::vector<FilledCell> cells{{node("0"), 40}, {node("1"), 0}, {node("2"), 2}};
  ASSERT_EQ(cutIntoChunks(cells, 42).size(), 1);
  EXPECT_TRUE(cutIntoChunks(cells, 42)[0].id.isRoot());
  EXPECT_TRUE(cutIntoChunks({{OctreeNodeId(), 0}}, 42).empty());
}

TEST(CutIntoChunks, MakesAChunkOfACellThatHoldsTooMuchByItself) {
  const std::vector<FilledCell> cells{{node("01"), 100}, {node("02"), 1}};
  const std::vector<Chunk> chunks = cutIntoChunks(cells, 50);
  ASSERT_EQ(chunks.size(), 2);
  EXPECT_EQ(chunks[0].id, node("01"));
}

TEST(CutIntoChunks, GivesPointsOfOnePlaceTheLargestNodeThatTheyHaveToThemselves) {
  const std::vector<FilledCell> cells{{node("01234"), 100, true}, {node("02"), 1}};
  const std::vector<Chunk> chunks = cutIntoChunks(cells, 50);
  ASSERT_EQ(chunks.size(), 2);
  EXPECT_EQ(chunks[0].id, node("01"));
  EXPECT_EQ(chunks[1].id, node("02"));
}

}  // namespace
