// Clouds behind an address: opening, walking, and what a user is told.
#include "core/http/HttpError.h"
#include "https/HttpsTest.h"
#include "octree/MapLocation.h"
#include "octree/QueryPoints.h"
#include "octree/potree/HttpsLocation.h"

namespace {

using Octree::Algorithm::QueryPointsIterator;
using testing::EndsWith;
using testing::HasSubstr;
using Testing::messageOf;
using testing::SizeIs;

/// Root and its children, one of which has a child in a chunk of its own.
Testing::PotreeFiles smallCloud() {
  Testing::PotreeFiles files;
  files.node(0x81, Testing::somePoints(20)).node(0, Testing::somePoints(10, 100));
  files.proxy(3, 2);
  files.endFirstChunk();
  files.node(0x01, Testing::somePoints(5, 200)).node(0, Testing::somePoints(7, 300));
  return files;
}

class HttpsLocations : public Testing::HttpsTest {
 protected:
  HttpsLocations() {
    for (const auto& [name, bytes] : smallCloud().files())
      Testing::httpsWorld().root.write("cloud/" + name, bytes);
  }

  std::shared_ptr<PoTree::HttpsLocation> location(const std::string& fault,
                                                  const std::string& folder = "cloud") {
    return std::make_shared<PoTree::HttpsLocation>(url(fault) + '/' + folder, nullptr, settings);
  }

  static std::uint64_t pointsOf(const std::shared_ptr<Octree::Octree>& octree) {
    std::uint64_t points = 0;
    for (QueryPointsIterator walk = Octree::allPoints(octree, nullptr, 0, {}); walk != QueryPointsIterator();
         ++walk)
      points += (*walk)->points().size();
    return points;
  }
};

TEST_F(HttpsLocations, AreWalkedAsTheyAreInAFolder) {
  const auto octree = Testing::openOctree(location("plain"));
  EXPECT_EQ(pointsOf(octree), 42U);
  EXPECT_TRUE(octree->unreadableNodes().empty());
}

TEST_F(HttpsLocations, AreOpenedWithTwoRequests) {
  (void)Testing::openOctree(location("plain"));
  ASSERT_THAT(requests(), SizeIs(2));
  EXPECT_EQ(requests()[0].file, "cloud/metadata.json");
  EXPECT_EQ(requests()[1].file, "cloud/hierarchy.bin");
}

TEST_F(HttpsLocations, ExistWhenTheirMetadataCanBeFetched) {
  EXPECT_TRUE(location("plain")->exists());
  EXPECT_FALSE(location("plain", "none")->exists());
  EXPECT_FALSE(PoTree::HttpsLocation("https://127.0.0.1:1/cloud", nullptr, settings).exists());
  EXPECT_FALSE(PoTree::HttpsLocation("not an address", nullptr, settings).exists());
}

TEST_F(HttpsLocations, AreAskedOnceWhetherTheyExist) {
  EXPECT_FALSE(location("status=503")->exists());
  EXPECT_THAT(requests(), SizeIs(1));
}

TEST_F(HttpsLocations, WithoutMetadataAreRefusedWithBothAnswers) {
  const std::string address = url("plain") + "/none";
  EXPECT_EQ(messageOf([&] { (void)Testing::openOctree(location("plain", "none")); }),
            "cannot open " + address + ": " + address + "/metadata.json: HTTP status 404: not found; " +
                address + "/ept.json: HTTP status 404: not found");
}

TEST_F(HttpsLocations, WhoseServerIsOutOfOrderAreNotAskedForOtherMetadata) {
  EXPECT_THAT(messageOf([&] { (void)Testing::openOctree(location("status=503")); }),
              EndsWith("metadata.json: HTTP status 503 (5 tries)"));
  EXPECT_THAT(requests(), SizeIs(5));
}

TEST_F(HttpsLocations, WhoseServerAnswersWithAPageAreNotJson) {
  EXPECT_THAT(messageOf([&] { (void)Testing::openOctree(location("html")); }),
              HasSubstr("not JSON (starts with '<!DOCTYPE html"));
}

TEST_F(HttpsLocations, WithANodeThatCannotBeHadWalkOnAndNameIt) {
  const auto octree = Testing::openOctree(location("status=404@octree.bin"));
  EXPECT_EQ(pointsOf(octree), 0U);
  const std::vector<Octree::UnreadableNode> nodes = octree->unreadableNodes();
  ASSERT_THAT(nodes, SizeIs(4));
  EXPECT_EQ(nodes[0].reason,
            url("status=404@octree.bin") + "/cloud/octree.bin, byte 0: HTTP status 404: not found");
}

TEST_F(HttpsLocations, ThatChangeBetweenTwoNodesAreNotMixed) {
  const auto octree = Testing::openOctree(location("change=3@octree.bin"));
  Math::NodePoints points;
  EXPECT_TRUE(octree->loadNodePoints(Testing::nodeAt(""), points, {}));
  EXPECT_FALSE(octree->loadNodePoints(Testing::nodeAt("0"), points, {}));
  ASSERT_THAT(octree->unreadableNodes(), SizeIs(1));
  EXPECT_THAT(octree->unreadableNodes()[0].reason, EndsWith("dataset changed while open"));
}

TEST_F(HttpsLocations, SendTheQueryWithEveryFileAndShowItNowhere) {
  const auto signedLocation =
      std::make_shared<PoTree::HttpsLocation>(url("plain") + "/cloud?token=secret", nullptr, settings);
  EXPECT_EQ(signedLocation->toString(), url("plain") + "/cloud");
  EXPECT_EQ(pointsOf(Testing::openOctree(signedLocation)), 42U);
  for (const Testing::LoggedRequest& request : requests()) EXPECT_EQ(request.query, "token=secret");
}

TEST_F(HttpsLocations, AreEqualWhenTheirWholeAddressesAre) {
  const PoTree::HttpsLocation a("https://host/cloud?a", nullptr);
  const PoTree::HttpsLocation same("https://host/cloud?a", nullptr);
  const PoTree::HttpsLocation other("https://host/cloud?b", nullptr);
  EXPECT_TRUE(static_cast<const Octree::Location&>(a) == same);
  EXPECT_FALSE(static_cast<const Octree::Location&>(a) == other);
  EXPECT_EQ(std::hash<Octree::Location>{}(a), std::hash<Octree::Location>{}(same));
}

TEST_F(HttpsLocations, ThatAreNoAddressesFailEveryFetch) {
  const auto wrong = std::make_shared<PoTree::HttpsLocation>("http://host/cloud?token=1", nullptr);
  EXPECT_EQ(
      messageOf([&] { (void)Testing::openOctree(wrong); }),
      "cannot open http://host/cloud: http://host/cloud: expected an https address, found the scheme 'http'");
  EXPECT_NE(messageOf([&] { (void)wrong->fetchFileSize("octree.bin", {}).get(); }), "nothing thrown");
  EXPECT_EQ(wrong->fetchFile("octree.bin", 5, 0, {}).get(), "");
}

TEST_F(HttpsLocations, TellTheSizeOfAFile) {
  EXPECT_EQ(location("plain")->fetchFileSize("hierarchy.bin", {}).get(),
            smallCloud().files().at("hierarchy.bin").size());
}

}  // namespace
