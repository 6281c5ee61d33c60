#include "octree/QueryPoints.h"

#include <algorithm>
#include <optional>
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
  if (mostNodes_ == 0) {
    try {
      mostNodes_ = octree_->mostNodes(stopToken_);
    } catch (...) {
      end();
      throw;
    }
  }
  if (visited_ <= mostNodes_) return;
  end();
  throw std::runtime_error("octree hierarchy: expected at most " + std::to_string(mostNodes_) +
                           " nodes, found more: its chunks name each other");
}

NodeLoader::Entry NodeLoader::load(const NodeWalk& walk) {
  Octree& octree = *walk.octree();
  const bool inARow = walk.number() == lastLoaded_ + 1 && lastLoaded_ > 0;
  lastLoaded_ = walk.number();
  if (inARow) readAhead(walk);
  Entry entry;
  if (cache_ && cache_->get(octree, walk.id(), entry)) return entry;
  Math::NodePoints points;
  if (!loadPoints(walk, points)) return std::make_shared<OctreeNodeCache::CacheEntry>();
  entry = std::make_shared<OctreeNodeCache::CacheEntry>(std::move(points));
  if (cache_) cache_->put(octree, walk.id(), entry);
  return entry;
}

bool NodeLoader::loadPoints(const NodeWalk& walk, Math::NodePoints& points) {
  if (nodesInAdvance_) {
    const std::optional<bool> loaded = nodesInAdvance_->take(walk.number(), points);
    if (loaded) return *loaded;
  }
  return walk.octree()->loadNodePoints(walk.id(), points, walk.stopToken());
}

void NodeLoader::readAhead(const NodeWalk& walk) {
  lastRequested_ = std::max(lastRequested_, walk.number());
  while (lastRequested_ - walk.number() < walk.numPending()) {
    if (nodesInAdvance_ && !nodesInAdvance_->hasRoom()) return;
    const OctreeNodeId id = walk.pending(lastRequested_ - walk.number());
    ++lastRequested_;
    if (cache_ && cache_->holds(*walk.octree(), id)) continue;
    const std::uint64_t bytes = walk.octree()->nodeBytes(id, walk.stopToken());
    if (bytes == 0) continue;
    if (!nodesInAdvance_) nodesInAdvance_ = std::make_unique<ReadAhead>(walk.octree(), walk.stopToken());
    nodesInAdvance_->request(lastRequested_, id, bytes);
  }
}

const Math::PointKdTree<float, 3>& NodeLoader::kdTree(const NodeWalk& walk,
                                                      OctreeNodeCache::CacheEntry& entry) const {
  const std::size_t bytesBefore = entry.byteSize();
  const Math::PointKdTree<float, 3>& tree = entry.kdTree();
  if (cache_ && entry.byteSize() != bytesBefore) cache_->charge(*walk.octree(), walk.id());
  return tree;
}

QueryPointsIterator::QueryPointsIterator(const std::shared_ptr<Octree>& octree,
                                         std::shared_ptr<OctreeNodeCache> cache, float minSpacing,
                                         std::stop_token stopToken)
    : walk_(octree, minSpacing, std::move(stopToken)), loader_(std::move(cache)) {
  walk_.start(true);
  ++*this;
}

QueryPointsIterator& QueryPointsIterator::operator++() {
  current_.reset();
  walk_.step([](const Math::NBoundingBox<float, 3>&) { return NodeWalk::Verdict{true, true}; });
  return *this;
}

const QueryPointsIterator::Entry& QueryPointsIterator::operator*() {
  if (!current_) current_ = loader_.load(walk_);
  return current_;
}

}  // namespace Octree::Algorithm
