// Opening clouds, their facts and their frame.
#include <gmock/gmock.h>

#include <cmath>

#include "octree/MapLocation.h"
#include "octree/Octree.h"
#include "octree/potree/FileSystemLocation.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Testing::MapLocation;
using Testing::messageOf;
using Testing::nodeAt;
using Testing::openOctree;
using Testing::PotreeFiles;
using Testing::somePoints;
using FloatBox = Math::NBoundingBox<float, 3>;

std::string openMessage(const std::shared_ptr<Octree::Location>& location) {
  return messageOf([&] { (void)openOctree(location); });
}
std::string openMessage(const std::map<std::string, std::string>& files) {
  return openMessage(std::make_shared<MapLocation>(files));
}
std::string openMessage(const std::filesystem::path& folder) {
  return openMessage(std::make_shared<PoTree::FileSystemLocation>(folder));
}

PotreeFiles oneNode() { return PotreeFiles().node(0, somePoints(3)); }

TEST(OpenOctree, NamesThePathThatIsNotThere) {
  EXPECT_THAT(openMessage(std::filesystem::path("/no/such/cloud")),
              AllOf(HasSubstr("/no/such/cloud"), HasSubstr("No such file or directory")));
}

TEST(OpenOctree, NamesAFolderWithoutMetadata) {
  const Testing::TempFolder folder;
  EXPECT_THAT(openMessage(folder.path()), AllOf(HasSubstr((folder.path() / "metadata.json").string()),
                                                HasSubstr((folder.path() / "ept.json").string())));
}

TEST(OpenOctree, RefusesAnEmptyHandle) {
  EXPECT_THROW((void)openOctree(std::shared_ptr<Octree::Location>()), std::runtime_error);
}

TEST(OpenOctree, NamesTheFileThatIsNotJson) {
  const Testing::TempFolder folder;
  folder.write("metadata.json", "<!DOCTYPE html>");
  EXPECT_THAT(openMessage(folder.path()),
              AllOf(HasSubstr((folder.path() / "metadata.json").string()), HasSubstr("not JSON")));
}

TEST(OpenOctree, NamesTheKeyThatIsMissing) {
  EXPECT_THAT(openMessage(oneNode().remove("/spacing").files()), HasSubstr("map/metadata.json: spacing: "));
}

TEST(OpenOctree, NamesVersionAndEncodingThatItCannotRead) {
  EXPECT_THAT(openMessage(oneNode().set("/version", "\"1.8\"").files()),
              HasSubstr("map/metadata.json: version: expected 2.x, found 1.8"));
  EXPECT_THAT(openMessage(oneNode().set("/encoding", "\"ZIP\"").files()),
              HasSubstr("map/metadata.json: encoding: expected DEFAULT, UNCOMPRESSED or BROTLI, found ZIP"));
}

TEST(OpenOctree, SaysThatEntwineCloudsAreNotSupportedYet) {
  const Testing::TempFolder folder;
  folder.write("ept.json", R"({"bounds": [0,0,0,1,1,1], "dataType": "laszip", "hierarchyType": "json",
                               "points": 1, "schema": [], "span": 128, "version": "1.0.0"})");
  EXPECT_THAT(openMessage(folder.path()),
              AllOf(HasSubstr(folder.path().string()), HasSubstr("Entwine clouds are not supported yet")));
}

TEST(OpenOctree, TakesPotreeWhereBothDocumentsAre) {
  auto files = oneNode().files();
  files["ept.json"] = R"({"schema": [], "hierarchyType": "json"})";
  EXPECT_EQ(openMessage(files), "nothing thrown");
}

TEST(OpenOctree, OpensPotreeCloudsWhoseNamesRemindOfEntwine) {
  const PotreeFiles files = oneNode()
                                .set("/name", "\"ept-hierarchy\"")
                                .set("/description", "\"schema\"")
                                .set("/projection", "\"hierarchyType\"");
  EXPECT_EQ(openMessage(files.files()), "nothing thrown");
}

TEST(OpenOctree, NeedsARootWherePointsAreAnnounced) {
  EXPECT_THAT(
      openMessage(PotreeFiles().set("/points", "5").files()),
      HasSubstr("map/hierarchy.bin, byte 0: first chunk: expected a record of the root, found 0 bytes"));
  EXPECT_THAT(openMessage(oneNode().set("/hierarchy/firstChunkSize", "21").files()),
              HasSubstr("found 21 bytes"));
}

TEST(OpenOctree, OpensACloudWithoutPointsAndRoot) { EXPECT_EQ(openOctree(PotreeFiles{})->numPoints(), 0U); }

