#include "Sorvik/Plane.h"

#include "api/Arguments.h"
#include "api/EngineAccess.h"

namespace Sorvik {

struct Plane::Impl {
  ::Math::Plane<float> plane;
};

namespace {

::Math::Plane<float> normalized(float a, float b, float c, float d) {
  ::Math::Plane<float> plane{{{a, b, c}}, d};
  plane.normalize();
  return plane;
}

::Math::Plane<float> fromElements(Span<const float> elems) {
  checkArgument(elems.size() == 4, "Error: elems.size() != 4");
  return normalized(elems[0], elems[1], elems[2], elems[3]);
}

::Math::Plane<float> fromNormalAndPoint(Span<const float> normal, Span<const float> point) {
  // Two statements, since arguments of one call may be evaluated, and so refused, in any order.
  const auto direction = checkedPoint<3>(normal, "Error: normal.size() != 3");
  return ::Math::Plane<float>::throughPoint(direction, checkedPoint<3>(point, "Error: point.size() != 3"));
}

}  // namespace

Plane::Plane(float a, float b, float c, float d)
    : impl_(std::make_unique<Impl>(Impl{normalized(a, b, c, d)})) {}
Plane::Plane(Span<const float> elems) : impl_(std::make_unique<Impl>(Impl{fromElements(elems)})) {}
Plane::Plane(Span<const float> normal, Span<const float> point)
    : impl_(std::make_unique<Impl>(Impl{fromNormalAndPoint(normal, point)})) {}
Plane::Plane(const Plane& other) : impl_(std::make_unique<Impl>(*other.impl_)) {}
Plane::Plane(Plane&& other) noexcept = default;
Plane& Plane::operator=(const Plane& other) {
  impl_ = std::make_unique<Impl>(*other.impl_);
  return *this;
}
Plane& Plane::operator=(Plane&& other) noexcept = default;
Plane::~Plane() = default;

void Plane::normalize() { impl_->plane.normalize(); }
void Plane::negate() { impl_->plane.negate(); }

Span<const float> Plane::normal() const { return impl_->plane.normal.coordinates; }
void Plane::getNormal(Span<float> normal) const { write(impl_->plane.normal, normal); }

float Plane::constant() const { return impl_->plane.constant; }
void Plane::getConstant(float& constant) const { constant = impl_->plane.constant; }

const ::Math::Plane<float>& EngineAccess::engine(const Plane& plane) { return plane.impl_->plane; }

}  // namespace Sorvik
