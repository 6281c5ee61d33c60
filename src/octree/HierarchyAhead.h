#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <stop_token>

#include "octree/NodeWalk.h"
#include "octree/Octree.h"

namespace Octree::Algorithm {

/// Fetches the hierarchy chunks of the nodes that a walk will come to, many at a time, over locations whose
/// fetches do not wait in the call; elsewhere it does nothing. Belongs to one walk, on one thread. Dropping
/// it does not wait for what is under way, which its stop token ends.
class HierarchyAhead {
 public:
  /// Chunks that may be under way together.
  static constexpr std::size_t kMostChunks = 64;

  HierarchyAhead(std::shared_ptr<Octree> octree, std::stop_token stopToken);

  /// Whether the pending node can be looked up without waiting for a chunk that is under way. Fetches those
  /// of the nodes behind. To be asked for the nodes in the order of the walk.
  [[nodiscard]] bool isAtHand(const NodeWalk& walk, const OctreeNodeId& id);

  /// Waits for the chunk of the node if it is under way.
  void waitFor(const OctreeNodeId& id);

 private:
  void fetchMore(const NodeWalk& walk);
  void takeFirst();

  const std::shared_ptr<Octree> octree_;
  const std::stop_token stopToken_;
  const bool useful_;
  std::uint64_t lastSeen_ = 0;             // number in the walk of the last node whose chunk was asked for
  std::deque<PoTree::ChunkFetch> chunks_;  // in the order of the walk
};

}  // namespace Octree::Algorithm
