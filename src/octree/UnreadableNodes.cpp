#include "octree/UnreadableNodes.h"

#include <algorithm>
#include <utility>

namespace Octree {

void UnreadableNodes::add(OctreeNodeId id, std::string reason) {
  const std::lock_guard lock(mutex_);
  const bool listed =
      std::any_of(nodes_.begin(), nodes_.end(), [&](const auto& node) { return node.id == id; });
  if (listed) return;
  if (nodes_.size() == kMost) nodes_.pop_front();
  nodes_.push_back({id, std::move(reason)});
}

void UnreadableNodes::remove(OctreeNodeId id) {
  const std::lock_guard lock(mutex_);
  std::erase_if(nodes_, [&](const UnreadableNode& node) { return node.id == id; });
}

std::vector<UnreadableNode> UnreadableNodes::list() const {
  const std::lock_guard lock(mutex_);
  return {nodes_.begin(), nodes_.end()};
}

}  // namespace Octree
