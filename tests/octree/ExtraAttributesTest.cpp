// The stored attributes as extra columns of nodes: what is asked for, in its stored form, whatever octree
// holds it.
#include <gmock/gmock.h>

#include "core/Brotli.h"
#include "octree/MapLocation.h"
#include "octree/QueryPoints.h"

namespace {

using Math::NodePoints;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Testing::MapLocation;
using Testing::nodeAt;
using Testing::PotreeFiles;
using Testing::somePoints;
using Testing::StoredPoint;

using Names = std::vector<std::string>;
using Externals = std::vector<std::shared_ptr<Octree::Location>>;

constexpr auto kAll = "all attributes";

std::shared_ptr<Octree::Octree> open(const PotreeFiles& files, const Names& names,
                                     const Externals& externals = {}) {
  const bool all = names == Names{kAll};
  return Testing::openOctree(std::make_shared<MapLocation>(files.files(), externals), {names, all});
}

NodePoints load(Octree::Octree& octree, std::string_view path = "") {
  NodePoints points;
  EXPECT_TRUE(octree.loadNodePoints(nodeAt(path), points, {}));
  return points;
}

NodePoints load(const PotreeFiles& files, const Names& names, const Externals& externals = {}) {
  return load(*open(files, names, externals));
}

/// The bytes of a column; "no column" when there is none.
std::string bytesOf(const NodePoints& points, std::string_view name) {
  const std::optional<std::size_t> column = points.extras().find(name);
  if (!column) return "no column";
  const std::span<const std::byte> bytes = points.extras().bytes(*column);
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// One node of these points.
PotreeFiles cloudOf(const std::vector<StoredPoint>& points, const Names& names, bool brotli) {
  PotreeFiles files = PotreeFiles().attributes(names);
  if (!brotli) return files.node(0, points);
  const std::string blocks = Testing::encodeBlocks(points, names);
  files.set("/encoding", "\"BROTLI\"");
  return files.node(0, static_cast<std::uint32_t>(points.size()),
                    Core::brotliEncode(std::as_bytes(std::span(blocks)), 5));
}

std::shared_ptr<MapLocation> location(const PotreeFiles& files) {
  return std::make_shared<MapLocation>(files);
}

TEST(ExtraAttributes, AreWhatIsStoredInAnyOrderAndBothEncodings) {
  Names names = {"position",      "rgb",       "intensity",    "classification", "visibility", "gps-time",
                 "return number", "ScanIndex", "normal_oct16", "NormalX",        "NormalY",    "NormalZ"};
  const std::vector<StoredPoint> stored = Testing::randomPoints(600, 3);  // more than one block
  std::mt19937 random(21);
  for (int round = 0; round < 10; ++round) {
    std::shuffle(names.begin(), names.end(), random);
    for (const bool brotli : {false, true}) {
      const NodePoints points = load(cloudOf(stored, names, brotli), {kAll});
      for (const std::string& name : names) {
        EXPECT_TRUE(bytesOf(points, name) == Testing::encodeRecords(stored, Names{name})) << name << brotli;
      }
    }
  }
}

TEST(ExtraAttributes, AreThoseAskedForAlone) {
  const PotreeFiles files = cloudOf(somePoints(2), {"position", "gps-time", "ScanIndex"}, false);
  const NodePoints points = load(files, {"ScanIndex", "no such attribute"});
  EXPECT_EQ(bytesOf(points, "ScanIndex").size(), 8U);
  EXPECT_EQ(bytesOf(points, "gps-time"), "no column");
  EXPECT_EQ(bytesOf(points, "no such attribute"), "no column");
  EXPECT_THAT(load(files, {}).extras().attributes(), IsEmpty());
}

TEST(ExtraAttributes, LeaveTheStandardColumnsAsTheyAre) {
  for (const bool brotli : {false, true}) {
    const PotreeFiles files =
        cloudOf(Testing::randomPoints(300, 9), {"rgb", "position", "intensity", "classification"}, brotli);
    const NodePoints without = load(files, {});
    const NodePoints with = load(files, {kAll});
    EXPECT_TRUE(std::ranges::equal(with.positions(), without.positions()));
    EXPECT_TRUE(std::ranges::equal(with.colors(), without.colors()));
    EXPECT_TRUE(std::ranges::equal(with.intensities(), without.intensities()));
    EXPECT_TRUE(std::ranges::equal(with.classIndices(), without.classIndices()));
  }
}

TEST(ExtraAttributes, CostNothingWhereNoneAreAskedFor) {
  const PotreeFiles files = cloudOf(somePoints(100), {"position", "gps-time"}, false);
  const NodePoints points = load(files, {});
  EXPECT_EQ(points.extras().byteSize(), 0U);
  EXPECT_EQ(load(files, {"gps-time"}).byteSize(), points.byteSize() + 800);
}

TEST(ExtraAttributes, ComeFromExternalOctreesToo) {
  for (const bool brotli : {false, true}) {
    const std::vector<StoredPoint> stored = somePoints(3);
    const auto external = location(cloudOf(stored, {"gps-time", "ScanIndex"}, brotli));
    const NodePoints points =
        load(cloudOf(stored, {"position", "classification"}, !brotli), {"gps-time", "position"}, {external});
    EXPECT_EQ(bytesOf(points, "gps-time"), Testing::encodeRecords(stored, Names{"gps-time"}));
    EXPECT_EQ(bytesOf(points, "position"), Testing::encodeRecords(stored, Names{"position"}));
    EXPECT_EQ(bytesOf(points, "ScanIndex"), "no column");
  }
}

TEST(ExtraAttributes, AreZerosWhereAnExternalOctreeHasNoValue) {
  const auto external = location(cloudOf(somePoints(1), {"return number"}, false));
  const auto octree =
      open(PotreeFiles().node(0b1, somePoints(3)).node(0, somePoints(2)), {"return number"}, {external});
  const std::string first = Testing::encodeRecords(somePoints(1), Names{"return number"});
  EXPECT_EQ(bytesOf(load(*octree), "return number"), first + std::string(2, '\0'));
  EXPECT_EQ(bytesOf(load(*octree, "0"), "return number"), std::string(2, '\0'));
}

TEST(ExtraAttributes, OfLaterOctreesWriteOverThoseOfTheSameForm) {
  const auto classes = location(PotreeFiles().attributes({"classification"}).node(0, 2, "\x05\x06"));
  const auto wide = location(PotreeFiles()
                                 .attributes({"intensity"})
                                 .set("/attributes/0/size", "4")
                                 .set("/attributes/0/type", "\"uint32\"")
                                 .node(0, 2, "12345678"));
  const NodePoints points = load(PotreeFiles().node(0, somePoints(2)), {kAll}, {classes, wide});
  EXPECT_EQ(bytesOf(points, "classification"), "\x05\x06");
  EXPECT_EQ(bytesOf(points, "intensity"), Testing::encodeRecords(somePoints(2), Names{"intensity"}));
}

TEST(ExtraAttributes, FollowAVisibilityHint) {
  const auto hidden = location(
      PotreeFiles().attributes({"visibility"}).record({.type = 0x21, .numPoints = 2, .byteSize = 2}));
  const NodePoints points = load(PotreeFiles().node(0, somePoints(3)), {"visibility"}, {hidden});
  EXPECT_EQ(bytesOf(points, "visibility"), "\x01\x01\x01");
  EXPECT_EQ(hidden->requestsFor("octree.bin"), 0U);
}

TEST(ExtraAttributes, StayWithThePointsThatARegionWalkTakes) {
  const auto octree = open(PotreeFiles().node(0, somePoints(9)), {"intensity", "rgb"});
  const auto cache = std::make_shared<Octree::OctreeNodeCache>(10);
  const Math::NBoundingBox<float, 3> box{{{1, 1, 1}}, {{2, 2, 2}}};  // the points 2, 3 and 4
  const NodePoints points = (*Octree::allPointsInside(octree, cache, box, 0, {}))->points();
  ASSERT_EQ(points.size(), 3U);
  std::vector<StoredPoint> inside;
  for (const std::uint16_t intensity : points.intensities())
    inside.push_back(somePoints(9)[intensity - 1000U]);
  EXPECT_EQ(bytesOf(points, "intensity"), Testing::encodeRecords(inside, Names{"intensity"}));
  EXPECT_EQ(bytesOf(points, "rgb"), Testing::encodeRecords(inside, Names{"rgb"}));
}

TEST(ExtraAttributes, ComeThroughReadAheadAndCache) {
  const auto octree = open(PotreeFiles()
                               .node(0b111, somePoints(1))
                               .node(0, somePoints(2, 10))
                               .node(0, somePoints(2, 20))
                               .node(0, somePoints(2, 30)),
                           {"intensity"});
  const auto cache = std::make_shared<Octree::OctreeNodeCache>(10);
  for (int round = 0; round < 2; ++round) {
    std::string all;
    for (auto walk = Octree::allPoints(octree, cache, 0, {}); walk != decltype(walk)(); ++walk) {
      all += bytesOf((*walk)->points(), "intensity");
    }
    EXPECT_EQ(all,
              Testing::littleEndian(std::array<std::uint16_t, 7>{1000, 1010, 1011, 1020, 1021, 1030, 1031}));
  }
}

TEST(ExtraAttributes, OfOneOctreeAreNoneOfAnotherThatSharesItsCache) {
  const auto files = std::make_shared<MapLocation>(PotreeFiles().node(0, somePoints(2)));
  const auto cache = std::make_shared<Octree::OctreeNodeCache>(10);
  const auto with = Testing::openOctree(files, {.names = {"intensity"}});
  const auto without = Testing::openOctree(files);
  EXPECT_EQ(bytesOf((*Octree::allPoints(without, cache, 0, {}))->points(), "intensity"), "no column");
  EXPECT_EQ(bytesOf((*Octree::allPoints(with, cache, 0, {}))->points(), "intensity").size(), 4U);
}

TEST(ExtraAttributes, AreListedWithTheirRanges) {
  PotreeFiles files = PotreeFiles().attributes({"position", "gps-time", "ScanIndex"});
  files.set("/attributes/1/max", "[5, 6]").set("/attributes/2/type", "\"undefined\"");
  const auto external = location(PotreeFiles().attributes({"visibility"}));
  const auto stored = open(files, {}, {external})->storedAttributes();
  ASSERT_EQ(stored.size(), 3U);
  EXPECT_THAT(stored[0].max, ElementsAre(164, 264, 364));
  EXPECT_EQ(stored[1].attribute.name, "gps-time");
  EXPECT_THAT(stored[1].max, IsEmpty());
  EXPECT_EQ(stored[2].attribute.name, "visibility");
  EXPECT_THAT(stored[2].max, ElementsAre(1000));
}

TEST(ExtraAttributes, AreRefusedWhereTheyTakeTooManyBytesAPoint) {
  PotreeFiles files = PotreeFiles().set("/attributes/1/size", "4084");  // positions take 12 more
  EXPECT_NO_THROW((void)open(files, {"position", "intensity"}));
  files.set("/attributes/1/size", "4086");
  EXPECT_NO_THROW((void)open(files, {"intensity"}));
  EXPECT_THAT(
      Testing::messageOf([&] {
        (void)open(files, {"position", "intensity"});
      }),
      HasSubstr("cannot open map: attributes to load: expected at most 4096 bytes a point, found 4098"));
}

}  // namespace
