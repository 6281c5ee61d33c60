#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <stop_token>
#include <utility>

#include "math/BoundingBox.h"
#include "octree/Octree.h"

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

}  // namespace Octree::Algorithm
