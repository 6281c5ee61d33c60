#include "regions/CompositeRegion.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <utility>

namespace Math {
namespace {

CompositeRegion* asComposite(const CompositeRegion::Child& child) {
  return dynamic_cast<CompositeRegion*>(child.get());
}

}  // namespace

CompositeRegion::~CompositeRegion() { leaveChildren(); }

void CompositeRegion::leaveChildren() {
  for (const Child& child : children_) {
    if (CompositeRegion* const composite = asComposite(child)) composite->removeParent(this);
  }
}

void CompositeRegion::addParent(CompositeRegion* parent) {
  const std::scoped_lock lock(parentsMutex_);
  parents_.push_back(parent);
}

void CompositeRegion::removeParent(const CompositeRegion* parent) {
  const std::scoped_lock lock(parentsMutex_);
  parents_.erase(std::find(parents_.begin(), parents_.end(), parent));
}

/// Whether this region is @p region or stands below it.
bool CompositeRegion::isWithin(const ClippingRegion<float>* region) const {
  std::vector<const CompositeRegion*> pending{this};
  std::unordered_set<const CompositeRegion*> seen{this};
  while (!pending.empty()) {
    const CompositeRegion* const at = pending.back();
    pending.pop_back();
    if (at == region) return true;
    for (const CompositeRegion* const parent : at->parents_) {
      if (seen.insert(parent).second) pending.push_back(parent);
    }
  }
  return false;
}

/// Whether this region may become so high, as far as those above it are concerned.
void CompositeRegion::checkHeight(unsigned height) const {
  if (height <= height_) return;
  if (height > kMostNested) {
    throw std::invalid_argument("Error: regions are nested deeper than " + std::to_string(kMostNested));
  }
  for (const CompositeRegion* const parent : parents_) parent->checkHeight(height + 1);
}

void CompositeRegion::raiseHeight(unsigned height) {
  if (height <= height_) return;
  height_ = height;
  for (CompositeRegion* const parent : parents_) parent->raiseHeight(height + 1);
}

/// After children have gone.
void CompositeRegion::updateHeight() {
  unsigned height = 1;
  for (const Child& child : children_) {
    const CompositeRegion* const composite = asComposite(child);
    height = std::max(height, 1 + (composite != nullptr ? composite->height_ : 1));
  }
  if (height == height_) return;
  height_ = height;
  for (CompositeRegion* const parent : parents_) parent->updateHeight();
}

void CompositeRegion::append(Child child) {
  if (!child) throw std::invalid_argument("Error: region is null");
  CompositeRegion* const composite = asComposite(child);
  if (composite != nullptr && isWithin(composite)) {
    throw std::invalid_argument("Error: region contains itself");
  }
  const unsigned height = 1 + (composite != nullptr ? composite->height_ : 1);
  checkHeight(height);
  children_.push_back(std::move(child));
  if (composite != nullptr) composite->addParent(this);
  raiseHeight(height);
}

void CompositeRegion::clear() {
  leaveChildren();
  children_.clear();
  updateHeight();
}

void CompositeRegion::replace(Child child) {
  append(std::move(child));
  while (children_.size() > 1) {
    if (CompositeRegion* const composite = asComposite(children_.front())) composite->removeParent(this);
    children_.erase(children_.begin());
  }
  updateHeight();
}

void CompositeRegion::setTransformation(const Matrix4<float>& matrix) {
  for (const Child& child : children_) child->setTransformation(matrix);
}

bool CompositeRegion::equals(const ClippingRegion<float>& other) const {
  const auto theirs = dynamic_cast<const CompositeRegion&>(other).children();
  return std::equal(children_.begin(), children_.end(), theirs.begin(), theirs.end(),
                    [](const Child& a, const Child& b) { return a == b || *a == *b; });
}

}  // namespace Math
