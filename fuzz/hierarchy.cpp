// Any bytes make a tree: no more nodes than its records can name, ids and boxes that fit their places.
#include <cstdint>
#include <cstdlib>

#include "octree/potree/Node.h"

namespace {

std::size_t countChecked(const PoTree::Node& node) {
  std::size_t nodes = 1;
  for (std::uint8_t i = 0; i < 8; ++i) {
    const PoTree::Node* const child = node.children[i].get();
    if ((child != nullptr) != ((node.childMask >> i & 1) != 0)) std::abort();
    if (child == nullptr) continue;
    if (child->id != node.id.child(i) || child->boundingBox != PoTree::childBox(node.boundingBox, i))
      std::abort();
    nodes += countChecked(*child);
  }
  return nodes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto bytes = std::as_bytes(std::span(data, size));
  const std::size_t records = size / PoTree::kHierarchyRecordSize;
  Octree::OctreeNodeId deep;
  while (deep.level() + 2 < Octree::OctreeNodeId::kDeepestLevel) deep = deep.child(5);
  for (const Octree::OctreeNodeId first : {Octree::OctreeNodeId(), deep}) {
    const auto root = PoTree::parseHierarchyChunk(bytes, first, {{{0, 0, 0}}, {{1, 1, 1}}});
    if ((root == nullptr) != (records == 0)) std::abort();
    if (root && countChecked(*root) > 8 * records + 1) std::abort();
  }
  return 0;
}
