#include "octree/QueryPoints.h"

#include <stdexcept>
#include <string>

namespace Octree::Algorithm {
namespace {

// Below this a walk is short in any case, and the hierarchy file's size is not worth a request.
constexpr std::uint64_t kNodesWithoutCheck = 10'000;

}  // namespace

bool NodeWalk::next() {
  if (queue_.empty()) {
    end();
    return false;
  }
  id_ = queue_.front().id;
  insideShape_ = queue_.front().insideShape;
  queue_.pop_front();
  checkNumberOfNodes();
  return true;
}

void NodeWalk::end() {
  octree_.reset();
  id_ = {};
  insideShape_ = false;
  queue_.clear();
}

void NodeWalk::checkNumberOfNodes() {
  if (++visited_ <= kNodesWithoutCheck) return;
  if (mostNodes_ == 0) mostNodes_ = octree_->mostNodes(stopToken_);
  if (visited_ <= mostNodes_) return;
  end();
  throw std::runtime_error("octree hierarchy: expected at most " + std::to_string(mostNodes_) +
                           " nodes, found more: its chunks name each other");
}

std::shared_ptr<OctreeNodeCache::CacheEntry> loadNode(Octree& octree, OctreeNodeCache* cache,
                                                      const OctreeNodeId& id,
                                                      const std::stop_token& stopToken) {
  std::shared_ptr<OctreeNodeCache::CacheEntry> entry;
  if (cache != nullptr && cache->get(octree, id, entry)) return entry;
  Math::NodePoints points;
  if (!octree.loadNodePoints(id, points, stopToken)) return std::make_shared<OctreeNodeCache::CacheEntry>();
  entry = std::make_shared<OctreeNodeCache::CacheEntry>(std::move(points));
  if (cache != nullptr) cache->put(octree, id, entry);
  return entry;
}

QueryPointsIterator::QueryPointsIterator(const std::shared_ptr<Octree>& octree,
                                         std::shared_ptr<OctreeNodeCache> cache, float minSpacing,
                                         std::stop_token stopToken)
    : walk_(octree, minSpacing, std::move(stopToken)), cache_(std::move(cache)) {
  walk_.start(true);
  ++*this;
}

QueryPointsIterator& QueryPointsIterator::operator++() {
  current_.reset();
  walk_.step([](const Math::NBoundingBox<float, 3>&) { return NodeWalk::Verdict{true, true}; });
  return *this;
}

const QueryPointsIterator::Entry& QueryPointsIterator::operator*() {
  if (!current_) current_ = loadNode(*walk_.octree(), cache_.get(), walk_.id(), walk_.stopToken());
  return current_;
}

}  // namespace Octree::Algorithm
