#pragma once

#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "octree/OctreeNodeId.h"

namespace Octree {

/// A node whose points could not be read, or not all of them, and why.
struct UnreadableNode {
  OctreeNodeId id;
  std::string reason;
};

/// The last nodes of an octree that could not be read, each once.
/// Threads: all calls are safe together.
class UnreadableNodes {
 public:
  static constexpr std::size_t kMost = 1000;

  /// Keeps the first reason of a node that is listed already, which is the cause of later ones; drops the
  /// oldest node of too many.
  void add(OctreeNodeId id, std::string reason);
  /// For a node that was read after all.
  void remove(OctreeNodeId id);
  [[nodiscard]] std::vector<UnreadableNode> list() const;

 private:
  mutable std::mutex mutex_;
  std::deque<UnreadableNode> nodes_;  // guarded by mutex_; oldest first
};

}  // namespace Octree
