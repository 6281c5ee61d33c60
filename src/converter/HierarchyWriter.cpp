#include "converter/HierarchyWriter.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <unordered_set>
#include <utility>

#include "converter/LittleEndian.h"

namespace Converter {
namespace {

constexpr std::size_t kRecordSize = 22;

enum class RecordType : std::uint8_t { Inner = 0, Leaf = 1, Proxy = 2 };

/// All nodes of the file, breadth first: ids order themselves so, children of a node stand side by side.
struct Tree {
  std::vector<HierarchyNode> nodes;
  std::vector<std::uint8_t> childMasks;    ///< by node
  std::vector<std::size_t> firstChildren;  ///< by node: index of its first child, if it has one

  explicit Tree(std::vector<HierarchyNode> withPoints);

  [[nodiscard]] bool startsChunk(std::size_t node) const {
    return node == 0 || (nodes[node].id.level() % kLevelsPerChunk == 0 && childMasks[node] != 0);
  }
};

void addAncestors(std::vector<HierarchyNode>& nodes) {
  std::unordered_set<Octree::OctreeNodeId> known{Octree::OctreeNodeId()};
  for (const HierarchyNode& node : nodes) known.insert(node.id);
  const std::size_t given = nodes.size();
  const bool rootGiven =
      std::any_of(nodes.begin(), nodes.end(), [](const auto& node) { return node.id.isRoot(); });
  if (!rootGiven) nodes.push_back({});
  for (std::size_t i = 0; i < given; ++i) {
    for (Octree::OctreeNodeId id = nodes[i].id; !id.isRoot() && known.insert(id.parent()).second;) {
      id = id.parent();
      nodes.push_back({id});
    }
  }
}

Tree::Tree(std::vector<HierarchyNode> withPoints) : nodes(std::move(withPoints)) {
  std::erase_if(nodes, [](const HierarchyNode& node) { return node.numPoints == 0; });
  addAncestors(nodes);
  std::sort(nodes.begin(), nodes.end(),
            [](const HierarchyNode& a, const HierarchyNode& b) { return a.id.value() < b.id.value(); });
  childMasks.resize(nodes.size());
  firstChildren.resize(nodes.size());
  std::size_t child = 1;
  for (std::size_t parent = 0; parent < nodes.size(); ++parent) {
    firstChildren[parent] = child;
    for (; child < nodes.size() && nodes[child].id.parent() == nodes[parent].id; ++child) {
      childMasks[parent] = static_cast<std::uint8_t>(childMasks[parent] | 1U << nodes[child].id.childIndex());
    }
  }
}

/// The nodes that have a record in the chunk of @p root, in the order of the records.
std::vector<std::size_t> nodesOfChunk(const Tree& tree, std::size_t root) {
  std::vector<std::size_t> nodes{root};
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const std::size_t node = nodes[i];
    if (i > 0 && tree.startsChunk(node)) continue;
    const auto children = static_cast<std::size_t>(std::popcount(tree.childMasks[node]));
    for (std::size_t child = 0; child < children; ++child) nodes.push_back(tree.firstChildren[node] + child);
  }
  return nodes;
}

struct ByteRange {
  std::uint64_t offset = 0;
  std::uint64_t size = 0;
};

void appendRecord(std::string& out, RecordType type, std::uint8_t childMask, std::uint32_t numPoints,
                  ByteRange range) {
  std::array<std::byte, kRecordSize> record{};
  std::byte* at = storeLittleEndian(record.data(), static_cast<std::uint8_t>(type));
  at = storeLittleEndian(at, childMask);
  at = storeLittleEndian(at, numPoints);
  at = storeLittleEndian(at, range.offset);
  storeLittleEndian(at, range.size);
  out.append(reinterpret_cast<const char*>(record.data()), record.size());
}

}  // namespace

Hierarchy writeHierarchy(std::vector<HierarchyNode> nodes) {
  const Tree tree(std::move(nodes));
  std::vector<std::vector<std::size_t>> chunks;
  std::vector<ByteRange> chunkOf(tree.nodes.size());
  std::uint64_t end = 0;
  for (std::size_t node = 0; node < tree.nodes.size(); ++node) {
    if (!tree.startsChunk(node)) continue;
    chunks.push_back(nodesOfChunk(tree, node));
    chunkOf[node] = {end, chunks.back().size() * kRecordSize};
    end += chunkOf[node].size;
  }

  Hierarchy hierarchy;
  hierarchy.firstChunkSize = chunkOf[0].size;
  hierarchy.depth = tree.nodes.back().id.level();
  hierarchy.bytes.reserve(end);
  for (const std::vector<std::size_t>& chunk : chunks) {
    for (const std::size_t index : chunk) {
      const HierarchyNode& node = tree.nodes[index];
      const std::uint8_t mask = tree.childMasks[index];
      const bool proxy = index != chunk.front() && tree.startsChunk(index);
      const RecordType type = proxy ? RecordType::Proxy : mask == 0 ? RecordType::Leaf : RecordType::Inner;
      const ByteRange data{node.byteOffset, node.byteSize};
      appendRecord(hierarchy.bytes, type, mask, node.numPoints, proxy ? chunkOf[index] : data);
    }
  }
  return hierarchy;
}

}  // namespace Converter
