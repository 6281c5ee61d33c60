#include "Sorvik/Sphere.h"

#include "api/Arguments.h"
#include "api/EngineAccess.h"

namespace Sorvik {

namespace {

constexpr const char* kCenterSize = "Error: center.size() != 3";

}  // namespace

struct Sphere::Impl {
  ::Math::NSphere<float, 3> shape;
};

Sphere::Sphere() : impl_(std::make_unique<Impl>()) {}
Sphere::Sphere(float x, float y, float z, float radius)
    : impl_(std::make_unique<Impl>(Impl{{{{x, y, z}}, radius}})) {}
Sphere::Sphere(Span<const float> center, float radius)
    : impl_(std::make_unique<Impl>(Impl{{checkedPoint<3>(center, kCenterSize), radius}})) {}
Sphere::Sphere(const Sphere& other) : impl_(std::make_unique<Impl>(*other.impl_)) {}
Sphere::Sphere(Sphere&& other) noexcept = default;
Sphere& Sphere::operator=(const Sphere& other) {
  impl_ = std::make_unique<Impl>(*other.impl_);
  return *this;
}
Sphere& Sphere::operator=(Sphere&& other) noexcept = default;
Sphere::~Sphere() = default;

void Sphere::setCenter(Span<const float> center) {
  impl_->shape.center = checkedPoint<3>(center, kCenterSize);
}
void Sphere::setCenter(float x, float y, float z) { impl_->shape.center = {{x, y, z}}; }
void Sphere::getCenter(Span<float> center) const { writeChecked(impl_->shape.center, center, kCenterSize); }
Span<const float> Sphere::center() const { return impl_->shape.center.coordinates; }

void Sphere::setRadius(float radius) { impl_->shape.radius = radius; }
float Sphere::radius() const { return impl_->shape.radius; }

void Sphere::set(float x, float y, float z, float radius) { impl_->shape = {{{x, y, z}}, radius}; }

bool Sphere::inside(Span<const float> p) const {
  return impl_->shape.inside(checkedPoint<3>(p, "Error: p.size() != 3"));
}

const ::Math::NSphere<float, 3>& EngineAccess::engine(const Sphere& sphere) { return sphere.impl_->shape; }

}  // namespace Sorvik
