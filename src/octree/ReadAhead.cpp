#include "octree/ReadAhead.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace Octree::Algorithm {
namespace {

// A taker who waits for bytes looks this often whether others' have come.
constexpr std::chrono::milliseconds kBetweenLooks{5};
// Bytes come about in the order in which they were asked for: behind so many that have not come, none is
// looked for.
constexpr std::size_t kMostAbsent = 64;

}  // namespace

ReadAhead::ReadAhead(std::shared_ptr<Octree> octree, std::stop_token stopToken, std::uint64_t byteBudget)
    : octree_(std::move(octree)),
      fetchOnWorkers_(octree_->fetchesInTheCall()),
      byteBudget_(byteBudget),
      whenWalkStops_(std::move(stopToken), [stop = stop_]() mutable { stop.request_stop(); }) {}

ReadAhead::~ReadAhead() {
  stop_.request_stop();
  while (!nodes_.empty()) dropFront();
  std::unique_lock lock(shared_->mutex);
  shared_->changed.wait(lock, [this] { return shared_->running == 0; });
}

void ReadAhead::request(std::uint64_t number, const OctreeNodeId& id, std::uint64_t bytes) {
  const auto node = std::make_shared<Node>();
  node->number = number;
  node->id = id;
  node->bytes = std::min(bytes, byteBudget_);  // a damaged record's may be any number; the sum must hold it
  nodes_.push_back(node);
  bytes_ += node->bytes;
  if (fetchOnWorkers_) {
    addTask(node);
  } else {
    node->fetch = octree_->fetchNode(id, stop_.get_token());
    node->absent = true;
    absent_.push_back(node);
  }
}

void ReadAhead::addTask(const NodePtr& node) {
  // The task must not own the octree, which owns the worker that runs it: while a task runs, the destructor
  // above keeps the octree alive, and one that finds its node taken or dropped does not touch it.
  octree_->workers().add([node, shared = shared_, octree = octree_.get(), stopToken = stop_.get_token()] {
    {
      const std::lock_guard lock(shared->mutex);
      if (node->progress != Progress::Waiting) return;
      node->progress = Progress::Running;
      ++shared->running;
    }
    load(*octree, *node, stopToken);
    const std::lock_guard lock(shared->mutex);
    node->progress = Progress::Done;
    --shared->running;
    shared->changed.notify_all();
  });
}

void ReadAhead::load(Octree& octree, Node& node, const std::stop_token& stopToken) {
  try {
    if (!node.fetch) node.fetch = octree.fetchNode(node.id, stopToken);
    node.loaded = octree.decodeNode(std::move(*node.fetch), node.points, stopToken);
  } catch (...) {
    node.error = std::current_exception();
  }
}

void ReadAhead::handOver() {
  for (std::size_t i = 0; i < std::min(absent_.size(), kMostAbsent);) {
    const NodePtr node = absent_[i];
    if (!node->fetch->isReady()) {
      ++i;
      continue;
    }
    absent_.erase(absent_.begin() + static_cast<std::ptrdiff_t>(i));
    node->absent = false;
    addTask(node);
  }
}

void ReadAhead::dropBefore(std::uint64_t number) {
  while (!nodes_.empty() && nodes_.front()->number < number) dropFront();
}

std::optional<bool> ReadAhead::take(std::uint64_t number, Math::NodePoints& points) {
  dropBefore(number);
  if (nodes_.empty() || nodes_.front()->number != number) return std::nullopt;
  const NodePtr node = nodes_.front();
  nodes_.pop_front();
  bytes_ -= node->bytes;
  waitForPoints(node);
  if (node->error) std::rethrow_exception(node->error);
  points = std::move(node->points);
  return node->loaded;
}

void ReadAhead::waitForPoints(const NodePtr& node) {
  for (;;) {
    handOver();
    std::unique_lock lock(shared_->mutex);
    if (node->progress == Progress::Done) return;
    const bool isFree = !node->absent && node->progress == Progress::Waiting;
    const NodePtr next = isFree ? node : firstWaiting();
    if (next) {
      next->progress = Progress::Running;
      lock.unlock();
      load(*octree_, *next, stop_.get_token());
      lock.lock();
      next->progress = Progress::Done;
    } else if (node->absent) {
      lock.unlock();
      node->fetch->waitFor(kBetweenLooks);
    } else {
      shared_->changed.wait(lock);
    }
  }
}

ReadAhead::NodePtr ReadAhead::firstWaiting() const {
  const auto waits = [](const NodePtr& node) { return !node->absent && node->progress == Progress::Waiting; };
  const auto found = std::find_if(nodes_.begin(), nodes_.end(), waits);
  return found == nodes_.end() ? nullptr : *found;
}

/// A node that a worker has is left to end by itself; its points go with it.
void ReadAhead::dropFront() {
  const NodePtr node = std::move(nodes_.front());
  nodes_.pop_front();
  bytes_ -= node->bytes;
  if (node->absent) absent_.pop_front();
  const std::lock_guard lock(shared_->mutex);
  if (!fetchOnWorkers_ || node->progress != Progress::Waiting) octree_->noteUnusedFetch();
  if (node->progress != Progress::Waiting) return;
  node->progress = Progress::Dropped;
  node->fetch.reset();  // the task that still holds the node may wait for long
}

}  // namespace Octree::Algorithm
