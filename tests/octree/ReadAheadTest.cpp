// What walks load in advance, and what they must not.
#include <gmock/gmock.h>

#include <thread>

#include "octree/MapLocation.h"
#include "octree/QueryPoints.h"
#include "octree/ReadAhead.h"

namespace {

using Octree::Algorithm::QueryPointsIterator;
using testing::ElementsAre;
using Testing::HierarchyRecord;
using Testing::MapLocation;
using Testing::openOctree;
using Testing::PotreeFiles;
using Testing::somePoints;

using CachePtr = std::shared_ptr<Octree::OctreeNodeCache>;
using LocationPtr = std::shared_ptr<MapLocation>;

/// Root (1 point) and children 0 to 7 (2 to 9 points).
PotreeFiles nineNodes() {
  PotreeFiles files;
  files.node(0xFF, somePoints(1));
  for (std::uint32_t i = 0; i < 8; ++i) files.node(0, somePoints(2 + i, 10 * i));
  return files;
}

QueryPointsIterator walkOf(const LocationPtr& location, const CachePtr& cache = nullptr,
                           std::stop_token stopToken = {}) {
  return Octree::allPoints(openOctree(location), cache, 0, std::move(stopToken));
}

std::vector<std::size_t> sizes(QueryPointsIterator walk) {
  std::vector<std::size_t> found;
  for (; walk != QueryPointsIterator(); ++walk) found.push_back((*walk)->points().size());
  return found;
}

/// Waits for so many requests for node data; the number there were when that took more than ten seconds.
std::size_t requestsAfterWaitingFor(const MapLocation& location, std::size_t count) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (location.requestsFor("octree.bin") < count && std::chrono::steady_clock::now() < end) {
    std::this_thread::yield();
  }
  return location.requestsFor("octree.bin");
}

TEST(ReadAhead, FetchesTheNextNodesWhileTheSecondOneIsUsed) {
  const auto location = std::make_shared<MapLocation>(nineNodes());
  auto walk = walkOf(location);
  (void)*walk;
  EXPECT_EQ(location->requestsFor("octree.bin"), 1U);
  ++walk;
  (void)*walk;
  EXPECT_EQ(requestsAfterWaitingFor(*location, 9), 9U);
}

