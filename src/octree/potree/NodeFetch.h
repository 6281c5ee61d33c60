#pragma once

#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "octree/OctreeNodeId.h"
#include "octree/potree/Node.h"

namespace PoTree {

/// The stored bytes of a node on their way, from an octree and from its external ones. Dropping it does not
/// wait for them.
struct NodeFetch {
  Octree::OctreeNodeId id;
  std::shared_ptr<const Node> node;  ///< empty when the octree has none of that id
  /// Valid where there is something to fetch, or where the node could not be found: it then holds why.
  std::future<std::string> bytes;
  std::vector<NodeFetch>
      externals;  ///< in the order of the external octrees; none when the node was not found

  /// Whether nothing of it has to be waited for.
  [[nodiscard]] bool isReady() const;
  /// Waits for the first of what is not there, at most so long.
  void waitFor(std::chrono::milliseconds most) const;
};

/// A hierarchy chunk on its way, for the lookup of its first node.
struct ChunkFetch {
  Octree::OctreeNodeId id;
  std::uint64_t byteOffset = 0;
  std::uint64_t byteSize = 0;
  std::future<std::string> bytes;

  [[nodiscard]] bool isReady() const;
};

}  // namespace PoTree
