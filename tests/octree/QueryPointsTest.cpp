// The plain walk over all points.
#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <stdexcept>

#include "octree/MapLocation.h"
#include "octree/QueryPoints.h"

namespace {

using Octree::Algorithm::QueryPointsIterator;
using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using Testing::MapLocation;
using Testing::messageOf;
using Testing::openOctree;
using Testing::PotreeFiles;
using Testing::somePoints;

constexpr const char* kFailed = "Failed to fetch node by id";

/// Root (1 point), children 0 (2) and 5 (3), grandchildren 00 (4) and 57 (5).
PotreeFiles fiveNodes() {
  return PotreeFiles()
      .node(0b10'0001, somePoints(1))
      .node(0b1, somePoints(2, 10))
      .node(0b1000'0000, somePoints(3, 20))
      .node(0, somePoints(4, 30))
      .node(0, somePoints(5, 40));
}

/// The first request for the data of the second of fiveNodes() fails, whatever was read ahead before it.
void failSecondNodeOnce(MapLocation& location) {
  const std::uint64_t pointSize = fiveNodes().files().at("octree.bin").size() / (1 + 2 + 3 + 4 + 5);
  location.watch(
      [pointSize, failed = std::make_shared<std::atomic<bool>>()](const MapLocation::Request& request) {
        if (request.name == "octree.bin" && request.byteOffset == pointSize && !failed->exchange(true)) {
          throw std::runtime_error("map/octree.bin: injected fault");
        }
      });
}

/// The same with a chunk of its own for each child of the root.
PotreeFiles threeChunks() {
  PotreeFiles files;
  files.node(0b10'0001, somePoints(1)).proxy(3, 2).proxy(5, 2).endFirstChunk();
  files.node(0b1, somePoints(2, 10)).node(0, somePoints(4, 30));
  return files.node(0b1000'0000, somePoints(3, 20)).node(0, somePoints(5, 40));
}

/// Points per node of a walk, in its order.
std::vector<std::size_t> sizes(QueryPointsIterator walk) {
  std::vector<std::size_t> found;
  for (; walk != QueryPointsIterator(); ++walk) found.push_back((*walk)->points().size());
  return found;
}

QueryPointsIterator walkOf(const std::shared_ptr<Octree::Octree>& octree, float minSpacing = 0,
                           std::shared_ptr<Octree::OctreeNodeCache> cache = nullptr) {
  return Octree::allPoints(octree, std::move(cache), minSpacing, {});
}

std::shared_ptr<Octree::OctreeNodeCache> cacheOf(std::uint64_t capacity) {
  return std::make_shared<Octree::OctreeNodeCache>(capacity);
}

TEST(AllPoints, VisitsEveryNodeBreadthFirst) {
  EXPECT_THAT(sizes(walkOf(openOctree(fiveNodes()))), ElementsAre(1, 2, 3, 4, 5));
  EXPECT_THAT(sizes(walkOf(openOctree(threeChunks()))), ElementsAre(1, 2, 3, 4, 5));
}

TEST(AllPoints, EndsEqualToADefaultIterator) {
  QueryPointsIterator walk = walkOf(openOctree(fiveNodes()));
  for (int i = 0; i < 5; ++i, ++walk) EXPECT_NE(walk, QueryPointsIterator());
  EXPECT_EQ(walk, QueryPointsIterator());
  ++walk;
  EXPECT_EQ(walk, QueryPointsIterator());
}

TEST(AllPoints, ComparesByOctreeAndNode) {
  const auto octree = openOctree(fiveNodes());
  QueryPointsIterator walk = walkOf(octree);
  EXPECT_EQ(walk, walkOf(octree));
  EXPECT_NE(walk, walkOf(openOctree(fiveNodes())));
  ++walk;
  EXPECT_NE(walk, walkOf(octree));
}

TEST(AllPoints, GoesNoDeeperThanTheLeastSpacingAsksFor) {
  const auto octree = openOctree(fiveNodes());  // spacing 0.5, 0.25, 0.125
  EXPECT_EQ(sizes(walkOf(octree, 0.125F)).size(), 5U);
  EXPECT_EQ(sizes(walkOf(octree, 0.126F)).size(), 3U);
  EXPECT_EQ(sizes(walkOf(octree, 0.25F)).size(), 3U);
  EXPECT_EQ(sizes(walkOf(octree, 0.2501F)).size(), 1U);
  EXPECT_EQ(sizes(walkOf(octree, 1e30F)).size(), 1U);
}

TEST(AllPoints, FetchesPointsOnlyOfNodesThatAreAskedFor) {
  const auto location = std::make_shared<MapLocation>(fiveNodes());
  QueryPointsIterator walk = walkOf(openOctree(location));
  ++walk;
  ++walk;
  EXPECT_EQ(location->requestsFor("octree.bin"), 0U);
  EXPECT_EQ((*walk)->points().size(), 3U);
  EXPECT_EQ(location->requestsFor("octree.bin"), 1U);
}

TEST(AllPoints, GivesTheSameEntryTwiceAtOnePosition) {
  QueryPointsIterator walk = walkOf(openOctree(fiveNodes()));
  const auto first = *walk;
  EXPECT_EQ(*walk, first);
}

TEST(AllPoints, SharesEntriesWithTheCache) {
  const auto location = std::make_shared<MapLocation>(fiveNodes());
  const auto octree = openOctree(location);
  const auto cache = cacheOf(10);
  const auto first = *walkOf(octree, 0, cache);
  EXPECT_EQ(*walkOf(octree, 0, cache), first);
  EXPECT_EQ(location->requestsFor("octree.bin"), 1U);
}

TEST(AllPoints, KeepsAnEntryThatTheCacheEvicted) {
  QueryPointsIterator walk = walkOf(openOctree(fiveNodes()), 0, cacheOf(1));
  const auto root = *walk;
  ++walk;
  EXPECT_EQ((*walk)->points().size(), 2U);
  EXPECT_EQ(root->points().size(), 1U);
}

TEST(AllPoints, CopiesAreWalksOfTheirOwn) {
  QueryPointsIterator walk = walkOf(openOctree(fiveNodes()));
  ++walk;
  const QueryPointsIterator copy = walk;
  EXPECT_THAT(sizes(walk), ElementsAre(2, 3, 4, 5));
  EXPECT_THAT(sizes(copy), ElementsAre(2, 3, 4, 5));
}

TEST(AllPoints, OutlivesEveryOtherOwnerOfTheOctree) {
  auto octree = openOctree(fiveNodes());
  const QueryPointsIterator walk = walkOf(octree, 0, cacheOf(3));
  octree.reset();
  EXPECT_THAT(sizes(walk), ElementsAre(1, 2, 3, 4, 5));
}

TEST(AllPoints, YieldsAnEmptyEntryForANodeThatCannotBeReadAndGoesOn) {
  const auto location = std::make_shared<MapLocation>(fiveNodes());
  const auto octree = openOctree(location);
  failSecondNodeOnce(*location);
  EXPECT_THAT(sizes(walkOf(octree, 0, cacheOf(10))), ElementsAre(1, 0, 3, 4, 5));
  ASSERT_EQ(octree->unreadableNodes().size(), 1U);
  EXPECT_EQ(octree->unreadableNodes()[0].reason, "map/octree.bin: injected fault");
}

TEST(AllPoints, DoesNotCacheAFailedLoad) {
  const auto location = std::make_shared<MapLocation>(fiveNodes());
  const auto octree = openOctree(location);
  const auto cache = cacheOf(10);
  failSecondNodeOnce(*location);
  EXPECT_THAT(sizes(walkOf(octree, 0, cache)), ElementsAre(1, 0, 3, 4, 5));
  EXPECT_THAT(sizes(walkOf(octree, 0, cache)), ElementsAre(1, 2, 3, 4, 5));
}

TEST(AllPoints, LetsAnUnreadableHierarchyChunkOutOfTheStepAndGoesOnBehindIt) {
  const auto location = std::make_shared<MapLocation>(threeChunks());
  const auto octree = openOctree(location);
  QueryPointsIterator walk = walkOf(octree);
  location->failRequest(1);
  EXPECT_EQ(messageOf([&] { ++walk; }), kFailed);
  ++walk;
  EXPECT_THAT(sizes(walk), ElementsAre(3, 5));  // the subtree of child 0 is missing, that of child 5 is not
}

TEST(AllPoints, YieldsEmptyEntriesOnceStopped) {
  std::stop_source stop;
  const auto location = std::make_shared<MapLocation>(fiveNodes());
  const auto octree = openOctree(location);
  QueryPointsIterator walk = Octree::allPoints(octree, nullptr, 0, stop.get_token());
  stop.request_stop();
  EXPECT_EQ((*walk)->points().size(), 0U);
  EXPECT_TRUE(octree->unreadableNodes().empty());
}

TEST(AllPoints, YieldsOneEmptyEntryForACloudWithoutPoints) {
  const auto octree = openOctree(PotreeFiles{});
  EXPECT_THAT(sizes(walkOf(octree)), ElementsAre(0));
  EXPECT_TRUE(octree->unreadableNodes().empty());
}

/// Chunks of eight proxies each, all for the next chunk: some kilobytes that announce 8^20 nodes.
PotreeFiles hierarchyBomb() {
  PotreeFiles files;
  for (std::uint64_t chunk = 0; chunk < 20; ++chunk) {
    files.record({.childMask = 0xFF});
    for (int i = 0; i < 8; ++i) files.proxy(9 * (chunk + 1), 9);
    if (chunk == 0) files.endFirstChunk();
  }
  files.record({.childMask = 0});
  for (int i = 0; i < 8; ++i) files.record({});
  return files.set("/points", "1");
}

TEST(AllPoints, ThrowsAtAHierarchyBombAndIsThenAtItsEnd) {
  const auto location = std::make_shared<MapLocation>(hierarchyBomb());
  QueryPointsIterator walk = walkOf(openOctree(location));
  std::size_t steps = 0;
  const std::string message = messageOf([&] {
    for (; walk != QueryPointsIterator(); ++walk) ++steps;
  });
  EXPECT_THAT(message, HasSubstr("expected at most 1513 nodes, found more"));
  EXPECT_EQ(walk, QueryPointsIterator());
  EXPECT_LE(steps, 10'000U);
}

TEST(AllPoints, CarriesItsCountIntoCopies) {
  QueryPointsIterator walk = walkOf(openOctree(hierarchyBomb()));
  for (int i = 0; i < 9'000; ++i) ++walk;
  QueryPointsIterator copy = walk;
  std::size_t steps = 0;
  EXPECT_THAT(messageOf([&] {
                for (; copy != QueryPointsIterator(); ++copy) ++steps;
              }),
              HasSubstr("found more"));
  EXPECT_LE(steps, 1'000U);
}

TEST(AllPoints, AsksForTheHierarchysSizeOnlyAfterTenThousandNodes) {
  PotreeFiles files;
  files.record({.childMask = 0xFF});
  for (int i = 0; i < 8 + 64 + 512 + 4096; ++i) files.record({.childMask = 0xFF});
  for (int i = 0; i < 8 * 4096; ++i) files.record({});  // 37,449 nodes in all, each with a record
  const auto location = std::make_shared<MapLocation>(files.set("/points", "1"));
  QueryPointsIterator walk = walkOf(openOctree(location));
  for (int i = 1; i < 10'000; ++i) ++walk;
  EXPECT_EQ(location->requestsFor("hierarchy.bin"), 1U);
  std::size_t nodes = 10'000;
  for (++walk; walk != QueryPointsIterator(); ++walk) ++nodes;
  EXPECT_EQ(nodes, 37'449U);
  EXPECT_EQ(location->requestsFor("hierarchy.bin"), 2U);
}

/// What a walk found: points by node, with "-" for an empty entry and "!" for a step that threw.
std::string story(QueryPointsIterator walk) {
  std::string found;
  while (walk != QueryPointsIterator()) {
    const std::size_t size = (*walk)->points().size();
    found += size == 0 ? "-" : std::to_string(size);
    if (messageOf([&] { ++walk; }) == kFailed) {
      found += "!";
      ++walk;
    }
  }
  return found;
}

TEST(FaultSweep, EveryFailingOrShortRequestEitherFailsTheOpeningOrCostsOneSubtree) {
  for (const bool shorten : {false, true}) {
    std::string lastStory;
    for (std::size_t n = 1; lastStory != "12345"; ++n) {
      ASSERT_LT(n, 20U);
      const auto location = std::make_shared<MapLocation>(threeChunks());
      shorten ? location->shortenRequest(n) : location->failRequest(n);
      std::shared_ptr<Octree::Octree> octree;
      const std::string message = messageOf([&] { octree = openOctree(location); });
      EXPECT_EQ(octree == nullptr, n <= 2) << n << ": " << message;
      if (!octree) continue;
      lastStory = story(walkOf(octree));
      location->heal();
      EXPECT_EQ(story(walkOf(octree)), "12345") << n;
    }
  }
}

TEST(FaultSweep, AFailingRequestLeavesAllOtherNodesUnchanged) {
  // One node's data, one subtree, or nothing, since the walk asks again for what it did not get in advance.
  const auto oneFault = AnyOf("-2345", "1!35", "1-345", "12!4", "12-45", "123-5", "1234-", "12345");
  for (std::size_t n = 3; n < 10; ++n) {
    const auto location = std::make_shared<MapLocation>(threeChunks());
    location->failRequest(n);
    const auto octree = openOctree(location);
    const std::string told = story(walkOf(octree));
    EXPECT_THAT(told, oneFault) << n;
    EXPECT_EQ(octree->unreadableNodes().empty(), told == "12345") << n;
  }
}

}  // namespace
