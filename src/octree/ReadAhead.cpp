#include "octree/ReadAhead.h"

#include <utility>

namespace Octree::Algorithm {

ReadAhead::ReadAhead(std::shared_ptr<Octree> octree, std::stop_token stopToken)
    : octree_(std::move(octree)),
      whenWalkStops_(std::move(stopToken), [stop = stop_]() mutable { stop.request_stop(); }) {}

ReadAhead::~ReadAhead() {
  stop_.request_stop();
  std::unique_lock lock(shared_->mutex);
  for (const auto& node : nodes_) {
    if (node->progress == Progress::Waiting) node->progress = Progress::Dropped;
  }
  shared_->changed.wait(lock, [this] { return shared_->running == 0; });
}

void ReadAhead::request(std::uint64_t number, const OctreeNodeId& id, std::uint64_t bytes) {
  const auto node = std::make_shared<Node>(Node{number, id, bytes, Progress::Waiting, false, {}});
  nodes_.push_back(node);
  bytes_ += bytes;
  // The task must not own the octree, which owns the worker that runs it: while a task runs, the destructor
  // above keeps the octree alive, and one that finds its node dropped does not touch it.
  octree_->workers().add([node, shared = shared_, octree = octree_.get(), stopToken = stop_.get_token()] {
    {
      const std::lock_guard lock(shared->mutex);
      if (node->progress != Progress::Waiting) return;
      node->progress = Progress::Running;
      ++shared->running;
    }
    node->loaded = octree->loadNodePoints(node->id, node->points, stopToken);
    const std::lock_guard lock(shared->mutex);
    node->progress = Progress::Done;
    --shared->running;
    shared->changed.notify_all();
  });
}

std::optional<bool> ReadAhead::take(std::uint64_t number, Math::NodePoints& points) {
  while (!nodes_.empty() && nodes_.front()->number < number) dropFront();
  if (nodes_.empty() || nodes_.front()->number != number) return std::nullopt;
  const std::shared_ptr<Node> node = nodes_.front();
  dropFront();
  {
    std::unique_lock lock(shared_->mutex);
    shared_->changed.wait(lock, [&] { return node->progress != Progress::Running; });
    if (node->progress == Progress::Dropped) return std::nullopt;
  }
  points = std::move(node->points);
  return node->loaded;
}

/// A node that is running is left to end by itself; its points go with it.
void ReadAhead::dropFront() {
  Node& node = *nodes_.front();
  bytes_ -= node.bytes;
  {
    const std::lock_guard lock(shared_->mutex);
    if (node.progress == Progress::Waiting) node.progress = Progress::Dropped;
  }
  nodes_.pop_front();
}

}  // namespace Octree::Algorithm
