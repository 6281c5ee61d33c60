#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "octree/OctreeNodeId.h"

namespace Converter {

/// Levels of nodes that one hierarchy chunk describes; below them stand proxies of further chunks.
inline constexpr std::uint64_t kLevelsPerChunk = 4;

/// A node and where its points stand in the octree data file, in bytes.
struct HierarchyNode {
  Octree::OctreeNodeId id;
  std::uint32_t numPoints = 0;
  std::uint64_t byteOffset = 0;
  std::uint64_t byteSize = 0;
};

/// The content of a hierarchy.bin, and what the metadata say of it.
struct Hierarchy {
  std::string bytes;
  std::uint64_t firstChunkSize = 0;  ///< bytes of the root's chunk, which stands at offset 0
  std::uint64_t depth = 0;           ///< level of the deepest node
};

/// Lays out the hierarchy of @p nodes. Pure; the order of the nodes does not matter, ids must differ.
///
/// Ancestors that are missing are made, without points; nodes without points are left out unless a node with
/// points hangs below them; the root is always there. Each chunk holds four levels breadth first, children in
/// rising index, and for each node of the next level a proxy if it has children (its own chunk begins with
/// the true record) and its record itself if it is a leaf. Chunks stand breadth first.
[[nodiscard]] Hierarchy writeHierarchy(std::vector<HierarchyNode> nodes);

}  // namespace Converter
