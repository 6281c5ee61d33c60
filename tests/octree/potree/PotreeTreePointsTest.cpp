// The points of nodes: what is fetched, what is damaged, what external octrees add.
#include <gmock/gmock.h>

#include "core/Brotli.h"
#include "octree/MapLocation.h"
#include "octree/potree/FileSystemLocation.h"

namespace {

using Math::Color;
using Math::NodePoints;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using Testing::MapLocation;
using Testing::nodeAt;
using Testing::PotreeFiles;
using Testing::somePoints;
using testing::StartsWith;

std::string compressed(const std::string& data) {
  return Core::brotliEncode(std::as_bytes(std::span(data)), 5);
}

/// An opened cloud over files in memory, perhaps with external attribute octrees.
struct CloudOf {
  explicit CloudOf(const PotreeFiles& files, std::vector<std::shared_ptr<Octree::Location>> externals = {})
      : location(std::make_shared<MapLocation>(files.files(), std::move(externals))),
        octree(Testing::openOctree(location)) {}

  bool load(std::string_view path = "", std::stop_token stopToken = {}) {
    return octree->loadNodePoints(nodeAt(path), points, std::move(stopToken));
  }
  /// "r0: reason" of the only damaged node; "" when there is none.
  std::string damage() const {
    std::string all;
    for (const auto& node : octree->unreadableNodes()) all += node.id.name() + ": " + node.reason;
    return all;
  }

