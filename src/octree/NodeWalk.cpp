#include "octree/NodeWalk.h"

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

}  // namespace Octree::Algorithm
