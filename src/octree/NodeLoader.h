#pragma once

#include <cstdint>
#include <memory>

#include "octree/HierarchyAhead.h"
#include "octree/NodeWalk.h"
#include "octree/OctreeNodeCache.h"
#include "octree/ReadAhead.h"

namespace Octree::Algorithm {

/// The points of the nodes that a walk stands on, from the cache or decoded. From the second node in a row on
/// that is asked for, it loads the nodes behind in advance; copies do not share what is under way.
class NodeLoader {
 public:
  using Entry = std::shared_ptr<OctreeNodeCache::CacheEntry>;

  /// @param cache  may be null: nodes are then decoded whenever they are asked for.
  explicit NodeLoader(std::shared_ptr<OctreeNodeCache> cache = nullptr) : cache_(std::move(cache)) {}
  NodeLoader(const NodeLoader& other) : cache_(other.cache_), lastLoaded_(other.lastLoaded_) {}
  NodeLoader(NodeLoader&&) noexcept = default;
  NodeLoader& operator=(const NodeLoader& other) { return *this = NodeLoader(other); }
  NodeLoader& operator=(NodeLoader&&) noexcept = default;
  ~NodeLoader() = default;

  /// All points of the walk's current node; an empty entry when they cannot be read.
  [[nodiscard]] Entry load(const NodeWalk& walk);

  /// Before the walk steps: waits for the hierarchy chunk that the step needs if it is under way.
  void prepareStep(const NodeWalk& walk);

  /// The kd-tree of the current node's entry. When it is built by this, the cache is told.
  [[nodiscard]] const Math::PointKdTree<float, 3>& kdTree(const NodeWalk& walk,
                                                          OctreeNodeCache::CacheEntry& entry) const;

 private:
  /// What is under way for a walk that is read in a row.
  struct Ahead {
    ReadAhead nodes;
    HierarchyAhead hierarchy;

    explicit Ahead(const NodeWalk& walk);
  };

  [[nodiscard]] bool loadPoints(const NodeWalk& walk, Math::NodePoints& points);
  void readAhead(const NodeWalk& walk);
  void request(const NodeWalk& walk, const OctreeNodeId& id);

  std::shared_ptr<OctreeNodeCache> cache_;
  std::uint64_t lastLoaded_ = 0;     // number in the walk
  std::uint64_t lastRequested_ = 0;  // likewise
  std::unique_ptr<Ahead> ahead_;
};

}  // namespace Octree::Algorithm
