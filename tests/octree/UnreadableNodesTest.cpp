#include <gtest/gtest.h>

#include "octree/MapLocation.h"
#include "octree/UnreadableNodes.h"

namespace {

using Octree::UnreadableNodes;
using Testing::nodeAt;

TEST(UnreadableNodes, ListsNodesInTheOrderInWhichTheyCame) {
  UnreadableNodes nodes;
  nodes.add(nodeAt("7"), "first");
  nodes.add(nodeAt("0"), "second");
  ASSERT_EQ(nodes.list().size(), 2U);
  EXPECT_EQ(nodes.list()[0].id, nodeAt("7"));
  EXPECT_EQ(nodes.list()[1].reason, "second");
}

TEST(UnreadableNodes, KeepsTheFirstReasonOfANode) {
  UnreadableNodes nodes;
  nodes.add(nodeAt("7"), "the cause");
  nodes.add(nodeAt("7"), "what followed");
  ASSERT_EQ(nodes.list().size(), 1U);
  EXPECT_EQ(nodes.list()[0].reason, "the cause");
}

TEST(UnreadableNodes, ForgetsANodeThatWasReadAfterAll) {
  UnreadableNodes nodes;
  nodes.add(nodeAt("7"), "a chunk that came on the second try");
  nodes.add(nodeAt("3"), "damage");
  nodes.remove(nodeAt("7"));
  ASSERT_EQ(nodes.list().size(), 1U);
  EXPECT_EQ(nodes.list()[0].id, nodeAt("3"));
}

TEST(UnreadableNodes, ForgetsTheOldestOfTooMany) {
  UnreadableNodes nodes;
  Octree::OctreeNodeId id;
  std::vector<Octree::OctreeNodeId> added;
  for (unsigned i = 0; i < UnreadableNodes::kMost + 1; ++i) {
    id = {};
    for (unsigned shift = 0; shift < 12; shift += 3) id = id.child(static_cast<std::uint8_t>(i >> shift & 7));
    added.push_back(id);
    nodes.add(id, "x");
  }
  ASSERT_EQ(nodes.list().size(), UnreadableNodes::kMost);
  EXPECT_EQ(nodes.list().front().id, added[1]);
  EXPECT_EQ(nodes.list().back().id, id);
}

}  // namespace
