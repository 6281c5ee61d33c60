#include "octree/HierarchyAhead.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace Octree::Algorithm {

HierarchyAhead::HierarchyAhead(std::shared_ptr<Octree> octree, std::stop_token stopToken)
    : octree_(std::move(octree)), stopToken_(std::move(stopToken)), useful_(!octree_->fetchesInTheCall()) {}

bool HierarchyAhead::isAtHand(const NodeWalk& walk, const OctreeNodeId& id) {
  if (!useful_) return true;
  fetchMore(walk);
  if (chunks_.empty() || !(chunks_.front().id == id)) return true;
  if (!chunks_.front().isReady()) return false;
  takeFirst();
  return true;
}

void HierarchyAhead::waitFor(const OctreeNodeId& id) {
  if (!chunks_.empty() && chunks_.front().id == id) takeFirst();
}

void HierarchyAhead::fetchMore(const NodeWalk& walk) {
  lastSeen_ = std::max(lastSeen_, walk.number());
  while (lastSeen_ - walk.number() < walk.numPending() && chunks_.size() < kMostChunks) {
    std::optional<PoTree::ChunkFetch> chunk =
        octree_->fetchChunkOf(walk.pending(lastSeen_ - walk.number()), stopToken_);
    ++lastSeen_;
    if (chunk) chunks_.push_back(std::move(*chunk));
  }
}

void HierarchyAhead::takeFirst() {
  octree_->takeChunk(std::move(chunks_.front()), stopToken_);
  chunks_.pop_front();
}

}  // namespace Octree::Algorithm
