#include "Sorvik/Circle.h"

#include "api/Arguments.h"
#include "api/EngineAccess.h"

namespace Sorvik {

namespace {

/// Callers compare this text, so its missing letter stays; the point of inside() gets it too.
constexpr const char* kCenterSize = "Error: enter.size() != 2";

}  // namespace

struct Circle::Impl {
  ::Math::NSphere<float, 2> shape;
};

Circle::Circle() : impl_(std::make_unique<Impl>()) {}
Circle::Circle(float x, float y, float radius) : impl_(std::make_unique<Impl>(Impl{{{{x, y}}, radius}})) {}
Circle::Circle(Span<const float> center, float radius)
    : impl_(std::make_unique<Impl>(Impl{{checkedPoint<2>(center, kCenterSize), radius}})) {}
Circle::Circle(const Circle& other) : impl_(std::make_unique<Impl>(*other.impl_)) {}
Circle::Circle(Circle&& other) noexcept = default;
Circle& Circle::operator=(const Circle& other) {
  impl_ = std::make_unique<Impl>(*other.impl_);
  return *this;
}
Circle& Circle::operator=(Circle&& other) noexcept = default;
Circle::~Circle() = default;

void Circle::setCenter(Span<const float> center) {
  impl_->shape.center = checkedPoint<2>(center, kCenterSize);
}
void Circle::setCenter(float x, float y) { impl_->shape.center = {{x, y}}; }
void Circle::getCenter(Span<float> center) const { writeChecked(impl_->shape.center, center, kCenterSize); }
Span<const float> Circle::center() const { return impl_->shape.center.coordinates; }

void Circle::setRadius(float radius) { impl_->shape.radius = radius; }
float Circle::radius() const { return impl_->shape.radius; }

void Circle::set(float x, float y, float radius) { impl_->shape = {{{x, y}}, radius}; }

bool Circle::inside(Span<const float> p) const {
  return impl_->shape.inside(checkedPoint<2>(p, kCenterSize));
}

const ::Math::NSphere<float, 2>& EngineAccess::engine(const Circle& circle) { return circle.impl_->shape; }

}  // namespace Sorvik
