#pragma once

#include <cstdint>
#include <memory>
#include <stop_token>
#include <utility>
#include <vector>

#include "math/BoxTests.h"
#include "octree/NodeLoader.h"
#include "octree/NodeWalk.h"
#include "octree/Octree.h"
#include "octree/OctreeNodeCache.h"

namespace Octree::Algorithm {

/// A walk over all points of an octree, node by node. Copies are walks of their own; they share cache and
/// current points. For one thread at a time.
class QueryPointsIterator {
 public:
  using Entry = NodeLoader::Entry;

  /// The end of every walk.
  QueryPointsIterator() = default;

  /// On the root.
  QueryPointsIterator(const std::shared_ptr<Octree>& octree, std::shared_ptr<OctreeNodeCache> cache,
                      float minSpacing, std::stop_token stopToken);

  QueryPointsIterator& operator++();

  /// The current node's points, shared with the cache. Loads the node on the first call at a position. Not at
  /// the end.
  const Entry& operator*();

  friend bool operator==(const QueryPointsIterator& a, const QueryPointsIterator& b) {
    return a.walk_ == b.walk_;
  }

 private:
  NodeWalk walk_;
  NodeLoader loader_;
  Entry current_;  // empty until the node is loaded
};

/// The same over the points inside a shape: any type for which there are overlaps(shape, box) and
/// contains(shape, box) in its namespace, and a search in the kd-tree.
template <class Shape>
class QueryPointsInsideIterator {
 public:
  using Entry = NodeLoader::Entry;

  QueryPointsInsideIterator() = default;

  QueryPointsInsideIterator(const std::shared_ptr<Octree>& octree, std::shared_ptr<OctreeNodeCache> cache,
                            Shape shape, float minSpacing, std::stop_token stopToken)
      : walk_(octree, minSpacing, std::move(stopToken)), loader_(std::move(cache)), shape_(std::move(shape)) {
    walk_.start(contains(shape_, octree->pointBounds(OctreeNodeId())));
    ++*this;
  }

  QueryPointsInsideIterator& operator++() {
    current_.reset();
    loader_.prepareStep(walk_);
    walk_.step([this](const Math::NBoundingBox<float, 3>& bounds) {
      const bool visit = overlaps(shape_, bounds);
      return NodeWalk::Verdict{visit, visit && contains(shape_, bounds)};
    });
    return *this;
  }

  /// The current node's points inside the shape: the cached entry itself where the whole node lies inside,
  /// else an entry of their own.
  const Entry& operator*() {
    if (!current_) load();
    return current_;
  }

  friend bool operator==(const QueryPointsInsideIterator& a, const QueryPointsInsideIterator& b) {
    return a.walk_ == b.walk_;
  }

 private:
  void load() {
    const Entry full = loader_.load(walk_);
    if (walk_.insideShape() || full->points().size() == 0) {
      current_ = full;
      return;
    }
    std::vector<std::uint32_t> indices;
    indices.reserve(full->points().size());
    loader_.kdTree(walk_, *full).search(shape_, indices);
    current_ =
        std::make_shared<OctreeNodeCache::CacheEntry>(Math::NodePoints::fromIndices(full->points(), indices));
  }

  NodeWalk walk_;
  NodeLoader loader_;
  Shape shape_{};
  Entry current_;
};

}  // namespace Octree::Algorithm

namespace Octree {

/// A walk over all nodes, on the root.
/// @param minSpacing  the walk does not go below nodes whose spacing, halved, is less; 0 visits every level.
[[nodiscard]] inline Algorithm::QueryPointsIterator allPoints(const std::shared_ptr<Octree>& octree,
                                                              std::shared_ptr<OctreeNodeCache> cache,
                                                              float minSpacing, std::stop_token stopToken) {
  return {octree, std::move(cache), minSpacing, std::move(stopToken)};
}

/// A walk over the nodes that meet the shape, on the root.
template <class Shape>
[[nodiscard]] Algorithm::QueryPointsInsideIterator<Shape> allPointsInside(
    const std::shared_ptr<Octree>& octree, std::shared_ptr<OctreeNodeCache> cache, Shape shape,
    float minSpacing, std::stop_token stopToken) {
  return {octree, std::move(cache), std::move(shape), minSpacing, std::move(stopToken)};
}

}  // namespace Octree