TEST(ReadAhead, GivesEveryNodeInOrderAndFetchesItOnce) {
  for (const CachePtr& cache : {CachePtr(), std::make_shared<Octree::OctreeNodeCache>(100)}) {
    const auto location = std::make_shared<MapLocation>(nineNodes());
    EXPECT_THAT(sizes(walkOf(location, cache)), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
    EXPECT_EQ(location->requestsFor("octree.bin"), 9U);
  }
}

TEST(ReadAhead, DoesNotBeginWhereNodesAreSkipped) {
  const auto location = std::make_shared<MapLocation>(nineNodes());
  auto walk = walkOf(location);
  std::size_t used = 0;
  for (std::size_t i = 0; walk != QueryPointsIterator(); ++walk, ++i) {
    if (i % 2 == 0) used += (*walk)->points().size() > 0 ? 1 : 0;
  }
  EXPECT_EQ(used, 5U);
  EXPECT_EQ(location->requestsFor("octree.bin"), 5U);
}

TEST(ReadAhead, LeavesOutNodesThatAreCached) {
  const auto location = std::make_shared<MapLocation>(nineNodes());
  const auto octree = openOctree(location);
  const auto cache = std::make_shared<Octree::OctreeNodeCache>(100);
  EXPECT_EQ(sizes(Octree::allPoints(octree, cache, 0, {})).size(), 9U);
  EXPECT_EQ(sizes(Octree::allPoints(octree, cache, 0, {})).size(), 9U);
  EXPECT_EQ(location->requestsFor("octree.bin"), 9U);
}

TEST(ReadAhead, LeavesTheCachesOrderOfUseAsItIs) {
  const auto octree = openOctree(std::make_shared<MapLocation>(nineNodes()));
  const auto cache = std::make_shared<Octree::OctreeNodeCache>(9);
  (void)sizes(Octree::allPoints(octree, cache, 0, {}));
  auto walk = Octree::allPoints(octree, cache, 0, {});
  (void)*walk;
  (void)*++walk;  // looks for all nodes behind
  auto one = std::make_shared<Octree::OctreeNodeCache::CacheEntry>();
  cache->put(*octree, Testing::nodeAt("00"), one);
  EXPECT_FALSE(cache->holds(*octree, Testing::nodeAt("1")));  // the longest unused
  EXPECT_TRUE(cache->holds(*octree, {}));
}

TEST(ReadAhead, CountsWhatWasFetchedAndNotUsed) {
  const auto location = std::make_shared<MapLocation>(nineNodes());
  const auto octree = openOctree(location);
  (void)sizes(Octree::allPoints(octree, nullptr, 0, {}));
  EXPECT_EQ(octree->numUnusedFetches(), 0U);
  auto walk = std::make_unique<QueryPointsIterator>(Octree::allPoints(octree, nullptr, 0, {}));
  (void)**walk;
  (void)*++*walk;
  EXPECT_EQ(requestsAfterWaitingFor(*location, 18), 18U);
  walk.reset();
  EXPECT_EQ(octree->numUnusedFetches(), 7U);
}

TEST(ReadAhead, LeavesOutNodesThatTheShapeDoesNotMeet) {
  const auto location = std::make_shared<MapLocation>(nineNodes());
  // The lower half in x of the cube of side 64: children 0 to 3.
  const Math::NBoundingBox<float, 3> half{{{-10, -10, -10}}, {{20, 100, 100}}};
  using Walk = Octree::Algorithm::QueryPointsInsideIterator<Math::NBoundingBox<float, 3>>;
  Walk walk = Octree::allPointsInside(openOctree(location), nullptr, half, 0, {});
  std::size_t nodes = 0;
  for (; !(walk == Walk()); ++walk) nodes += (*walk) ? 1 : 0;
  EXPECT_EQ(nodes, 5U);
  EXPECT_EQ(location->requestsFor("octree.bin"), 5U);
}

TEST(ReadAhead, KeepsToItsByteBudget) {
  constexpr std::uint64_t kNodeBytes = 21U << 20U;  // of records of 21 bytes: two nodes pass 32 MiB
  PotreeFiles files;
  files.node(0xFF, 1U << 20U, std::string(kNodeBytes, '\1'));
  for (int i = 0; i < 8; ++i) files.record({HierarchyRecord::kLeaf, 0, 1U << 20U, 0, kNodeBytes});
  const auto location = std::make_shared<MapLocation>(files);
  auto walk = walkOf(location);
  (void)*walk;
  (void)*++walk;
  EXPECT_EQ(requestsAfterWaitingFor(*location, 4), 4U);  // the two used and two in advance
}

TEST(ReadAhead, ANodeThatFailsInAdvanceIsAnEmptyEntryAndIsListed) {
  PotreeFiles files;
  files.node(0b111, somePoints(1)).node(0, somePoints(2)).node(0, somePoints(3));
  files.record({HierarchyRecord::kLeaf, 0, 4, 1'000'000, 84});
  const auto octree = openOctree(std::make_shared<MapLocation>(files));
  EXPECT_THAT(sizes(Octree::allPoints(octree, nullptr, 0, {})), ElementsAre(1, 2, 3, 0));
  ASSERT_EQ(octree->unreadableNodes().size(), 1U);
  EXPECT_EQ(octree->unreadableNodes()[0].id.name(), "r2");
}

TEST(ReadAhead, CopiesOfAWalkGoOnByThemselves) {
  const auto location = std::make_shared<MapLocation>(nineNodes());
  auto walk = walkOf(location);
  (void)*walk;
  (void)*++walk;
  const QueryPointsIterator copy = walk;
  EXPECT_THAT(sizes(walk), ElementsAre(2, 3, 4, 5, 6, 7, 8, 9));
  EXPECT_THAT(sizes(copy), ElementsAre(2, 3, 4, 5, 6, 7, 8, 9));
}

TEST(ReadAhead, EndsWithItsWalkWhateverIsUnderWay) {
  for (int round = 0; round < 50; ++round) {
    const auto location = std::make_shared<MapLocation>(nineNodes());
    auto walk = walkOf(location);
    (void)*walk;
    for (int step = 0; step < round % 5; ++step) (void)*++walk;
    walk = QueryPointsIterator();  // the octree goes with it
  }
}

TEST(ReadAhead, AStopOfTheWalkStopsItAndListsNothing) {
  const auto location = std::make_shared<MapLocation>(nineNodes());
  const auto octree = openOctree(location);
  std::stop_source stop;
  auto walk = Octree::allPoints(octree, nullptr, 0, stop.get_token());
  (void)*walk;
  (void)*++walk;
  stop.request_stop();
  std::size_t points = 0;
  for (++walk; walk != QueryPointsIterator(); ++walk) points += (*walk)->points().size();
  EXPECT_LE(points, 42U);
  EXPECT_TRUE(octree->unreadableNodes().empty());
}

}  // namespace
