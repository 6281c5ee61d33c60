#include "regions/ListRegions.h"

#include <algorithm>

namespace Math {
namespace {

template <class Asks>
bool all(const ListRegion& region, const Asks& asks) {
  const auto children = region.children();
  return std::all_of(children.begin(), children.end(), [&](const auto& child) { return asks(*child); });
}

template <class Asks>
bool any(const ListRegion& region, const Asks& asks) {
  const auto children = region.children();
  return std::any_of(children.begin(), children.end(), [&](const auto& child) { return asks(*child); });
}

using Region = ClippingRegion<float>;

/// Whether a box test may save the test of the points of a batch.
bool worthBoxTest(const ListRegion& region, const PointBatch& batch) {
  return batch.bounds && region.children().size() > 1;
}

}  // namespace

void ListRegion::searchImpl(const PointKdTree<float, 3>& tree, std::vector<std::uint32_t>& indices) const {
  if (children().size() == 1) return children().front()->search(tree, indices);
  CompositeRegion::searchImpl(tree, indices);
}

std::unique_ptr<Region> IntersectionRegion::clone() const {
  auto copy = std::make_unique<IntersectionRegion>();
  copy->appendClones(*this);
  return copy;
}

bool IntersectionRegion::boxIntersectsImpl(const Box& box) const {
  return all(*this, [&](const Region& child) { return child.boxIntersects(box); });
}

bool IntersectionRegion::pointInsideImpl(const Point<float, 3>& p) const {
  return all(*this, [&](const Region& child) { return child.pointInside(p); });
}

bool IntersectionRegion::boxInsideImpl(const Box& box) const {
  return all(*this, [&](const Region& child) { return child.boxInside(box); });
}

void IntersectionRegion::pointsInsideImpl(const PointBatch& batch, PointMask& inside) const {
  inside = PointMask::filled(true);
  PointMask insideChild;
  for (const Child& child : children()) {
    if (worthBoxTest(*this, batch)) {
      if (child->boxInside(*batch.bounds)) continue;
      if (!child->boxIntersects(*batch.bounds)) {
        inside = PointMask::filled(false);
        return;
      }
    }
    child->pointsInside(batch, insideChild);
    inside &= insideChild;
  }
}

std::unique_ptr<Region> UnionRegion::clone() const {
  auto copy = std::make_unique<UnionRegion>();
  copy->appendClones(*this);
  return copy;
}

bool UnionRegion::boxIntersectsImpl(const Box& box) const {
  return any(*this, [&](const Region& child) { return child.boxIntersects(box); });
}

bool UnionRegion::pointInsideImpl(const Point<float, 3>& p) const {
  return any(*this, [&](const Region& child) { return child.pointInside(p); });
}

bool UnionRegion::boxInsideImpl(const Box& box) const {
  return any(*this, [&](const Region& child) { return child.boxInside(box); });
}

void UnionRegion::pointsInsideImpl(const PointBatch& batch, PointMask& inside) const {
  inside = PointMask::filled(false);
  PointMask insideChild;
  for (const Child& child : children()) {
    if (worthBoxTest(*this, batch) && !child->boxIntersects(*batch.bounds)) continue;
    child->pointsInside(batch, insideChild);
    inside |= insideChild;
  }
}

}  // namespace Math
