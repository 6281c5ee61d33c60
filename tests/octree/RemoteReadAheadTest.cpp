// What walks load in advance where fetches wait for an answer, and what they must not.
#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "octree/HeldLocation.h"
#include "octree/QueryPoints.h"

namespace {

using Octree::Algorithm::QueryPointsIterator;
using Octree::Algorithm::ReadAhead;
using testing::ElementsAre;
using Testing::HeldLocation;
using Testing::openOctree;
using Testing::PotreeFiles;
using Testing::somePoints;
using LocationPtr = std::shared_ptr<HeldLocation>;
using OctreePtr = std::shared_ptr<Octree::Octree>;

/// Root (1 point) and children 0 to 7 (2 to 9 points).
PotreeFiles nineNodes() {
  PotreeFiles files;
  files.node(0xFF, somePoints(1));
  for (std::uint32_t i = 0; i < 8; ++i) files.node(0, somePoints(2 + i, 10 * i));
  return files;
}

/// Root with eight children in chunks of their own, each with a leaf.
PotreeFiles nineChunks() {
  PotreeFiles files;
  files.node(0xFF, somePoints(1));
  for (std::uint64_t i = 0; i < 8; ++i) files.proxy(9 + 2 * i, 2);
  files.endFirstChunk();
  for (std::uint32_t i = 0; i < 8; ++i) files.node(1, somePoints(2 + i)).node(0, somePoints(12 + i));
  return files;
}

struct Cloud {
  LocationPtr location;
  OctreePtr octree;

  explicit Cloud(const PotreeFiles& files)
      : location(std::make_shared<HeldLocation>(files)), octree(openOctree(location)) {}

