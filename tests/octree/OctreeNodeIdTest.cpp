#include <gtest/gtest.h>

#include "octree/OctreeNodeId.h"

namespace {

using Octree::OctreeNodeId;

/// A node of the deepest level with a different child index on the way than its neighbours.
OctreeNodeId deepest() {
  OctreeNodeId id;
  for (unsigned level = 0; level < OctreeNodeId::kDeepestLevel; ++level) {
    id = id.child(static_cast<std::uint8_t>((level * 5 + 7) % 8));
  }
  return id;
}

TEST(OctreeNodeId, IsTheRootWhenDefaultConstructed) {
  const OctreeNodeId root;
  EXPECT_TRUE(root.isRoot());
  EXPECT_EQ(root.level(), 0U);
  EXPECT_EQ(root.childIndex(), 0U);
  EXPECT_EQ(root.value(), 1U);
  EXPECT_EQ(root.name(), "r");
}

TEST(OctreeNodeId, FindsTheWayBackFromEveryChild) {
  const OctreeNodeId node = OctreeNodeId().child(3).child(0);
  for (std::uint8_t i = 0; i < 8; ++i) {
    const OctreeNodeId child = node.child(i);
    EXPECT_EQ(child.parent(), node);
    EXPECT_EQ(child.childIndex(), i);
    EXPECT_EQ(child.level(), 3U);
    EXPECT_FALSE(child.isRoot());
  }
}

TEST(OctreeNodeId, NamesTheWayDown) { EXPECT_EQ(OctreeNodeId().child(0).child(4).child(2).name(), "r042"); }

TEST(OctreeNodeId, HoldsTwentyOneLevels) {
  OctreeNodeId id = deepest();
  EXPECT_EQ(id.level(), 21U);
  for (std::uint64_t level = 21; level > 0; --level) {
    const auto index = static_cast<std::uint8_t>(((level - 1) * 5 + 7) % 8);
    EXPECT_EQ(id.childIndex(), index) << level;
    EXPECT_EQ(deepest().childIndexAt(level), index) << level;
    id = id.parent();
  }
  EXPECT_TRUE(id.isRoot());
}

TEST(OctreeNodeId, TellsLevelsOfEqualIndicesApart) {
  EXPECT_NE(OctreeNodeId(), OctreeNodeId().child(0));
  EXPECT_NE(OctreeNodeId().child(0), OctreeNodeId().child(0).child(0));
}

// The expected values were computed apart, byte by byte, from the published offset basis and prime.
TEST(OctreeNodeId, HashesItsEightBytesLowestFirst) {
  const std::hash<OctreeNodeId> hash;
  EXPECT_EQ(hash(OctreeNodeId()), 0x89CD31291D2AEFA4U);                             // 01 00 00 ...
  EXPECT_EQ(hash(OctreeNodeId().child(5).child(2).child(4)), 0x8B439C4271A8C300U);  // 54 03 00 ...
}

}  // namespace
