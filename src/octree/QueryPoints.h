#pragma once

#include <deque>
#include <memory>
#include <stop_token>
#include <utility>
#include <vector>

#include "math/BoxTests.h"
#include "octree/Octree.h"
#include "octree/OctreeNodeCache.h"
#include "octree/ReadAhead.h"

namespace Octree::Algorithm {

/// The nodes of an octree, breadth first. It chooses nodes and touches no points.
class NodeWalk {
 public:
  /// What a shape says of a node: whether to visit it and, if so, whether all its points are inside.
  struct Verdict {
    bool visit;
    bool insideShape;
  };

  /// At the end.
  NodeWalk() = default;
  /// Before the root, which is visited in any case.
  NodeWalk(std::shared_ptr<Octree> octree, float minSpacing, std::stop_token stopToken)
      : octree_(std::move(octree)), minSpacing_(minSpacing), stopToken_(std::move(stopToken)) {}

  void start(bool rootInsideShape) { queue_.push_back({OctreeNodeId(), rootInsideShape}); }

  /// Moves to the next node and queues its children: those that `judge(pointBounds)` wants visited; all of
  /// them, unasked, when the node lies inside the shape; none when half the node's spacing is below the least
  /// spacing. At the last node: to the end.
  /// @throws std::runtime_error "Failed to fetch node by id" when the children are not known; the walk stands
  ///         on the node and can go on behind it. Also when more nodes came than the hierarchy file can name,
  ///         or its size cannot be asked for when that question arises; the walk is then at its end.
  template <class Judge>
  void step(const Judge& judge) {
    if (!next()) return;
    if (static_cast<double>(minSpacing_) > octree_->spacing(id_) * 0.5) return;
    for (const OctreeNodeId child : octree_->children(id_, stopToken_)) {
      const Verdict verdict = insideShape_ ? Verdict{true, true} : judge(octree_->pointBounds(child));
      if (verdict.visit) queue_.push_back({child, verdict.insideShape});
    }
  }

  [[nodiscard]] const std::shared_ptr<Octree>& octree() const { return octree_; }
  [[nodiscard]] const OctreeNodeId& id() const { return id_; }
  [[nodiscard]] bool insideShape() const { return insideShape_; }
  /// The current node's number in the walk, from 1; the pending ones have those that follow.
  [[nodiscard]] std::uint64_t number() const { return visited_; }
  [[nodiscard]] std::size_t numPending() const { return queue_.size(); }
  [[nodiscard]] const OctreeNodeId& pending(std::size_t i) const { return queue_[i].id; }
  [[nodiscard]] const std::stop_token& stopToken() const { return stopToken_; }

  /// The same node of the same octree, or both at the end.
  friend bool operator==(const NodeWalk& a, const NodeWalk& b) {
    return a.octree_ == b.octree_ && a.id_ == b.id_;
  }

 private:
  struct PendingNode {
    OctreeNodeId id;
    bool insideShape;
  };

  /// Takes the front of the queue; false at the end.
  bool next();
  void end();
  void checkNumberOfNodes();

  std::shared_ptr<Octree> octree_;  // empty at the end
  OctreeNodeId id_;
  bool insideShape_ = false;
  std::deque<PendingNode> queue_;
  float minSpacing_ = 0;
  std::stop_token stopToken_;
  std::uint64_t visited_ = 0;
  std::uint64_t mostNodes_ = 0;  // 0: not asked for yet
};

/// The points of the nodes that a walk stands on, from the cache or decoded. From the second node in a row on
/// that is asked for, it loads the nodes behind in advance; copies do not.
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

  /// The kd-tree of the current node's entry. When it is built by this, the cache is told.
  [[nodiscard]] const Math::PointKdTree<float, 3>& kdTree(const NodeWalk& walk,
                                                          OctreeNodeCache::CacheEntry& entry) const;

 private:
  [[nodiscard]] bool loadPoints(const NodeWalk& walk, Math::NodePoints& points);
  void readAhead(const NodeWalk& walk);

  std::shared_ptr<OctreeNodeCache> cache_;
  std::uint64_t lastLoaded_ = 0;     // number in the walk
  std::uint64_t lastRequested_ = 0;  // likewise
  std::unique_ptr<ReadAhead> nodesInAdvance_;
};

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
