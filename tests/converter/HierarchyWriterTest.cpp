#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "converter/HierarchyWriter.h"
#include "converter/WrittenOctree.h"

namespace {

using Converter::HierarchyNode;
using Converter::writeHierarchy;
using testing::ElementsAre;
using Testing::nodeNamed;
using Testing::readChunks;

/// A node with a point; offset and size are made from the name, so that a mix-up shows.
HierarchyNode node(const std::string& name, std::uint32_t numPoints = 1) {
  return {nodeNamed(name), numPoints, 1000 * nodeNamed(name).value(), 10 + name.size()};
}

/// The nodes on the way from the root to @p name, both included.
std::vector<HierarchyNode> chainTo(const std::string& name) {
  std::vector<HierarchyNode> nodes;
  for (std::size_t length = 1; length <= name.size(); ++length) nodes.push_back(node(name.substr(0, length)));
  return nodes;
}

std::vector<Testing::HierarchyChunk> chunksOf(const Converter::Hierarchy& hierarchy) {
  return readChunks(hierarchy.bytes, hierarchy.firstChunkSize);
}

TEST(HierarchyWriter, WritesARecordAsTwentyTwoLittleEndianBytes) {
  const auto hierarchy =
      writeHierarchy({{nodeNamed("r"), 0x01020304, 0x1112131415161718, 0x2122232425262728}});
  EXPECT_EQ(hierarchy.bytes, std::string("\x01\x00\x04\x03\x02\x01\x18\x17\x16\x15\x14\x13\x12\x11"
                                         "\x28\x27\x26\x25\x24\x23\x22\x21",
                                         22));
  EXPECT_EQ(hierarchy.firstChunkSize, 22U);
  EXPECT_EQ(hierarchy.depth, 0U);
}

TEST(HierarchyWriter, ListsAChunkBreadthFirstWithChildrenInRisingIndex) {
  const auto hierarchy =
      writeHierarchy({node("r71"), node("r"), node("r7"), node("r03"), node("r0"), node("r00")});
  const auto chunks = chunksOf(hierarchy);
  ASSERT_EQ(chunks.size(), 1U);
  EXPECT_THAT(chunks[0].reached, ElementsAre("r", "r0", "r7", "r00", "r03", "r71"));
  EXPECT_EQ(chunks[0].records[0].childMask, 0x81U);
  EXPECT_EQ(chunks[0].records[1].childMask, 0x09U);
  EXPECT_EQ(chunks[0].records[5].byteOffset, 1000 * nodeNamed("r71").value());
  EXPECT_EQ(hierarchy.depth, 2U);
}

TEST(HierarchyWriter, WritesTheRootAloneForAnOctreeWithoutPoints) {
  const auto hierarchy = writeHierarchy({});
  EXPECT_EQ(hierarchy.firstChunkSize, 22U);
  EXPECT_EQ(hierarchy.bytes, "\x01" + std::string(21, '\0'));
}

TEST(HierarchyWriter, MakesMissingAncestorsWithoutPointsAndPlace) {
  const auto nodes = nodesOf(chunksOf(writeHierarchy({node("r42")})));
  EXPECT_EQ(nodes.size(), 3U);
  EXPECT_EQ(nodes.at("r"), (Testing::HierarchyRecord{0, 1U << 4U, 0, 0, 0}));
  EXPECT_EQ(nodes.at("r4"), (Testing::HierarchyRecord{0, 1U << 2U, 0, 0, 0}));
}

TEST(HierarchyWriter, LeavesOutNodesThatLeadToNoPoints) {
  const auto nodes =
      nodesOf(chunksOf(writeHierarchy({node("r"), node("r1", 0), node("r22", 0), node("r3")})));
  EXPECT_EQ(nodes.size(), 2U);
  EXPECT_EQ(nodes.at("r").childMask, 1U << 3U);
}

TEST(HierarchyWriter, BeginsAChunkAtEveryFourthLevelThatHasChildren) {
  const auto hierarchy = writeHierarchy(chainTo("r0123456701234"));  // level 13
  const auto chunks = chunksOf(hierarchy);
  ASSERT_EQ(chunks.size(), 4U);
  EXPECT_THAT(chunks[0].reached, ElementsAre("r", "r0", "r01", "r012", "r0123"));
  EXPECT_EQ(chunks[1].reached.front(), "r0123");
  EXPECT_EQ(chunks[2].reached.front(), "r01234567");
  EXPECT_THAT(chunks[3].reached, ElementsAre("r012345670123", "r0123456701234"));
  EXPECT_EQ(hierarchy.depth, 13U);
}

TEST(HierarchyWriter, GivesAProxyTheMaskAndPointsOfItsNode) {
  const auto chunks = chunksOf(writeHierarchy(chainTo("r012345")));
  ASSERT_EQ(chunks.size(), 2U);
  const Testing::HierarchyRecord proxy = chunks[0].records.back();
  const Testing::HierarchyRecord real = chunks[1].records.front();
  EXPECT_EQ(proxy.type, 2U);
  EXPECT_EQ(real.type, 0U);
  EXPECT_EQ(proxy.childMask, real.childMask);
  EXPECT_EQ(proxy.numPoints, real.numPoints);
  EXPECT_EQ(real.byteOffset, 1000 * nodeNamed("r0123").value());
}

TEST(HierarchyWriter, WritesALeafAtTheEndOfAChunkWithoutAProxy) {
  const auto chunks = chunksOf(writeHierarchy({node("r0123"), node("r0124"), node("r01245")}));
  ASSERT_EQ(chunks.size(), 2U);
  ASSERT_THAT(chunks[0].reached, ElementsAre("r", "r0", "r01", "r012", "r0123", "r0124"));
  EXPECT_EQ(chunks[0].records[4].type, 1U);
  EXPECT_EQ(chunks[0].records[5].type, 2U);
}

TEST(HierarchyWriter, ReachesTheDeepestLevel) {
  const std::string deepest = "r" + std::string(21, '7');
  const auto chunks = chunksOf(writeHierarchy(chainTo(deepest)));
  EXPECT_EQ(chunks.size(), 6U);
  EXPECT_EQ(nodesOf(chunks).at(deepest).type, 1U);
  EXPECT_EQ(nodesOf(chunks).size(), 22U);
}

/// Hundreds of nodes down to level 21, every one with its own place.
std::vector<HierarchyNode> randomNodes(std::mt19937& random) {
  std::map<std::string, HierarchyNode> nodes;
  while (nodes.size() < 400) {
    std::string name = "r";
    const std::size_t length = 1 + random() % 22;
    while (name.size() < length) name += static_cast<char>('0' + random() % (name.size() < 6 ? 3 : 2));
    nodes.emplace(name, node(name, static_cast<std::uint32_t>(random() % 5)));
  }
  std::vector<HierarchyNode> list;
  for (const auto& [name, entry] : nodes) list.push_back(entry);
  return list;
}

TEST(HierarchyWriter, HoldsEveryNodeWithPointsInChunksOfExactlyTheRecordsThatTheirMasksReach) {
  std::mt19937 random(7);
  const auto given = randomNodes(random);
  const auto hierarchy = writeHierarchy(given);
  const auto chunks = chunksOf(hierarchy);
  std::uint64_t end = 0;
  for (const auto& chunk : chunks) {
    EXPECT_EQ(chunk.byteOffset, end) << "chunks stand breadth first, without gaps";
    end += chunk.byteSize;
    EXPECT_EQ(chunk.reached.size() * 22, chunk.byteSize);
    EXPECT_NE(chunk.records.front().type, 2U);
  }
  EXPECT_EQ(end, hierarchy.bytes.size());
  const auto nodes = nodesOf(chunks);
  for (const HierarchyNode& wanted : given) {
    if (wanted.numPoints == 0) continue;
    const auto& found = nodes.at(wanted.id.name());
    EXPECT_EQ(std::tie(found.numPoints, found.byteOffset, found.byteSize),
              std::tie(wanted.numPoints, wanted.byteOffset, wanted.byteSize));
  }
}

TEST(HierarchyWriter, DoesNotDependOnTheOrderOfTheNodes) {
  std::mt19937 random(11);
  auto nodes = randomNodes(random);
  const std::string bytes = writeHierarchy(nodes).bytes;
  std::shuffle(nodes.begin(), nodes.end(), random);
  EXPECT_EQ(writeHierarchy(nodes).bytes, bytes);
}

}  // namespace
