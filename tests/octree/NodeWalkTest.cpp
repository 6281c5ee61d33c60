// Which nodes a walk asks about and visits, and what it tells the cache.
#include <gmock/gmock.h>

#include "octree/MapLocation.h"
#include "octree/QueryPoints.h"

namespace {

using Octree::OctreeNodeCache;
using Octree::Algorithm::NodeWalk;
using testing::ElementsAre;
using Testing::nodeAt;
using Testing::openOctree;
using Testing::somePoints;
using Names = std::vector<std::string>;

/// Nodes r, r0, r5, r00 and r57, 50 points each.
std::shared_ptr<Octree::Octree> fiveNodes() {
  Testing::PotreeFiles files;
  for (const unsigned mask : {0b10'0001U, 0b1U, 0b1000'0000U, 0U, 0U}) {
    files.node(static_cast<std::uint8_t>(mask), somePoints(50));
  }
  return openOctree(files);
}

/// A shape that gives the same answer for every node.
struct Judge {
  NodeWalk::Verdict verdict;
  int questions = 0;

  NodeWalk::Verdict operator()(const Math::NBoundingBox<float, 3>&) {
    ++questions;
    return verdict;
  }
};

/// The nodes of a walk in their order.
Names visited(bool rootInside, Judge& judge) {
  NodeWalk walk(fiveNodes(), 0, {});
  walk.start(rootInside);
  Names names;
  const auto ask = [&judge](const Math::NBoundingBox<float, 3>& bounds) { return judge(bounds); };
  for (walk.step(ask); walk.octree(); walk.step(ask)) {
    names.push_back(walk.id().name() + (walk.insideShape() ? " inside" : ""));
  }
  return names;
}

TEST(NodeWalk, AsksAboutEveryChildOfNodesThatAreNotInside) {
  Judge partly{{true, false}};
  EXPECT_THAT(visited(false, partly), ElementsAre("r", "r0", "r5", "r00", "r57"));
  EXPECT_EQ(partly.questions, 4);
}

TEST(NodeWalk, AsksNothingBelowANodeThatIsInside) {
  Judge outside{{false, false}};
  EXPECT_THAT(visited(true, outside),
              ElementsAre("r inside", "r0 inside", "r5 inside", "r00 inside", "r57 inside"));
  EXPECT_EQ(outside.questions, 0);
  Judge inside{{true, true}};
  EXPECT_THAT(visited(false, inside), ElementsAre("r", "r0 inside", "r5 inside", "r00 inside", "r57 inside"));
  EXPECT_EQ(inside.questions, 2);
}

TEST(NodeWalk, VisitsNeitherADroppedChildNorWhatIsBelowIt) {
  Judge outside{{false, false}};
  EXPECT_THAT(visited(false, outside), ElementsAre("r"));
  EXPECT_EQ(outside.questions, 2);
}

TEST(NodeWalk, OfTheDefaultIsAtItsEndAndStaysThere) {
  NodeWalk walk;
  walk.step([](const Math::NBoundingBox<float, 3>&) { return NodeWalk::Verdict{true, true}; });
  EXPECT_EQ(walk, NodeWalk());
}

TEST(AllPointsInside, ChargesTheCacheForTheTreeOfANodeThatItFilters) {
  const auto octree = fiveNodes();
  const std::size_t bytes = (*Octree::allPoints(octree, nullptr, 0, {}))->byteSize();
  const auto cache = std::make_shared<OctreeNodeCache>(10, 5 * bytes);  // all nodes, but no tree
  for (auto walk = Octree::allPoints(octree, cache, 0, {}); walk != decltype(walk)(); ++walk) (void)*walk;
  ASSERT_TRUE(cache->holds(*octree, {}) && cache->holds(*octree, nodeAt("0")));
  const Math::NSphere<float, 3> aboutTheFirstPoints{{{0, 0, 0}}, 5};
  auto walk = Octree::allPointsInside(octree, cache, aboutTheFirstPoints, 0, {});
  EXPECT_EQ((*walk)->points().size(), 6U);
  EXPECT_TRUE(cache->holds(*octree, {}));
  EXPECT_FALSE(cache->holds(*octree, nodeAt("0")));  // the least recently used made room
}

}  // namespace
