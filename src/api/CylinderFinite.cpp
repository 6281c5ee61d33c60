#include "Sorvik/CylinderFinite.h"

#include "api/Arguments.h"
#include "api/EngineAccess.h"

namespace Sorvik {

namespace {

constexpr const char* kStartSize = "Error: startPoint.size() != 3";
constexpr const char* kEndSize = "Error: endPoint.size() != 3";

}  // namespace

struct CylinderFinite::Impl {
  ::Math::CylinderFinite<float> shape;
};

CylinderFinite::CylinderFinite() : impl_(std::make_unique<Impl>()) {}
CylinderFinite::CylinderFinite(Span<const float> start, Span<const float> end, float radius)
    : impl_(std::make_unique<Impl>(Impl{{toPoint<3>(start), toPoint<3>(end), radius}})) {}
CylinderFinite::CylinderFinite(const CylinderFinite& other) : impl_(std::make_unique<Impl>(*other.impl_)) {}
CylinderFinite::CylinderFinite(CylinderFinite&& other) noexcept = default;
CylinderFinite& CylinderFinite::operator=(const CylinderFinite& other) {
  impl_ = std::make_unique<Impl>(*other.impl_);
  return *this;
}
CylinderFinite& CylinderFinite::operator=(CylinderFinite&& other) noexcept = default;
CylinderFinite::~CylinderFinite() = default;

CylinderFinite CylinderFinite::fromTwoPoints(Span<const float> start, Span<const float> end, float radius) {
  return {start, end, radius};
}

void CylinderFinite::setStart(Span<const float> startPoint) {
  impl_->shape.start = checkedPoint<3>(startPoint, kStartSize);
}
void CylinderFinite::getStart(Span<float> startPoint) const {
  writeChecked(impl_->shape.start, startPoint, kStartSize);
}
Span<const float> CylinderFinite::start() const { return impl_->shape.start.coordinates; }

void CylinderFinite::setEnd(Span<const float> endPoint) {
  impl_->shape.end = checkedPoint<3>(endPoint, kEndSize);
}
void CylinderFinite::getEnd(Span<float> endPoint) const {
  writeChecked(impl_->shape.end, endPoint, kEndSize);
}
Span<const float> CylinderFinite::end() const { return impl_->shape.end.coordinates; }

void CylinderFinite::setRadius(float radius) { impl_->shape.radius = radius; }
float CylinderFinite::radius() const { return impl_->shape.radius; }

bool CylinderFinite::inside(Span<const float> p) const {
  return impl_->shape.inside(checkedPoint<3>(p, "Error: p.size() != 3"));
}

const ::Math::CylinderFinite<float>& EngineAccess::engine(const CylinderFinite& cylinder) {
  return cylinder.impl_->shape;
}

}  // namespace Sorvik
