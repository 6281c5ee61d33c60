#include "Sorvik/BoundingBox.h"

#include "api/Arguments.h"
#include "api/EngineAccess.h"

namespace Sorvik {

struct BoundingBox::Impl {
  ::Math::NBoundingBox<float, 3> shape;
};

BoundingBox::BoundingBox() : impl_(std::make_unique<Impl>()) {}
BoundingBox::BoundingBox(Span<const float> minimum, Span<const float> maximum)
    : impl_(std::make_unique<Impl>(Impl{{toPoint<3>(minimum), toPoint<3>(maximum)}})) {}
BoundingBox::BoundingBox(const BoundingBox& other) : impl_(std::make_unique<Impl>(*other.impl_)) {}
BoundingBox::BoundingBox(BoundingBox&& other) noexcept = default;
BoundingBox& BoundingBox::operator=(const BoundingBox& other) {
  impl_ = std::make_unique<Impl>(*other.impl_);
  return *this;
}
BoundingBox& BoundingBox::operator=(BoundingBox&& other) noexcept = default;
BoundingBox::~BoundingBox() = default;

void BoundingBox::setMinimum(Span<const float> minimum) { impl_->shape.minimum = toPoint<3>(minimum); }
void BoundingBox::getMinimum(Span<float> minimum) const { write(impl_->shape.minimum, minimum); }
Span<const float> BoundingBox::minimum() const { return impl_->shape.minimum.coordinates; }

void BoundingBox::setMaximum(Span<const float> maximum) { impl_->shape.maximum = toPoint<3>(maximum); }
void BoundingBox::getMaximum(Span<float> maximum) const { write(impl_->shape.maximum, maximum); }
Span<const float> BoundingBox::maximum() const { return impl_->shape.maximum.coordinates; }

void BoundingBox::getCenter(Span<float> center) const { write(impl_->shape.center(), center); }
void BoundingBox::getSize(Span<float> size) const { write(impl_->shape.size(), size); }
void BoundingBox::getHalfSize(Span<float> halfSize) const { write(impl_->shape.halfSize(), halfSize); }

bool BoundingBox::inside(Span<const float> p) const { return impl_->shape.inside(toPoint<3>(p)); }
void BoundingBox::expand(Span<const float> p) { impl_->shape.expand(toPoint<3>(p)); }
void BoundingBox::reset() { impl_->shape = {}; }
bool BoundingBox::empty() const { return impl_->shape.empty(); }

const ::Math::NBoundingBox<float, 3>& EngineAccess::engine(const BoundingBox& box) {
  return box.impl_->shape;
}

}  // namespace Sorvik