  std::shared_ptr<MapLocation> location;
  std::shared_ptr<Octree::Octree> octree;
  NodePoints points;
};

PotreeFiles brotliFiles() {
  return PotreeFiles().attributes({"position", "classification"}).set("/encoding", "\"BROTLI\"");
}
const std::string kThreePoints =
    Testing::encodeBlocks(somePoints(3), std::vector<std::string>{"position", "classification"});

TEST(LoadNodePoints, DecodesTheNodesOwnBytesAndNoOthers) {
  CloudOf cloud(PotreeFiles().node(0b1, somePoints(5)).node(0, somePoints(2, 50)));
  ASSERT_TRUE(cloud.load("0"));
  EXPECT_THAT(cloud.points.positions(), ElementsAre(25, 25, 25, 25.5, 25.5, 25.5));
  EXPECT_EQ(cloud.location->requests().back(), (MapLocation::Request{"octree.bin", 105, 42}));
  EXPECT_EQ(cloud.location->requestsFor("octree.bin"), 1U);
  EXPECT_EQ(cloud.damage(), "");
}

TEST(LoadNodePoints, ReplacesWhatTheContainerHeld) {
  CloudOf cloud(PotreeFiles().node(0b1, somePoints(5)).node(0, somePoints(2, 50)));
  ASSERT_TRUE(cloud.load());
  ASSERT_TRUE(cloud.load("0"));
  EXPECT_EQ(cloud.points.size(), 2U);
  EXPECT_THAT(cloud.points.classIndices(), ElementsAre(10, 11));
}

TEST(LoadNodePoints, FetchesNothingForANodeOfZeroPoints) {
  CloudOf cloud(PotreeFiles().record({.childMask = 1, .byteSize = 21}).node(0, somePoints(1)));
  EXPECT_TRUE(cloud.load());
  EXPECT_EQ(cloud.points.size(), 0U);
  EXPECT_EQ(cloud.location->requestsFor("octree.bin"), 0U);
  EXPECT_EQ(cloud.damage(), "");
}

TEST(LoadNodePoints, FetchesNothingForZeroBytesAndListsTheNode) {
  CloudOf cloud(PotreeFiles().record({.numPoints = 7, .byteOffset = 5}));
  EXPECT_TRUE(cloud.load());
  EXPECT_EQ(cloud.points.size(), 0U);
  EXPECT_EQ(cloud.location->requestsFor("octree.bin"), 0U);
  EXPECT_EQ(cloud.damage(),
            "r: map/octree.bin, byte 5: points: expected 7 of 21 bytes, found 0 bytes, 0 whole points");
}

TEST(LoadNodePoints, TakesTheWholeRecordsOfADamagedNodeAndListsIt) {
  const std::string data = PotreeFiles().node(0, somePoints(3)).octree();
  CloudOf cut(PotreeFiles().node(0, 3, data.substr(0, 62)));
  EXPECT_TRUE(cut.load());
  EXPECT_EQ(cut.points.size(), 2U);
  EXPECT_EQ(cut.damage(),
            "r: map/octree.bin, byte 0: points: expected 3 of 21 bytes, found 62 bytes, 2 whole points");
  CloudOf more(PotreeFiles().node(0, 2, data));
  EXPECT_TRUE(more.load());
  EXPECT_EQ(more.points.size(), 3U);
  EXPECT_THAT(more.damage(), HasSubstr("expected 2 of 21 bytes, found 63 bytes, 3 whole points"));
}

TEST(LoadNodePoints, FailsWhereTheDataLeaveTheFile) {
  for (const std::uint64_t offset : {std::uint64_t{1}, std::uint64_t{63}, UINT64_MAX - 3}) {
    CloudOf cloud(PotreeFiles()
                      .node(0b1, somePoints(3))
                      .record({.numPoints = 3, .byteOffset = offset, .byteSize = 63}));
    EXPECT_FALSE(cloud.load("0"));
    EXPECT_THAT(cloud.damage(), StartsWith("r0: map/octree.bin: range leaves the file"));
    EXPECT_TRUE(cloud.load(""));
    EXPECT_EQ(cloud.points.size(), 3U);
  }
}

TEST(LoadNodePoints, FailsWhereTheFileIsMissingAndNamesIt) {
  const Testing::TempFolder folder;
  PotreeFiles().node(0, somePoints(3)).write(folder);
  std::filesystem::remove(folder.path() / "octree.bin");
  const auto octree = Testing::openOctree(std::make_shared<PoTree::FileSystemLocation>(folder.path()));
  NodePoints points;
  EXPECT_FALSE(octree->loadNodePoints({}, points, {}));
  ASSERT_EQ(octree->unreadableNodes().size(), 1U);
  EXPECT_THAT(octree->unreadableNodes()[0].reason, HasSubstr((folder.path() / "octree.bin").string()));
}

TEST(LoadNodePoints, SaysWhereInAFileTheBytesAreMissing) {
  const Testing::TempFolder folder;
  PotreeFiles().node(0b1, somePoints(3)).node(0, somePoints(2)).write(folder);
  std::filesystem::resize_file(folder.path() / "octree.bin", 100);
  const auto octree = Testing::openOctree(std::make_shared<PoTree::FileSystemLocation>(folder.path()));
  NodePoints points;
  EXPECT_TRUE(octree->loadNodePoints({}, points, {}));
  EXPECT_FALSE(octree->loadNodePoints(nodeAt("0"), points, {}));
  ASSERT_EQ(octree->unreadableNodes().size(), 1U);
  EXPECT_EQ(octree->unreadableNodes()[0].id, nodeAt("0"));
  EXPECT_EQ(octree->unreadableNodes()[0].reason,
            (folder.path() / "octree.bin").string() + ", byte 63: bytes to read: expected 42, found 37");
}

TEST(LoadNodePoints, FailsWhenFewerBytesCameThanAskedFor) {
  CloudOf cloud(PotreeFiles().node(0, somePoints(3)));
  cloud.location->shortenRequest(1);
  EXPECT_FALSE(cloud.load());
  EXPECT_EQ(cloud.damage(), "r: map/octree.bin, byte 0: bytes of node r: expected 63, found 62");
}

TEST(LoadNodePoints, TriesAgainAfterAFailure) {
  CloudOf cloud(PotreeFiles().node(0, somePoints(3)));
  cloud.location->failRequest(1);
  EXPECT_FALSE(cloud.load());
  EXPECT_TRUE(cloud.load());
  EXPECT_EQ(cloud.points.size(), 3U);
}

TEST(LoadNodePoints, EndsFalseWhenStoppedAndListsNoDamage) {
  CloudOf cloud(PotreeFiles().node(0, somePoints(3)));
  std::stop_source stop;
  cloud.location->watch([&](const MapLocation::Request&) { stop.request_stop(); });
  EXPECT_FALSE(cloud.load("", stop.get_token()));
  EXPECT_EQ(cloud.damage(), "");
  EXPECT_EQ(cloud.points.size(), 0U);
}

TEST(LoadNodePoints, EndsFalseWhenStoppedInTheHierarchyAndListsNoDamage) {
  PotreeFiles files;
  CloudOf cloud(files.node(0b1, somePoints(1)).proxy(2, 1).endFirstChunk().node(0, somePoints(2)));
  std::stop_source stop;
  cloud.location->watch([&](const MapLocation::Request&) { stop.request_stop(); });
  EXPECT_FALSE(cloud.load("0", stop.get_token()));
  EXPECT_EQ(cloud.damage(), "");
  EXPECT_TRUE(cloud.load("0"));
}

TEST(LoadNodePoints, FailsForANodeThatIsNotThere) {
  CloudOf cloud(PotreeFiles().node(0, somePoints(3)));
  EXPECT_FALSE(cloud.load("0"));
  EXPECT_THAT(cloud.damage(), HasSubstr("no node r0"));
}

TEST(LoadNodePoints, LoadsNothingOfACloudWithoutPointsAndListsNoDamage) {
  CloudOf cloud(PotreeFiles{});
  EXPECT_TRUE(cloud.load());
  EXPECT_EQ(cloud.points.size(), 0U);
  EXPECT_EQ(cloud.damage(), "");
}

TEST(LoadNodePoints, DecompressesBrotliNodes) {
  CloudOf cloud(brotliFiles().node(0, 3, compressed(kThreePoints)));
  ASSERT_TRUE(cloud.load());
  EXPECT_THAT(cloud.points.positions(), ElementsAre(0, 0, 0, .5, .5, .5, 1, 1, 1));
  EXPECT_THAT(cloud.points.classIndices(), ElementsAre(0, 1, 2));
  EXPECT_EQ(cloud.damage(), "");
}

TEST(LoadNodePoints, FailsForEveryTruncatedBrotliStream) {
  const std::string stream = compressed(kThreePoints);
  for (std::size_t n = 1; n < stream.size(); ++n) {
    CloudOf cloud(brotliFiles().node(0, 3, stream.substr(0, n)));
    ASSERT_FALSE(cloud.load()) << n;
    EXPECT_THAT(cloud.damage(), StartsWith("r: map/octree.bin, byte 0: brotli: ")) << n;
  }
}

TEST(LoadNodePoints, FailsForGarbageInsteadOfABrotliStream) {
  std::mt19937 random(4);
  for (int round = 0; round < 200; ++round) {
    std::string garbage(60, '\0');
    for (char& c : garbage) c = static_cast<char>(random());
    CloudOf cloud(brotliFiles().node(0, 3, garbage));
    ASSERT_FALSE(cloud.load()) << round;
    ASSERT_THAT(cloud.damage(), StartsWith("r: map/octree.bin, byte 0: brotli: ")) << round;
  }
}

TEST(LoadNodePoints, StopsABrotliBombBehindOnePointTooMany) {
  CloudOf cloud(brotliFiles().node(0, 3, compressed(std::string(50'000'000, '\0'))));
  EXPECT_FALSE(cloud.load());
  EXPECT_THAT(cloud.damage(), HasSubstr("more output than the node can hold after 68 bytes"));
}

TEST(LoadNodePoints, ListsABrotliNodeThatHoldsAnotherNumberOfPoints) {
  CloudOf fewer(brotliFiles().node(0, 4, compressed(kThreePoints)));
  EXPECT_TRUE(fewer.load());
  EXPECT_EQ(fewer.points.size(), 3U);
  EXPECT_THAT(fewer.damage(), HasSubstr("expected 4 of 17 bytes, found 51 bytes, 3 whole points"));
  CloudOf oneMore(brotliFiles().node(0, 2, compressed(kThreePoints)));
  EXPECT_TRUE(oneMore.load());
  EXPECT_THAT(oneMore.damage(), HasSubstr("expected 2 of 17 bytes, found 51 bytes"));
}

TEST(LoadNodePoints, GivesDefaultsForWhatTheCloudLacks) {
  CloudOf cloud(PotreeFiles().attributes({"position"}).node(0, somePoints(2)));
  ASSERT_TRUE(cloud.load());
  EXPECT_THAT(cloud.points.colors(), ElementsAre(Color(0, 0, 0, 255), Color(0, 0, 0, 255)));
  EXPECT_THAT(cloud.points.intensities(), ElementsAre(0, 0));
  EXPECT_THAT(cloud.points.classIndices(), ElementsAre(0, 0));
  EXPECT_THAT(cloud.points.normals(), ElementsAre(0, 0, 0, 0, 0, 0));
  EXPECT_THAT(cloud.points.visibility(), ElementsAre(1, 1));
}

/// An octree of visibility alone: one node with a hint and so many points, whose data are not there.
std::shared_ptr<MapLocation> hintOctree(int hint, std::uint32_t numPoints) {
  PotreeFiles files;
  files.attributes({"visibility"});
  files.record(
      {.type = static_cast<std::uint8_t>(hint << 4 | 1), .numPoints = numPoints, .byteSize = numPoints});
  return std::make_shared<MapLocation>(files);
}

TEST(ExternalAttributes, FillTheSameContainer) {
  auto visibility = std::make_shared<MapLocation>(
      PotreeFiles().attributes({"visibility"}).node(0, 3, std::string("\x01\x00\x01", 3)));
  CloudOf cloud(PotreeFiles().node(0, somePoints(3)), {visibility});
  ASSERT_TRUE(cloud.load());
  EXPECT_THAT(cloud.points.visibility(), ElementsAre(1, 0, 1));
  EXPECT_THAT(cloud.points.positions(), ElementsAre(0, 0, 0, .5, .5, .5, 1, 1, 1));
}

TEST(ExternalAttributes, OfHintTwoMakeAllPointsVisibleWithoutReadingAnything) {
  auto visibility = hintOctree(2, 3);
  CloudOf cloud(PotreeFiles().node(0, somePoints(3)), {visibility});
  ASSERT_TRUE(cloud.load());
  EXPECT_THAT(cloud.points.visibility(), ElementsAre(1, 1, 1));
  EXPECT_EQ(visibility->requestsFor("octree.bin"), 0U);
}

TEST(ExternalAttributes, OfHintOneHideAllPointsWithoutReadingAnything) {
  auto visibility = hintOctree(1, 2);
  CloudOf cloud(PotreeFiles().node(0, somePoints(3)), {visibility});
  ASSERT_TRUE(cloud.load());
  EXPECT_THAT(cloud.points.visibility(), ElementsAre(0, 0, 0));  // as many as the container holds
  EXPECT_EQ(visibility->requestsFor("octree.bin"), 0U);
}

TEST(ExternalAttributes, OfAnyOtherHintAreRead) {
  for (const int hint : {0, 3, 15}) {
    std::map<std::string, std::string> files =
        PotreeFiles().attributes({"visibility"}).node(0, 2, std::string("\0\x07", 2)).files();
    files["hierarchy.bin"][0] = static_cast<char>(hint << 4 | 1);
    CloudOf cloud(PotreeFiles().node(0, somePoints(2)), {std::make_shared<MapLocation>(files)});
    ASSERT_TRUE(cloud.load());
    EXPECT_THAT(cloud.points.visibility(), ElementsAre(0, 7)) << hint;
  }
}

TEST(ExternalAttributes, AreReadInSpiteOfAHintWhenTheyAreNotVisibilityAlone) {
  std::map<std::string, std::string> files = PotreeFiles()
                                                 .attributes({"visibility", "classification"})
                                                 .node(0, 2, std::string("\0\x05\1\x06", 4))
                                                 .files();
  files["hierarchy.bin"][0] = 0x21;
  CloudOf cloud(PotreeFiles().node(0, somePoints(2)), {std::make_shared<MapLocation>(files)});
  ASSERT_TRUE(cloud.load());
  EXPECT_THAT(cloud.points.visibility(), ElementsAre(0, 1));
  EXPECT_THAT(cloud.points.classIndices(), ElementsAre(5, 6));
}

TEST(ExternalAttributes, AddNothingToANodeThatTheyLack) {
  CloudOf cloud(PotreeFiles().node(0b1, somePoints(1)).node(0, somePoints(2)), {hintOctree(1, 1)});
  ASSERT_TRUE(cloud.load("0"));
  EXPECT_THAT(cloud.points.visibility(), ElementsAre(1, 1));
  EXPECT_EQ(cloud.damage(), "");
}

TEST(ExternalAttributes, MakeTheNodeFailWhenTheyFail) {
  auto visibility = std::make_shared<MapLocation>(PotreeFiles().attributes({"visibility"}).node(0, 2, "xy"));
  CloudOf cloud(PotreeFiles().node(0, somePoints(2)), {visibility});
  visibility->failRequest(2);  // behind its first hierarchy chunk
  EXPECT_FALSE(cloud.load());
  EXPECT_EQ(cloud.damage(), "r: map/octree.bin: injected fault");
  EXPECT_TRUE(cloud.load());
}

TEST(ExternalAttributes, OverwriteColoursByTheirOwnGrey) {
  auto intensity = std::make_shared<MapLocation>(
      PotreeFiles().attributes({"intensity"}).node(0, 1, Testing::littleEndian(std::uint16_t{1000})));
  CloudOf cloud(PotreeFiles().node(0, somePoints(2)), {intensity});
  ASSERT_TRUE(cloud.load());
  EXPECT_THAT(cloud.points.colors(), ElementsAre(Color(255, 255, 255, 255), Color(1, 2, 3, 255)));
  EXPECT_THAT(cloud.points.intensities(), ElementsAre(1000, 1001));
}

TEST(ExternalAttributes, MayHoldMorePointsThanTheMainOctree) {
  auto classes =
      std::make_shared<MapLocation>(PotreeFiles().attributes({"classification"}).node(0, 3, "\x05\x06\x07"));
  CloudOf cloud(PotreeFiles().node(0, somePoints(1, 4)), {classes});
  ASSERT_TRUE(cloud.load());
  EXPECT_THAT(cloud.points.classIndices(), ElementsAre(5, 6, 7));
  EXPECT_THAT(cloud.points.positions(), ElementsAre(2, 2, 2, 0, 0, 0, 0, 0, 0));
  EXPECT_THAT(cloud.points.visibility(), Each(1));
}

}  // namespace
