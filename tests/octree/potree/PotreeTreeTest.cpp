// The lookup of nodes, hierarchy chunk by hierarchy chunk.
#include <gmock/gmock.h>

#include "octree/MapLocation.h"
#include "octree/potree/PotreeTree.h"

namespace {

using PoTree::MetaDataUse;
using PoTree::PotreeTree;
using testing::ElementsAre;
using testing::HasSubstr;
using Testing::HierarchyRecord;
using Testing::MapLocation;
using Testing::messageOf;
using Testing::nodeAt;
using Testing::PotreeFiles;
using Testing::somePoints;

constexpr const char* kFailed = "Failed to fetch node by id";

/// A tree over files in memory.
struct TreeOf {
  explicit TreeOf(const PotreeFiles& files)
      : location(std::make_shared<MapLocation>(files)),
        tree(location,
             Core::readyFuture(PoTree::parseMetaData(files.metaData(), "m", MetaDataUse::Main)).share(), 1) {}

  std::shared_ptr<PoTree::Node> node(std::string_view path) { return tree.nodeById(nodeAt(path), {}); }
  /// How the lookup of a node ends: "found", "absent" or the message of its exception.
  std::string lookup(std::string_view path) {
    std::string result;
    const std::string message = messageOf([&] { result = node(path) ? "found" : "absent"; });
    return result.empty() ? message : result;
  }
  /// The reasons of the nodes that could not be read.
  std::string reasons() const {
    std::string all;
    for (const auto& unreadable : tree.unreadableNodes()) {
      all += unreadable.id.name() + ": " + unreadable.reason + "\n";
    }
    return all;
  }

