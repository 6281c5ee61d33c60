#include "Sorvik/Polygon.h"

#include "api/Arguments.h"
#include "api/EngineAccess.h"

namespace Sorvik {

namespace {

::Math::Polygon<float> fromInterleaved(Span<const float> vertexPositions) {
  checkArgument(vertexPositions.size() % 2 == 0, "Error: vertexPositions.size() % 2 != 0");
  return ::Math::Polygon<float>(vertexPositions);
}

}  // namespace

struct Polygon::Impl {
  ::Math::Polygon<float> shape;
};

Polygon::Polygon() : impl_(std::make_unique<Impl>()) {}
Polygon::Polygon(Span<const float> vertexPositions)
    : impl_(std::make_unique<Impl>(Impl{fromInterleaved(vertexPositions)})) {}
Polygon::Polygon(const Polygon& other) : impl_(std::make_unique<Impl>(*other.impl_)) {}
Polygon::Polygon(Polygon&& other) noexcept = default;
Polygon& Polygon::operator=(const Polygon& other) {
  impl_ = std::make_unique<Impl>(*other.impl_);
  return *this;
}
Polygon& Polygon::operator=(Polygon&& other) noexcept = default;
Polygon::~Polygon() = default;

bool Polygon::inside(Span<const float> p) const { return impl_->shape.inside(toPoint<2>(p)); }

std::uint64_t Polygon::numEdges() const { return impl_->shape.numVertices(); }
std::uint64_t Polygon::numVertices() const { return impl_->shape.numVertices(); }

float Polygon::perimeter() const { return impl_->shape.perimeter(); }
float Polygon::area() const { return impl_->shape.area(); }

Span<const float> Polygon::vertex(std::uint64_t index) const {
  return impl_->shape.ring()[index].coordinates;
}

const ::Math::Polygon<float>& EngineAccess::engine(const Polygon& polygon) { return polygon.impl_->shape; }

}  // namespace Sorvik