TEST(OpenOctree, SaysWhyTheFirstChunkCannotBeRead) {
  auto files = oneNode().files();
  files.erase("hierarchy.bin");
  EXPECT_THAT(openMessage(files), HasSubstr("map/hierarchy.bin: no such file"));
  EXPECT_THAT(openMessage(oneNode().set("/hierarchy/firstChunkSize", "44").files()),
              HasSubstr("map/hierarchy.bin: range leaves the file"));
  EXPECT_THAT(
      openMessage(PotreeFiles().proxy(0, 1).set("/points", "1").files()),
      HasSubstr("map/hierarchy.bin, byte 0: first record of a chunk: expected a node, found a proxy"));
}

TEST(OpenOctree, NamesTheFileOfAnExternalOctreeThatIsDamaged) {
  const Testing::TempFolder folder;
  oneNode().write(folder);
  folder.write("attributes/extra/metadata.json", "{}");
  EXPECT_THAT(openMessage(folder.path()),
              HasSubstr((folder.path() / "attributes/extra/metadata.json").string() + ": version: "));
}

TEST(OpenOctree, FetchesMetadataAndFirstChunkAndNothingElse) {
  const auto location = std::make_shared<MapLocation>(oneNode());
  (void)openOctree(location);
  EXPECT_THAT(location->requests(),
              ElementsAre(MapLocation::Request{"metadata.json", 0, MapLocation::kWholeFile},
                          MapLocation::Request{"hierarchy.bin", 0, 22}));
}

TEST(Octree, GivesEveryOctreeItsOwnNumber) {
  const auto location = std::make_shared<MapLocation>(oneNode());
  EXPECT_NE(openOctree(location)->serial(), openOctree(location)->serial());
}

TEST(Octree, GivesItsFacts) {
  const auto octree = openOctree(oneNode().set("/points", "12").set("/scale", "[0.25, 0.5, 1]"));
  EXPECT_EQ(octree->formatName(), "potree");
  EXPECT_EQ(octree->numPoints(), 12U);
  EXPECT_EQ(octree->position(), (Math::Point<double, 3>{{100, 200, 300}}));
  EXPECT_EQ(octree->spacing(), 0.5F);
  EXPECT_EQ(octree->spacing(nodeAt("")), 0.5);
  EXPECT_EQ(octree->spacing(nodeAt("012")), 0.0625);
  EXPECT_EQ(octree->scale(), (std::array{0.25, 0.5, 1.0}));
  EXPECT_THAT(octree->attributeNames(), ElementsAre("position", "intensity", "classification", "rgb"));
}

TEST(Octree, SaysWhichAttributesItHas) {
  const auto all = openOctree(
      PotreeFiles().attributes({"position", "rgb", "intensity", "classification", "normal_oct16"}));
  EXPECT_TRUE(all->hasColors() && all->hasIntensities() && all->hasClassification() && all->hasNormals());
  const auto none = openOctree(PotreeFiles().attributes({"position", "gps-time"}));
  EXPECT_FALSE(none->hasColors() || none->hasIntensities() || none->hasClassification() ||
               none->hasNormals());
}

TEST(Octree, CountsTheAttributesOfExternalOctreesAsItsOwn) {
  auto external =
      std::make_shared<MapLocation>(PotreeFiles().attributes({"normal_oct16", "visibility"}).files());
  const auto octree = openOctree(
      std::make_shared<MapLocation>(PotreeFiles().attributes({"position"}).node(0, somePoints(1)).files(),
                                    std::vector<std::shared_ptr<Octree::Location>>{external}));
  EXPECT_TRUE(octree->hasNormals());
  EXPECT_FALSE(octree->hasColors());
  EXPECT_THAT(octree->attributeNames(), ElementsAre("position", "normal_oct16", "visibility"));
}

TEST(Octree, ListsAttributesWhoseFormItCannotReadButDoesNotHaveThem) {
  const auto octree =
      openOctree(oneNode().set("/attributes/3/type", "\"uint8\"").set("/attributes/2/size", "2"));
  EXPECT_FALSE(octree->hasColors());
  EXPECT_FALSE(octree->hasClassification());
  EXPECT_THAT(octree->attributeNames(), ElementsAre("position", "intensity", "classification", "rgb"));
}

TEST(Octree, GivesTheClassHistogramAsItStands) {
  EXPECT_THAT(openOctree(oneNode().set("/attributes/2/histogram", "[5, 0, 9]"))->classHistogram(),
              ElementsAre(5, 0, 9));
  EXPECT_THAT(openOctree(oneNode())->classHistogram(), IsEmpty());
  EXPECT_THAT(openOctree(PotreeFiles().attributes({"position"}))->classHistogram(), IsEmpty());
}

TEST(Octree, TakesItsBoxFromThePositionAttributeElseTheCube) {
  const PotreeFiles files =
      oneNode().set("/attributes/0/min", "[101, 202, 303]").set("/attributes/0/max", "[110, 220, 330]");
  EXPECT_EQ(openOctree(files)->boundingBox(), (FloatBox{{{1, 2, 3}}, {{10, 20, 30}}}));
  const FloatBox cube{{{0, 0, 0}}, {{64, 64, 64}}};
  EXPECT_EQ(openOctree(oneNode().remove("/attributes/0/min"))->boundingBox(), cube);
  EXPECT_EQ(openOctree(oneNode().set("/attributes/0/min", "[101, 202]"))->boundingBox(), cube);
  EXPECT_EQ(openOctree(oneNode().set("/attributes/0/min", "[101, 202, 999]"))->boundingBox(), cube);
}

