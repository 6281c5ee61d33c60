#include <gtest/gtest.h>

#include "octree/MapLocation.h"
#include "octree/potree/Node.h"

namespace {

using PoTree::Node;
using PoTree::NodeType;
using Testing::HierarchyRecord;
using Testing::nodeAt;

const Math::NBoundingBox<double, 3> kBox{{{0, 0, 0}}, {{8, 80, 800}}};

std::shared_ptr<Node> parse(const std::string& chunk, Octree::OctreeNodeId id = {}) {
  // A vector of its own, so that an address sanitizer sees reads beyond the chunk.
  const std::vector<char> exact(chunk.begin(), chunk.end());
  return PoTree::parseHierarchyChunk(std::as_bytes(std::span(exact)), id, kBox);
}

std::string chunkOf(std::initializer_list<HierarchyRecord> records) {
  std::string chunk;
  for (const HierarchyRecord& record : records) chunk += record.bytes();
  return chunk;
}

TEST(HierarchyChunk, OfTwentyOneBytesOrLessYieldsNothing) {
  for (std::size_t n = 0; n <= 21; ++n) EXPECT_EQ(parse(std::string(n, '\xFF')), nullptr) << n;
}

TEST(HierarchyChunk, OfFortyFiveBytesIsParsedAsTwoRecords) {
  const auto node = parse(chunkOf({{.childMask = 0b11}, {.numPoints = 5}}) + "\x07");
  ASSERT_TRUE(node && node->children[0] && node->children[1]);
  EXPECT_EQ(node->children[0]->numPoints, 5U);
  EXPECT_EQ(node->children[1]->numPoints, 0U);  // the last byte is no record
  EXPECT_EQ(node->children[1]->nodeType, 0);
}

TEST(HierarchyChunk, MakesALeafOfANormalNodeWithoutChildren) {
  const auto node = parse(chunkOf({{.type = HierarchyRecord::kNormal, .childMask = 0}}));
  EXPECT_TRUE(node->is(NodeType::Leaf));
}

TEST(HierarchyChunk, TakesTheTypeFromTheMaskNotFromTheRecord) {
  for (const std::uint8_t type : {HierarchyRecord::kLeaf, std::uint8_t{0x0F}}) {
    EXPECT_TRUE(parse(chunkOf({{.type = type, .childMask = 1}, {}}))->is(NodeType::Normal)) << int{type};
    EXPECT_TRUE(parse(chunkOf({{.type = type, .childMask = 0}}))->is(NodeType::Leaf)) << int{type};
  }
}

TEST(HierarchyChunk, OfTypeByte0x12GivesAProxyWithHintOneAndNoChildren) {
  const auto node = parse(chunkOf({{.childMask = 1}, {.type = 0x12, .childMask = 0xFF, .numPoints = 9}}));
  const Node& proxy = *node->children[0];
  EXPECT_TRUE(proxy.is(NodeType::Proxy));
  EXPECT_EQ(proxy.visibilityHint, 1);
  EXPECT_EQ(proxy.numPoints, 9U);
  for (const auto& child : proxy.children) EXPECT_EQ(child, nullptr);
}

TEST(HierarchyChunk, MakesALeafOfANodeAtLevel21EvenIfItsRecordListsChildren) {
  const auto id = nodeAt("777777777777777777777");
  ASSERT_EQ(id.level(), 21U);
  const auto node =
      parse(chunkOf({{.type = HierarchyRecord::kNormal, .childMask = 0xFF, .numPoints = 3}, {}}), id);
  EXPECT_TRUE(node->is(NodeType::Leaf));
  EXPECT_EQ(node->childMask, 0);
  EXPECT_EQ(node->numPoints, 3U);
  for (const auto& child : node->children) EXPECT_EQ(child, nullptr);
}

TEST(HierarchyChunk, KeepsAProxyAtLevel21) {
  const auto node = parse(chunkOf({{.type = HierarchyRecord::kProxy}}), nodeAt("777777777777777777777"));
  EXPECT_TRUE(node->is(NodeType::Proxy));
}

TEST(HierarchyChunk, IgnoresRecordsThatItsStructureDoesNotReach) {
  const auto node =
      parse(chunkOf({{.childMask = 0b100}, {.numPoints = 1}, {.numPoints = 2}, {.childMask = 0xFF}}));
  ASSERT_NE(node->children[2], nullptr);
  EXPECT_EQ(node->children[2]->numPoints, 1U);
  EXPECT_EQ(node->childMask, 0b100);
}

TEST(HierarchyChunk, LeavesNodesWithoutARecordEmpty) {
  const auto node = parse(chunkOf({{.childMask = 0xFF}, {.childMask = 0xFF, .numPoints = 4}}));
  for (std::size_t i = 0; i < 8; ++i) ASSERT_NE(node->children[i], nullptr) << i;
  EXPECT_EQ(node->children[0]->numPoints, 4U);
  ASSERT_NE(node->children[0]->children[7], nullptr);
  const Node& missing = *node->children[7];
  EXPECT_EQ(missing.nodeType, 0);
  EXPECT_EQ(missing.numPoints + missing.byteOffset + missing.byteSize + missing.childMask, 0U);
}

TEST(HierarchyChunk, ListsBreadthFirstInRisingChildIndex) {
  const auto node = parse(chunkOf({{.childMask = 0b1000'0010},
                                   {.childMask = 0b1, .numPoints = 1},
                                   {.childMask = 0b100, .numPoints = 7},
                                   {.numPoints = 10},
                                   {.numPoints = 72}}));
  EXPECT_EQ(node->children[1]->numPoints, 1U);
  EXPECT_EQ(node->children[7]->numPoints, 7U);
  EXPECT_EQ(node->children[1]->children[0]->numPoints, 10U);
  EXPECT_EQ(node->children[7]->children[2]->numPoints, 72U);
  EXPECT_EQ(node->children[7]->children[2]->id, nodeAt("72"));
}

TEST(HierarchyChunk, ReadsEveryFieldToItsFullWidth) {
  const auto node = parse(chunkOf({{.type = 0xF1,
                                    .numPoints = 0xFEDC'BA98U,
                                    .byteOffset = 0xFEDC'BA98'7654'3210U,
                                    .byteSize = 0x0123'4567'89AB'CDEFU}}));
  EXPECT_EQ(node->visibilityHint, 15);
  EXPECT_EQ(node->numPoints, 0xFEDC'BA98U);
  EXPECT_EQ(node->byteOffset, 0xFEDC'BA98'7654'3210U);
  EXPECT_EQ(node->byteSize, 0x0123'4567'89AB'CDEFU);
}

TEST(HierarchyChunk, BeginsBelowTheRootWithIdAndBoxGiven) {
  const auto node = parse(chunkOf({{.childMask = 0b10'0000}, {}}), nodeAt("3"));
  EXPECT_EQ(node->id, nodeAt("3"));
  EXPECT_EQ(node->boundingBox, kBox);
  EXPECT_EQ(node->children[5]->id, nodeAt("35"));
  EXPECT_EQ(node->children[5]->boundingBox, PoTree::childBox(kBox, 5));
}

TEST(HierarchyChunk, LeavesANodeAliveAfterTheFirstOneIsGone) {
  auto node = parse(chunkOf({{.childMask = 1}, {.childMask = 1, .numPoints = 1}, {.numPoints = 2}}));
  const std::shared_ptr<Node> grandchild = node->children[0]->children[0];
  const std::weak_ptr<Node> child = node->children[0];
  node.reset();
  EXPECT_TRUE(child.expired());
  EXPECT_EQ(grandchild->numPoints, 2U);
  EXPECT_EQ(grandchild->id, nodeAt("00"));
}

TEST(ChildBox, HalvesXByBitTwoYByBitOneZByBitZero) {
  using Box = Math::NBoundingBox<double, 3>;
  EXPECT_EQ(PoTree::childBox(kBox, 0), (Box{{{0, 0, 0}}, {{4, 40, 400}}}));
  EXPECT_EQ(PoTree::childBox(kBox, 4), (Box{{{4, 0, 0}}, {{8, 40, 400}}}));
  EXPECT_EQ(PoTree::childBox(kBox, 2), (Box{{{0, 40, 0}}, {{4, 80, 400}}}));
  EXPECT_EQ(PoTree::childBox(kBox, 1), (Box{{{0, 0, 400}}, {{4, 40, 800}}}));
  EXPECT_EQ(PoTree::childBox(kBox, 7), (Box{{{4, 40, 400}}, {{8, 80, 800}}}));
}

}  // namespace
