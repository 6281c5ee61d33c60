// Octrees of another writer, taken apart by hand and put together by ours.

#include <gmock/gmock.h>

#include <cstring>

#include "converter/HierarchyWriter.h"
#include "converter/NodeEncoder.h"
#include "converter/WrittenOctree.h"
#include "core/Brotli.h"
#include "support/SampleData.h"

namespace {

using Testing::WrittenOctree;

Converter::RecordLayout layoutOf(const WrittenOctree& octree) {
  std::vector<PoTree::Attribute> attributes;
  for (const auto& attribute : octree.metaData.at("attributes")) {
    attributes.push_back(
        Testing::makeAttribute(attribute.at("name"), attribute.at("type"), attribute.at("numElements")));
  }
  return Converter::RecordLayout(attributes);
}

std::string blocksOf(const WrittenOctree& octree, const Testing::HierarchyRecord& node) {
  const std::string bytes = octree.data.substr(node.byteOffset, node.byteSize);
  Core::ByteBuffer blocks;
  Core::brotliDecode(std::as_bytes(std::span(bytes)), std::size_t{1} << 28U, blocks);
  return {reinterpret_cast<const char*>(blocks.data.get()), blocks.size};
}

TEST(RealOctrees, TheirBrotliBlocksComeOutOfTheirPointsByteForByte) {
  SORVIK_SAMPLE_OR_SKIP(samples, "potree");
  for (const char* name : {"autzen-trim-brotli", "deep-a-brotli"}) {
    const WrittenOctree octree(samples / name);
    const Converter::RecordLayout layout = layoutOf(octree);
    for (const auto& [node, record] : octree.nodes) {
      if (record.numPoints == 0) continue;
      std::string records;
      for (const std::string& point : octree.pointsOf(node)) records += point;
      const auto blocks = Converter::attributeBlocks(std::as_bytes(std::span(records)), layout);
      const std::string expected = blocksOf(octree, record);
      ASSERT_EQ(blocks.size(), expected.size()) << name << ' ' << node;
      EXPECT_EQ(std::memcmp(blocks.data(), expected.data(), blocks.size()), 0) << name << ' ' << node;
    }
  }
}

TEST(RealOctrees, TheirNodesKeepTheirPlacesInOurHierarchy) {
  SORVIK_SAMPLE_OR_SKIP(samples, "potree");
  for (const char* name : {"autzen-trim-default", "deep-a-default"}) {
    const WrittenOctree octree(samples / name);
    std::vector<Converter::HierarchyNode> nodes;
    for (const auto& [node, record] : octree.nodes) {
      nodes.push_back({Testing::nodeNamed(node), record.numPoints, record.byteOffset, record.byteSize});
    }
    const Converter::Hierarchy ours = Converter::writeHierarchy(nodes);
    const auto found = nodesOf(Testing::readChunks(ours.bytes, ours.firstChunkSize));
    for (const auto& [node, record] : octree.nodes) {
      if (record.numPoints == 0) continue;
      const auto& other = found.at(node);
      EXPECT_EQ(std::tie(other.numPoints, other.byteOffset, other.byteSize),
                std::tie(record.numPoints, record.byteOffset, record.byteSize));
      EXPECT_EQ(other.childMask & ~record.childMask, 0U) << "we leave empty leaves out and add nothing";
    }
  }
}

}  // namespace
