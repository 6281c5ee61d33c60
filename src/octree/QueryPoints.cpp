#include "octree/QueryPoints.h"

#include <utility>

namespace Octree::Algorithm {
QueryPointsIterator::QueryPointsIterator(const std::shared_ptr<Octree>& octree,
                                         std::shared_ptr<OctreeNodeCache> cache, float minSpacing,
                                         std::stop_token stopToken)
    : walk_(octree, minSpacing, std::move(stopToken)), loader_(std::move(cache)) {
  walk_.start(true);
  ++*this;
}

QueryPointsIterator& QueryPointsIterator::operator++() {
  current_.reset();
  loader_.prepareStep(walk_);
  walk_.step([](const Math::NBoundingBox<float, 3>&) { return NodeWalk::Verdict{true, true}; });
  return *this;
}

const QueryPointsIterator::Entry& QueryPointsIterator::operator*() {
  if (!current_) current_ = loader_.load(walk_);
  return current_;
}

}  // namespace Octree::Algorithm
