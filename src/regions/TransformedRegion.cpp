#include "regions/TransformedRegion.h"

#include <utility>

#include "regions/BatchKernels.h"

namespace Math {

TransformedRegion::TransformedRegion(Child child, const Matrix4<float>& transformation) {
  append(std::move(child));
  TransformedRegion::setTransformation(transformation);
}

void TransformedRegion::setTransformation(const Matrix4<float>& matrix) {
  transformation_ = matrix;
  toChild_.reset();
  if (const std::optional<Matrix4<float>> inverted = inverse(matrix)) toChild_.emplace(*inverted);
}

bool TransformedRegion::boxIntersectsImpl(const Box& box) const {
  if (!toChild_) return false;
  const std::optional<Box> moved = toChild_->bounds(box);
  return !moved || child().boxIntersects(*moved);
}

bool TransformedRegion::pointInsideImpl(const Point<float, 3>& p) const {
  return toChild_ && child().pointInside(toChild_->apply(p));
}

bool TransformedRegion::boxInsideImpl(const Box& box) const {
  if (!toChild_) return false;
  const std::optional<Box> moved = toChild_->bounds(box);
  return moved && child().boxInside(*moved);
}

bool TransformedRegion::equals(const ClippingRegion<float>& other) const {
  return transformation_ == dynamic_cast<const TransformedRegion&>(other).transformation_ &&
         CompositeRegion::equals(other);
}

void TransformedRegion::pointsInsideImpl(const PointBatch& batch, PointMask& inside) const {
  if (!toChild_) {
    inside = PointMask::filled(false);
    return;
  }
  // Not on the stack: regions may be nested a thousand deep.
  const auto moved = std::make_unique<PointBatch>();
  mapBatch(*toChild_, batch, *moved);
  child().pointsInside(*moved, inside);
}

}  // namespace Math
