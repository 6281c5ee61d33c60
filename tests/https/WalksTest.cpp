// Walks while their server dies.
#include <latch>
#include <thread>

#include "https/HttpsTest.h"
#include "octree/MapLocation.h"
#include "octree/QueryPoints.h"
#include "octree/potree/HttpsLocation.h"

namespace {

using Octree::Algorithm::QueryPointsIterator;
using testing::HasSubstr;

/// Root and eight children, far apart in the file, so that each is a request of its own.
Testing::PotreeFiles cloudOfNineNodes() {
  Testing::PotreeFiles files;
  for (std::uint32_t i = 0; i < 9; ++i) files.node(i == 0 ? 0xFF : 0, Testing::somePoints(10 + i, 100 * i));
  return files;
}

class HttpsWalks : public Testing::HttpsTest {
 protected:
  HttpsWalks() {
    for (const auto& [name, bytes] : cloudOfNineNodes().files()) root_.write("cloud/" + name, bytes);
    settings.largestGap = 0;
    settings.largestJoined = 1;
    startServer(0);
  }

  void startServer(std::uint16_t port) {
    own_ = std::make_unique<Testing::HttpsServer>(Testing::httpsWorld().authority, root_.path(),
                                                  Testing::HttpsServer::Setup{.port = port});
  }

  std::shared_ptr<Octree::Octree> open() {
    return Testing::openOctree(
        std::make_shared<PoTree::HttpsLocation>(own_->url("case/plain/cloud"), nullptr, settings));
  }

  Testing::TempFolder root_;
  std::unique_ptr<Testing::HttpsServer> own_;
};

TEST_F(HttpsWalks, GoOnWhenTheServerComesBack) {
  settings.firstPause = std::chrono::milliseconds(50);
  settings.tries = 10;
  const auto octree = open();
  std::latch twoNodes(1);
  std::latch serverIsDead(1);
  std::uint64_t points = 0;
  std::jthread walker([&] {  // the server belongs to the thread that starts it
    int nodes = 0;
    for (QueryPointsIterator walk = Octree::allPoints(octree, nullptr, 0, {}); walk != QueryPointsIterator();
         ++walk) {
      points += (*walk)->points().size();
      if (++nodes != 2) continue;
      twoNodes.count_down();
      serverIsDead.wait();
    }
  });
  twoNodes.wait();
  const std::uint16_t port = own_->port();
  own_.reset();
  serverIsDead.count_down();
  startServer(port);
  walker.join();
  EXPECT_EQ(points, 126U);
  EXPECT_TRUE(octree->unreadableNodes().empty());
}

TEST_F(HttpsWalks, NameTheNodesThatAreMissingWhenTheServerStaysAway) {
  settings.tries = 1;
  settings.restTime = std::chrono::minutes(10);
  const auto octree = open();
  QueryPointsIterator walk = Octree::allPoints(octree, nullptr, 0, {});
  EXPECT_EQ((*walk)->points().size(), 10U);
  own_.reset();
  std::size_t missing = 0;
  for (++walk; walk != QueryPointsIterator(); ++walk) missing += (*walk)->points().size() == 0 ? 1 : 0;
  const std::vector<Octree::UnreadableNode> nodes = octree->unreadableNodes();
  EXPECT_EQ(missing, 8U);
  ASSERT_EQ(nodes.size(), 8U);
  for (const Octree::UnreadableNode& node : nodes)
    EXPECT_THAT(node.reason, HasSubstr("case/plain/cloud/octree.bin"));
}

TEST_F(HttpsWalks, GetEveryNodeFromAServerThatFailsNowAndThen) {
  const auto walked = [&](const std::string& fault) {
    const auto octree = Testing::openOctree(
        std::make_shared<PoTree::HttpsLocation>(own_->url(fault + "/cloud"), nullptr, settings));
    std::uint64_t points = 0;
    for (QueryPointsIterator walk = Octree::allPoints(octree, nullptr, 0, {}); walk != QueryPointsIterator();
         ++walk)
      points += (*walk)->points().size();
    return points;
  };
  for (const char* fault : {"status=503*4", "short-body*6@octree.bin", "reset*6@octree.bin",
                            "wrong-range=1:0:0*1@octree.bin", "no-answer*4", "ignore-range", "redirect=2"}) {
    EXPECT_EQ(walked(std::string(fault).substr(0, 5) + '/' + fault), 126U) << fault;
  }
}

}  // namespace
