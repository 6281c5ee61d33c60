#include "Sorvik/Cylinder.h"

#include "api/Arguments.h"
#include "api/EngineAccess.h"

namespace Sorvik {

namespace {

constexpr const char* kOriginSize = "Error: originPoint.size() != 3";
constexpr const char* kDirectionSize = "Error: directionVector.size() != 3";

}  // namespace

struct Cylinder::Impl {
  ::Math::Cylinder<float> shape;
};

Cylinder::Cylinder() : impl_(std::make_unique<Impl>()) {}
Cylinder::Cylinder(Span<const float> origin, Span<const float> direction, float radius)
    : impl_(std::make_unique<Impl>(Impl{{toPoint<3>(origin), toPoint<3>(direction), radius}})) {}
Cylinder::Cylinder(const Cylinder& other) : impl_(std::make_unique<Impl>(*other.impl_)) {}
Cylinder::Cylinder(Cylinder&& other) noexcept = default;
Cylinder& Cylinder::operator=(const Cylinder& other) {
  impl_ = std::make_unique<Impl>(*other.impl_);
  return *this;
}
Cylinder& Cylinder::operator=(Cylinder&& other) noexcept = default;
Cylinder::~Cylinder() = default;

Cylinder Cylinder::fromPointAndDirection(Span<const float> origin, Span<const float> direction,
                                         float radius) {
  return {origin, direction, radius};
}
Cylinder Cylinder::fromTwoPoints(Span<const float> p1, Span<const float> p2, float radius) {
  Cylinder cylinder;
  cylinder.impl_->shape = ::Math::Cylinder<float>::fromTwoPoints(toPoint<3>(p1), toPoint<3>(p2), radius);
  return cylinder;
}

void Cylinder::setOrigin(Span<const float> originPoint) {
  impl_->shape.origin = checkedPoint<3>(originPoint, kOriginSize);
}
void Cylinder::getOrigin(Span<float> originPoint) const {
  writeChecked(impl_->shape.origin, originPoint, kOriginSize);
}
Span<const float> Cylinder::origin() const { return impl_->shape.origin.coordinates; }

void Cylinder::setDirection(Span<const float> directionVector) {
  impl_->shape.direction = checkedPoint<3>(directionVector, kDirectionSize);
}
void Cylinder::getDirection(Span<float> directionVector) const {
  writeChecked(impl_->shape.direction, directionVector, kDirectionSize);
}
Span<const float> Cylinder::direction() const { return impl_->shape.direction.coordinates; }

void Cylinder::setRadius(float radius) { impl_->shape.radius = radius; }
float Cylinder::radius() const { return impl_->shape.radius; }

bool Cylinder::inside(Span<const float> p) const {
  return impl_->shape.inside(checkedPoint<3>(p, "Error: p.size() != 3"));
}

const ::Math::Cylinder<float>& EngineAccess::engine(const Cylinder& cylinder) {
  return cylinder.impl_->shape;
}

}  // namespace Sorvik