  std::shared_ptr<MapLocation> location;
  PotreeTree tree;
};

/// Root and a proxy for its child 0, whose chunk is the next two records: itself and its child 3.
PotreeFiles twoChunks() {
  PotreeFiles files;
  files.node(0b1, somePoints(1)).proxy(2, 2).endFirstChunk();
  return files.node(0b1000, somePoints(2)).node(0, somePoints(3));
}

TEST(PotreeTree, ReadsTheFirstChunkForTheRoot) {
  TreeOf cloud(twoChunks());
  EXPECT_EQ(cloud.node("")->numPoints, 1U);
  EXPECT_THAT(cloud.location->requests(), ElementsAre(MapLocation::Request{"hierarchy.bin", 0, 44}));
}

TEST(PotreeTree, ReadsOneChunkForAllNodesInIt) {
  TreeOf cloud(PotreeFiles().node(0b11, somePoints(1)).node(0, somePoints(2)).node(0, somePoints(3)));
  EXPECT_EQ(cloud.node("1")->numPoints, 3U);
  EXPECT_EQ(cloud.node("0")->numPoints, 2U);
  EXPECT_EQ(cloud.location->requestsFor("hierarchy.bin"), 1U);
}

TEST(PotreeTree, ReadsTheChunkOfAProxyWhenALookupReachesIt) {
  TreeOf cloud(twoChunks());
  EXPECT_EQ(cloud.node("03")->numPoints, 3U);
  EXPECT_THAT(cloud.location->requests(), ElementsAre(MapLocation::Request{"hierarchy.bin", 0, 44},
                                                      MapLocation::Request{"hierarchy.bin", 44, 44}));
  EXPECT_EQ(cloud.node("0")->numPoints, 2U);
  EXPECT_EQ(cloud.location->requestsFor("hierarchy.bin"), 2U);
}

TEST(PotreeTree, LeavesTheProxyInItsParentsSlot) {
  TreeOf cloud(twoChunks());
  EXPECT_FALSE(cloud.node("0")->is(PoTree::NodeType::Proxy));
  EXPECT_TRUE(cloud.node("")->children[0]->is(PoTree::NodeType::Proxy));
}

TEST(PotreeTree, CutsTheBoxesOfChunksFromTheirProxies) {
  TreeOf cloud(twoChunks());
  EXPECT_EQ(cloud.node("03")->boundingBox,
            (Math::NBoundingBox<double, 3>{{{100, 216, 316}}, {{116, 232, 332}}}));
}

TEST(PotreeTree, FollowsProxiesInChunksOfProxies) {
  PotreeFiles files;
  files.node(0b1, somePoints(1)).proxy(2, 2).endFirstChunk();
  files.node(0b1, somePoints(2)).proxy(4, 2);
  files.node(0b1, somePoints(3)).proxy(6, 1);
  files.node(0, somePoints(4));
  TreeOf cloud(files);
  EXPECT_EQ(cloud.node("000")->numPoints, 4U);
  EXPECT_EQ(cloud.node("000")->id, nodeAt("000"));
  EXPECT_EQ(cloud.location->requestsFor("hierarchy.bin"), 4U);
}

TEST(PotreeTree, FollowsProxiesBackwards) {
  PotreeFiles files;
  files.node(0b1, somePoints(1)).proxy(4, 2).endFirstChunk();
  files.node(0b1, somePoints(9)).node(0, somePoints(5));  // records 2 and 3, named by the last one
  files.node(0b1, somePoints(2)).proxy(2, 2);
  TreeOf cloud(files);
  EXPECT_EQ(cloud.node("00")->numPoints, 9U);
  EXPECT_EQ(cloud.node("000")->numPoints, 5U);
}

TEST(PotreeTree, LetsTwoProxiesShareAChunk) {
  PotreeFiles files;
  files.node(0b11, somePoints(1)).proxy(3, 1).proxy(3, 1).endFirstChunk().node(0, somePoints(6));
  TreeOf cloud(files);
  EXPECT_EQ(cloud.node("0")->numPoints, 6U);
  EXPECT_EQ(cloud.node("1")->numPoints, 6U);
}

TEST(PotreeTree, FindsNothingWhereTheHierarchyNamesNoNode) {
  TreeOf cloud(twoChunks());
  for (const char* path : {"1", "17", "02", "033", "777777777777777777777"}) {
    EXPECT_EQ(cloud.lookup(path), "absent") << path;
  }
  EXPECT_EQ(cloud.reasons(), "");
}

TEST(PotreeTree, FindsNothingBehindAProxyForNoRecord) {
  PotreeFiles files;
  files.node(0b1, somePoints(1)).record({.type = HierarchyRecord::kProxy, .byteSize = 21}).endFirstChunk();
  TreeOf cloud(files);
  EXPECT_EQ(cloud.lookup("0"), "absent");
  EXPECT_EQ(cloud.lookup("00"), "absent");
  EXPECT_EQ(cloud.location->requestsFor("hierarchy.bin"), 1U);
}

TEST(PotreeTree, FetchesWholeRecordsOnly) {
  PotreeFiles files;
  files.node(0b1, somePoints(1)).record({.type = 2, .byteOffset = 44, .byteSize = 43}).endFirstChunk();
  TreeOf cloud(files.node(0, somePoints(2)));
  EXPECT_EQ(cloud.node("0")->numPoints, 2U);
  EXPECT_EQ(cloud.location->requests().back(), (MapLocation::Request{"hierarchy.bin", 44, 22}));
}

TEST(PotreeTree, FindsNoRootInAnEmptyFirstChunk) {
  TreeOf cloud(PotreeFiles{});
  EXPECT_EQ(cloud.lookup(""), "absent");
  EXPECT_EQ(cloud.lookup("0"), "absent");
  EXPECT_TRUE(cloud.location->requests().empty());
}

TEST(PotreeTree, FailsTheLookupOfAProxyWhoseRangeLeavesTheFile) {
  for (const auto& [offset, size] : std::map<std::uint64_t, std::uint64_t>{
           {66, 22}, {44, 66}, {UINT64_MAX - 10, 22}, {0, UINT64_MAX}, {UINT64_MAX, UINT64_MAX}}) {
    PotreeFiles files;
    files.node(0b11, somePoints(1)).record({.type = 2, .byteOffset = offset, .byteSize = size});
    TreeOf cloud(files.node(0, somePoints(5)).endFirstChunk());
    EXPECT_EQ(cloud.lookup("0"), kFailed) << offset << ", " << size;
    EXPECT_EQ(cloud.lookup("00"), kFailed) << offset << ", " << size;
    EXPECT_EQ(cloud.lookup("1"), "found") << offset << ", " << size;
    EXPECT_THAT(cloud.reasons(), testing::StartsWith("r0: map/hierarchy.bin: range leaves the file"));
  }
}

TEST(PotreeTree, FailsTheLookupOfAProxyThatEqualsTheFirstChunk) {
  TreeOf cloud(PotreeFiles().node(0b1, somePoints(1)).proxy(0, 2));
  EXPECT_EQ(cloud.lookup("0"), kFailed);
  EXPECT_EQ(cloud.lookup("0000000"), kFailed);
  EXPECT_THAT(cloud.reasons(), HasSubstr("r0: map/hierarchy.bin, byte 0: proxy r0: expected a chunk that is "
                                         "not on its own path, found one of its ancestors' chunks"));
}

TEST(PotreeTree, FailsTheLookupOfAProxyThatEqualsAChunkOnItsPath) {
  PotreeFiles files;
  files.node(0b1, somePoints(1)).proxy(2, 2).endFirstChunk();
  files.node(0b1, somePoints(2)).proxy(4, 3);
  files.node(0b11, somePoints(3)).proxy(2, 2).proxy(4, 3);  // its grandparent's chunk, and its own
  TreeOf cloud(files);
  EXPECT_EQ(cloud.lookup("00"), "found");
  EXPECT_EQ(cloud.lookup("000"), kFailed);
  EXPECT_EQ(cloud.lookup("001"), kFailed);
}

TEST(PotreeTree, SeesThroughSurplusBytesWhenItComparesAProxyWithItsPath) {
  PotreeFiles files;
  files.node(0b1, somePoints(1)).proxy(2, 2).endFirstChunk();
  files.node(0b1, somePoints(2)).record({.type = 2, .byteOffset = 44, .byteSize = 44 + 21});
  TreeOf cloud(files);
  EXPECT_EQ(cloud.lookup("00"), kFailed);
}

TEST(PotreeTree, FailsTheLookupOfAProxyWhoseChunkBeginsWithAProxy) {
  PotreeFiles files;
  files.node(0b1, somePoints(1)).proxy(2, 1).endFirstChunk();
  TreeOf cloud(files.proxy(3, 1).node(0, somePoints(1)));
  EXPECT_EQ(cloud.lookup("0"), kFailed);
  EXPECT_THAT(
      cloud.reasons(),
      HasSubstr("map/hierarchy.bin, byte 44: first record of a chunk: expected a node, found a proxy"));
}

TEST(PotreeTree, FailsWhenTheFirstRecordIsAProxy) {
  TreeOf cloud(PotreeFiles().proxy(1, 1).node(0, somePoints(1)));
  EXPECT_EQ(cloud.lookup(""), kFailed);
}

TEST(PotreeTree, DoesNotCacheAFailedLookup) {
  TreeOf cloud(twoChunks());
  EXPECT_EQ(cloud.lookup(""), "found");
  cloud.location->failRequest(1);
  EXPECT_EQ(cloud.lookup("03"), kFailed);
  EXPECT_EQ(cloud.lookup("03"), "found");
}

TEST(PotreeTree, RefusesAHierarchyChunkThatCameShort) {
  TreeOf cloud(twoChunks());
  cloud.location->shortenRequest(1);
  EXPECT_EQ(cloud.lookup(""), kFailed);
  EXPECT_THAT(cloud.reasons(), HasSubstr("r: map/hierarchy.bin, byte 0: bytes of the hierarchy chunk: "
                                         "expected 44, found 43"));
}

TEST(PotreeTree, FailsAStoppedLookupAndListsNoDamage) {
  TreeOf cloud(twoChunks());
  std::stop_source stop;
  cloud.location->watch([&](const MapLocation::Request&) { stop.request_stop(); });
  EXPECT_EQ(messageOf([&] { (void)cloud.tree.nodeById(nodeAt("03"), stop.get_token()); }), kFailed);
  EXPECT_EQ(cloud.reasons(), "");
  EXPECT_EQ(cloud.lookup("03"), "found");
}

TEST(PotreeTree, CountsTheNodesThatAnHonestHierarchyCanName) {
  TreeOf cloud(twoChunks());
  EXPECT_EQ(cloud.tree.mostNodes({}), 8U * 4U + 1U);
}

TEST(PotreeTree, RaisesFutureErrorWithoutMetadata) {
  const PotreeTree tree(std::make_shared<MapLocation>(twoChunks()), {}, 1);
  EXPECT_THROW((void)tree.metaData(), std::future_error);
}

TEST(PotreeTree, LetsNoOtherExceptionOutOfALookup) {
  PotreeTree tree(std::make_shared<MapLocation>(twoChunks()), {}, 1);
  EXPECT_EQ(messageOf([&] { (void)tree.nodeById({}, {}); }), kFailed);
}

}  // namespace
