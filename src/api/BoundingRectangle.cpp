#include "Sorvik/BoundingRectangle.h"

#include "api/Arguments.h"
#include "api/EngineAccess.h"

namespace Sorvik {

struct BoundingRectangle::Impl {
  ::Math::NBoundingBox<float, 2> shape;
};

BoundingRectangle::BoundingRectangle() : impl_(std::make_unique<Impl>()) {}
BoundingRectangle::BoundingRectangle(Span<const float> minimum, Span<const float> maximum)
    : impl_(std::make_unique<Impl>(Impl{{toPoint<2>(minimum), toPoint<2>(maximum)}})) {}
BoundingRectangle::BoundingRectangle(const BoundingRectangle& other)
    : impl_(std::make_unique<Impl>(*other.impl_)) {}
BoundingRectangle::BoundingRectangle(BoundingRectangle&& other) noexcept = default;
BoundingRectangle& BoundingRectangle::operator=(const BoundingRectangle& other) {
  impl_ = std::make_unique<Impl>(*other.impl_);
  return *this;
}
BoundingRectangle& BoundingRectangle::operator=(BoundingRectangle&& other) noexcept = default;
BoundingRectangle::~BoundingRectangle() = default;

void BoundingRectangle::setMinimum(Span<const float> minimum) { impl_->shape.minimum = toPoint<2>(minimum); }
void BoundingRectangle::getMinimum(Span<float> minimum) const { write(impl_->shape.minimum, minimum); }
Span<const float> BoundingRectangle::minimum() const { return impl_->shape.minimum.coordinates; }

void BoundingRectangle::setMaximum(Span<const float> maximum) { impl_->shape.maximum = toPoint<2>(maximum); }
void BoundingRectangle::getMaximum(Span<float> maximum) const { write(impl_->shape.maximum, maximum); }
Span<const float> BoundingRectangle::maximum() const { return impl_->shape.maximum.coordinates; }

void BoundingRectangle::getCenter(Span<float> center) const { write(impl_->shape.center(), center); }
void BoundingRectangle::getSize(Span<float> size) const { write(impl_->shape.size(), size); }
void BoundingRectangle::getHalfSize(Span<float> halfSize) const { write(impl_->shape.halfSize(), halfSize); }

bool BoundingRectangle::inside(Span<const float> p) const { return impl_->shape.inside(toPoint<2>(p)); }
void BoundingRectangle::expand(Span<const float> p) { impl_->shape.expand(toPoint<2>(p)); }
void BoundingRectangle::reset() { impl_->shape = {}; }
bool BoundingRectangle::empty() const { return impl_->shape.empty(); }

const ::Math::NBoundingBox<float, 2>& EngineAccess::engine(const BoundingRectangle& rectangle) {
  return rectangle.impl_->shape;
}

}  // namespace Sorvik
