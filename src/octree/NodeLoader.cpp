#include "octree/NodeLoader.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace Octree::Algorithm {

NodeLoader::Ahead::Ahead(const NodeWalk& walk)
    : nodes(walk.octree(), walk.stopToken()), hierarchy(walk.octree(), nodes.stopToken()) {}

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
  if (ahead_) {
    const std::optional<bool> loaded = ahead_->nodes.take(walk.number(), points);
    if (loaded) return *loaded;
  }
  return walk.octree()->loadNodePoints(walk.id(), points, walk.stopToken());
}

void NodeLoader::readAhead(const NodeWalk& walk) {
  if (!ahead_) ahead_ = std::make_unique<Ahead>(walk);
  ahead_->nodes.dropBefore(walk.number());
  if (lastRequested_ < walk.number()) {
    // The current node first: it is the one that is waited for.
    lastRequested_ = walk.number();
    request(walk, walk.id());
  }
  while (lastRequested_ - walk.number() < walk.numPending() && ahead_->nodes.hasRoom()) {
    const OctreeNodeId id = walk.pending(lastRequested_ - walk.number());
    if (!ahead_->hierarchy.isAtHand(walk, id)) break;
    ++lastRequested_;
    request(walk, id);
  }
  ahead_->nodes.handOver();
}

void NodeLoader::request(const NodeWalk& walk, const OctreeNodeId& id) {
  if (cache_ && cache_->holds(*walk.octree(), id)) return;
  const std::uint64_t bytes = walk.octree()->nodeBytes(id, walk.stopToken());
  if (bytes != 0) ahead_->nodes.request(lastRequested_, id, id == walk.id() ? 0 : bytes);
}

void NodeLoader::prepareStep(const NodeWalk& walk) {
  if (ahead_ && walk.numPending() > 0) ahead_->hierarchy.waitFor(walk.pending(0));
}

const Math::PointKdTree<float, 3>& NodeLoader::kdTree(const NodeWalk& walk,
                                                      OctreeNodeCache::CacheEntry& entry) const {
  const std::size_t bytesBefore = entry.byteSize();
  const Math::PointKdTree<float, 3>& tree = entry.kdTree();
  if (cache_ && entry.byteSize() != bytesBefore) cache_->charge(*walk.octree(), walk.id());
  return tree;
}

}  // namespace Octree::Algorithm
