#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "math/BoundingBox.h"
#include "octree/OctreeNodeId.h"

namespace PoTree {

/// Bytes of one hierarchy record: type u8, childMask u8, numPoints u32, byteOffset u64, byteSize u64.
inline constexpr std::size_t kHierarchyRecordSize = 22;

enum class NodeType : std::uint8_t {
  Normal = 0,  ///< has children
  Leaf = 1,
  Proxy = 2,  ///< record and subtree stand in another chunk, at byteOffset and byteSize of the hierarchy file
};

/// One node of a Potree octree. Children are owned by their parent.
struct Node {
  Node(Octree::OctreeNodeId nodeId, const Math::NBoundingBox<double, 3>& box)
      : id(nodeId), boundingBox(box) {}

  Octree::OctreeNodeId id;
  std::uint8_t nodeType = 0;        ///< NodeType, or what the file holds instead
  std::uint8_t visibilityHint = 0;  ///< 0 none, 1 all points hidden, 2 all visible
  std::uint64_t numPoints = 0;
  std::uint64_t byteOffset = 0;  ///< in the octree data file; of a proxy: in the hierarchy file
  std::uint64_t byteSize = 0;
  Math::NBoundingBox<double, 3> boundingBox;  ///< cut from the metadata's box, in world coordinates
  std::uint8_t childMask = 0;
  std::array<std::shared_ptr<Node>, 8> children;

  [[nodiscard]] bool is(NodeType type) const { return nodeType == static_cast<std::uint8_t>(type); }
};

/// The octant @p childIndex of @p box: halves at the mean of minimum and maximum.
[[nodiscard]] Math::NBoundingBox<double, 3> childBox(const Math::NBoundingBox<double, 3>& box,
                                                     std::uint8_t childIndex);

/// Builds the nodes that one chunk describes, a breadth-first listing of a subtree. Pure.
/// Bytes that make no whole record and records that the structure does not reach are ignored; nodes whose
/// records are missing stay empty. All nodes of a chunk stand in one block of memory, which goes with the
/// last of them.
/// @param id, box  the chunk's first node.
/// @return the first node; empty when the chunk holds no record.
[[nodiscard]] std::shared_ptr<Node> parseHierarchyChunk(std::span<const std::byte> chunk,
                                                        Octree::OctreeNodeId id,
                                                        const Math::NBoundingBox<double, 3>& box);

}  // namespace PoTree