  [[nodiscard]] QueryPointsIterator walk() const { return Octree::allPoints(octree, nullptr, 0, {}); }
  /// A walk whose root has been read.
  [[nodiscard]] QueryPointsIterator walkBehindRoot() const {
    QueryPointsIterator begun = walk();
    (void)*begun;
    return ++begun;
  }
  [[nodiscard]] std::size_t requestsFor(const std::string& name) const {
    return location->files().requestsFor(name);
  }
};

std::vector<std::size_t> sizes(QueryPointsIterator walk) {
  std::vector<std::size_t> found;
  for (; walk != QueryPointsIterator(); ++walk) found.push_back((*walk)->points().size());
  return found;
}

TEST(RemoteReadAhead, BeginsAllFetchesBeforeOneIsAnswered) {
  const Cloud cloud(nineNodes());
  QueryPointsIterator walk = cloud.walkBehindRoot();
  cloud.location->hold("octree.bin");
  std::jthread answering([&] {
    EXPECT_EQ(cloud.location->waitUntilHeld(8), 8U);
    cloud.location->answerAll();
  });
  EXPECT_EQ((*walk)->points().size(), 2U);
}

TEST(RemoteReadAhead, GivesNodesInOrderInWhateverOrderTheyCome) {
  const Cloud cloud(nineNodes());
  QueryPointsIterator walk = cloud.walkBehindRoot();
  cloud.location->hold("octree.bin");
  std::jthread answering([&] {
    cloud.location->waitUntilHeld(8);
    cloud.location->answerAll();  // the last first
  });
  EXPECT_THAT(sizes(std::move(walk)), ElementsAre(2, 3, 4, 5, 6, 7, 8, 9));
  EXPECT_EQ(cloud.requestsFor("octree.bin"), 9U);
  EXPECT_EQ(cloud.octree->numUnusedFetches(), 0U);
}

TEST(RemoteReadAhead, AFetchThatIsNotAnsweredHoldsUpNoOtherWalk) {
  const Cloud cloud(nineNodes());
  const std::uint64_t dataOfChild0 = 21;  // behind the root's one point
  cloud.location->hold([=](const auto& request) {
    return request.name == "octree.bin" && request.byteOffset == dataOfChild0;
  });
  std::jthread waiting([&] { EXPECT_EQ(sizes(cloud.walk()).size(), 9U); });
  cloud.location->waitUntilHeld(1);
  // The upper half in x of the cube of side 64: children 4 to 7.
  const Math::NBoundingBox<float, 3> half{{{35, -10, -10}}, {{100, 100, 100}}};
  using Walk = Octree::Algorithm::QueryPointsInsideIterator<Math::NBoundingBox<float, 3>>;
  std::size_t nodes = 0;
  for (Walk walk = Octree::allPointsInside(cloud.octree, nullptr, half, 0, {}); !(walk == Walk()); ++walk) {
    nodes += *walk ? 1 : 0;
  }
  EXPECT_EQ(nodes, 5U);
  EXPECT_EQ(cloud.location->numHeld(), 1U);
  cloud.location->answerAll();
}

TEST(RemoteReadAhead, ADestroyedWalkStopsItsFetchesAndCountsThemUnused) {
  const Cloud cloud(nineNodes());
  {
    QueryPointsIterator walk = cloud.walkBehindRoot();
    cloud.location->hold([](const auto& request) { return request.byteOffset > 21; });
    EXPECT_EQ((*walk)->points().size(), 2U);
    EXPECT_EQ(cloud.location->numHeld(), 7U);
  }
  EXPECT_EQ(cloud.location->numStopped(), 7U);
  EXPECT_EQ(cloud.octree->numUnusedFetches(), 7U);
  EXPECT_TRUE(cloud.octree->unreadableNodes().empty());
}

TEST(RemoteReadAhead, AStopOfTheWalkEndsAWaitForBytes) {
  const Cloud cloud(nineNodes());
  std::stop_source stop;
  QueryPointsIterator walk = Octree::allPoints(cloud.octree, nullptr, 0, stop.get_token());
  (void)*walk;
  ++walk;
  cloud.location->hold("octree.bin");
  std::jthread stopping([&] {
    cloud.location->waitUntilHeld(8);
    stop.request_stop();
  });
  EXPECT_EQ((*walk)->points().size(), 0U);
  EXPECT_TRUE(cloud.octree->unreadableNodes().empty());
}

TEST(RemoteReadAhead, CopiesDoNotShareWhatIsUnderWay) {
  const Cloud cloud(nineNodes());
  auto walk = std::make_unique<QueryPointsIterator>(cloud.walkBehindRoot());
  cloud.location->hold([](const auto& request) { return request.byteOffset > 21; });
  (void)**walk;
  const QueryPointsIterator copy = *walk;
  EXPECT_EQ(cloud.location->numHeld(), 7U);
  walk.reset();
  EXPECT_EQ(cloud.location->numStopped(), 7U);
  cloud.location->answerAll();
  EXPECT_THAT(sizes(copy), ElementsAre(2, 3, 4, 5, 6, 7, 8, 9));
}

TEST(RemoteReadAhead, SkippedNodesAreDroppedAndCounted) {
  const Cloud cloud(nineNodes());
  QueryPointsIterator walk = cloud.walkBehindRoot();
  (void)*walk;
  for (int i = 0; i < 3; ++i) ++walk;
  EXPECT_EQ((*walk)->points().size(), 5U);
  EXPECT_EQ(cloud.octree->numUnusedFetches(), 2U);
}

TEST(RemoteReadAhead, ANodeThatFailsIsAnEmptyEntryAndTheOthersCome) {
  const Cloud cloud(nineNodes());
  QueryPointsIterator walk = cloud.walkBehindRoot();
  cloud.location->files().failRequest(2);  // the second child's
  EXPECT_THAT(sizes(std::move(walk)), ElementsAre(2, 0, 4, 5, 6, 7, 8, 9));
  ASSERT_EQ(cloud.octree->unreadableNodes().size(), 1U);
  EXPECT_EQ(cloud.octree->unreadableNodes()[0].reason, "map/octree.bin: injected fault");
}

TEST(RemoteReadAhead, TheFirstChunkTakesThreeRequests) {
  const Cloud cloud(nineChunks());
  (void)*cloud.walk();
  EXPECT_EQ(cloud.location->files().requests().size(), 3U);  // metadata, hierarchy, data
}

TEST(RemoteReadAhead, FetchesHierarchyChunksTogetherAndEachOnce) {
  const Cloud cloud(nineChunks());
  QueryPointsIterator walk = cloud.walkBehindRoot();
  cloud.location->hold("hierarchy.bin");
  (void)*walk;
  EXPECT_EQ(cloud.location->numHeld(), 7U);  // that of the current node has come
  cloud.location->answerAll();
  EXPECT_EQ(sizes(std::move(walk)).size(), 16U);
  EXPECT_EQ(cloud.requestsFor("hierarchy.bin"), 9U);
  EXPECT_EQ(cloud.requestsFor("octree.bin"), 17U);
}

TEST(RemoteReadAhead, AStepWaitsForTheChunkThatIsUnderWay) {
  const Cloud cloud(nineChunks());
  QueryPointsIterator walk = cloud.walkBehindRoot();
  cloud.location->hold("hierarchy.bin");
  (void)*walk;
  std::jthread answering([&] { cloud.location->answerAll(); });
  ++walk;
  EXPECT_EQ((*walk)->points().size(), 3U);
  EXPECT_EQ(cloud.requestsFor("hierarchy.bin"), 9U);
}

TEST(RemoteReadAhead, AChunkThatFailsOnceIsFetchedAgainByTheStep) {
  const Cloud cloud(nineChunks());
  QueryPointsIterator walk = cloud.walkBehindRoot();
  cloud.location->files().failRequest(2);  // the chunk of the next node: the first is for this one's data
  EXPECT_EQ(sizes(std::move(walk)).size(), 16U);
  EXPECT_TRUE(cloud.octree->unreadableNodes().empty());
}

TEST(RemoteReadAhead, AChunkThatKeepsFailingThrowsOutOfTheStepAndTheWalkGoesOn) {
  const PotreeFiles files = nineChunks();
  const auto location = std::make_shared<HeldLocation>(files);
  // Without the chunk of the last child.
  location->files().put("hierarchy.bin", files.hierarchy().substr(0, std::size_t{22} * (9 + 2 * 7)));
  QueryPointsIterator walk = Octree::allPoints(openOctree(location), nullptr, 0, {});
  std::size_t thrown = 0;
  std::size_t nodes = 0;
  for (; walk != QueryPointsIterator();) {
    nodes += (*walk)->points().size() > 0 ? 1 : 0;
    thrown += Testing::messageOf([&] { ++walk; }) == "Failed to fetch node by id" ? 1 : 0;
  }
  EXPECT_EQ(thrown, 1U);
  EXPECT_EQ(nodes, 15U);
}

TEST(RemoteReadAhead, KeepsToItsBudgetOfBytesAndOfNodes) {
  const Cloud cloud(nineNodes());
  ReadAhead few(cloud.octree, {}, 100);
  few.request(1, Testing::nodeAt("0"), 99);
  EXPECT_TRUE(few.hasRoom());
  few.request(2, Testing::nodeAt("1"), 1);
  EXPECT_FALSE(few.hasRoom());
  few.dropBefore(3);
  EXPECT_TRUE(few.hasRoom());
  ReadAhead many(cloud.octree, {});
  for (std::uint64_t i = 1; i < ReadAhead::kMostNodes; ++i) many.request(i, Testing::nodeAt("0"), 0);
  EXPECT_TRUE(many.hasRoom());
  many.request(ReadAhead::kMostNodes, Testing::nodeAt("0"), 0);
  EXPECT_FALSE(many.hasRoom());
}

TEST(RemoteReadAhead, SurvivesRecordsOfAnySize) {
  const Cloud cloud(nineNodes());
  ReadAhead ahead(cloud.octree, {}, 100);
  ahead.request(1, Testing::nodeAt("0"), UINT64_MAX);
  ahead.request(2, Testing::nodeAt("1"), UINT64_MAX);
  EXPECT_FALSE(ahead.hasRoom());
}

TEST(RemoteReadAheadThreads, WalksBeginAndEndWhileFetchesAreUnderWay) {
  const Cloud cloud(nineChunks());
  cloud.location->hold([](const auto&) { return true; });
  cloud.location->answerInBackground();
  std::vector<std::jthread> threads;
  for (std::size_t t = 0; t < 4; ++t) {
    threads.emplace_back([&cloud, t] {
      for (std::size_t round = 0; round < 20; ++round) {
        QueryPointsIterator walk = cloud.walk();
        for (std::size_t step = 0; step < (5 * t + round) % 17; ++step, ++walk) {
          EXPECT_GT((*walk)->points().size(), 0U);
        }
      }
    });
  }
}

TEST(RemoteReadAheadThreads, TheOctreeGoesRightAfterItsWalks) {
  for (int round = 0; round < 20; ++round) {
    auto cloud = std::make_unique<Cloud>(nineNodes());
    cloud->location->hold("octree.bin");
    cloud->location->answerInBackground();
    std::vector<QueryPointsIterator> walks;
    for (int i = 0; i < 3; ++i) {
      walks.push_back(cloud->walkBehindRoot());
      (void)*walks.back();
    }
    cloud->octree.reset();
    walks.clear();
  }
}

}  // namespace