TEST(Octree, NarrowsItsBoxOutward) {
  const auto octree = openOctree(oneNode()
                                     .set("/offset", "[0.1, 0, 0]")
                                     .set("/attributes/0/min", "[0.4, 0.1, 16777217]")
                                     .set("/attributes/0/max", "[0.7, 0.3, 16777219]"));
  const FloatBox& box = octree->boundingBox();
  EXPECT_LE(double{box.minimum[0]}, 0.4 - 0.1);
  EXPECT_LE(double{box.minimum[1]}, 0.1);
  EXPECT_EQ(box.minimum[2], 16777216.0F);
  EXPECT_GE(double{box.maximum[0]}, 0.7 - 0.1);
  EXPECT_GE(double{box.maximum[1]}, 0.3);
  EXPECT_EQ(box.maximum[2], 16777220.0F);
  EXPECT_LT(box.maximum[1], std::nextafter(0.3F, 1.0F) + 1e-6F);
}

TEST(Octree, CutsCubesFromTheIdAloneWithoutALookup) {
  const auto location = std::make_shared<MapLocation>(oneNode());
  const auto octree = openOctree(location);
  const std::size_t requests = location->requests().size();
  EXPECT_EQ(octree->boundingCube(nodeAt("")), (FloatBox{{{0, 0, 0}}, {{64, 64, 64}}}));
  EXPECT_EQ(octree->boundingCube(nodeAt("4")), (FloatBox{{{32, 0, 0}}, {{64, 32, 32}}}));
  EXPECT_EQ(octree->boundingCube(nodeAt("43")), (FloatBox{{{32, 16, 16}}, {{48, 32, 32}}}));
  EXPECT_EQ(location->requests().size(), requests);
}

TEST(Octree, GrowsPointBoundsByOneStepOfEachAxis) {
  const auto octree = openOctree(oneNode().set("/scale", "[0.25, 0.5, 1]"));
  EXPECT_EQ(octree->pointBounds(nodeAt("4")), (FloatBox{{{31.75F, -0.5F, -1}}, {{64.25F, 32.5F, 33}}}));
}

TEST(Octree, AppliesThePositionFactorToTheWholeFrame) {
  const Octree::Octree octree(std::make_shared<MapLocation>(oneNode()), 2.0);
  EXPECT_EQ(octree.boundingCube({}), (FloatBox{{{0, 0, 0}}, {{128, 128, 128}}}));
  EXPECT_EQ(octree.pointBounds({}), (FloatBox{{{-1, -1, -1}}, {{129, 129, 129}}}));
  EXPECT_EQ(octree.spacing(), 1.0F);
  EXPECT_EQ(octree.position(), (Math::Point<double, 3>{{100, 200, 300}}));
}

TEST(Octree, ListsChildrenInRisingIndex) {
  const auto octree = openOctree(PotreeFiles().node(0b1010'0100, somePoints(1)));
  const Octree::ChildIds children = octree->children({}, {});
  EXPECT_EQ(std::vector(children.begin(), children.end()),
            (std::vector{nodeAt("2"), nodeAt("5"), nodeAt("7")}));
  EXPECT_EQ(octree->children(nodeAt("2"), {}).count, 0U);
  EXPECT_EQ(octree->children(nodeAt("3"), {}).count, 0U);
}

TEST(Octree, ListsTheLastThousandUnreadableNodesEachOnce) {
  const auto octree = openOctree(oneNode());
  Math::NodePoints points;
  std::vector<Octree::OctreeNodeId> asked;
  for (unsigned i = 0; i < 1100; ++i) {
    Octree::OctreeNodeId id;
    for (unsigned level = 0; level < 4; ++level)
      id = id.child(static_cast<std::uint8_t>(i >> (3 * level) & 7));
    asked.push_back(id);
    for (int twice = 0; twice < 2; ++twice) EXPECT_FALSE(octree->loadNodePoints(id, points, {}));
  }
  const auto listed = octree->unreadableNodes();
  ASSERT_EQ(listed.size(), 1000U);
  EXPECT_EQ(listed.front().id, asked[100]);
  EXPECT_EQ(listed.back().id, asked[1099]);
}

TEST(Octree, KeepsItsLocationAlive) {
  auto location = std::make_shared<MapLocation>(oneNode());
  const auto octree = openOctree(location);
  location.reset();
  Math::NodePoints points;
  EXPECT_TRUE(octree->loadNodePoints({}, points, {}));
}

}  // namespace
