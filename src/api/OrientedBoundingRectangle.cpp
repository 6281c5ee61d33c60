#include "Sorvik/OrientedBoundingRectangle.h"

#include "api/Arguments.h"
#include "api/EngineAccess.h"
#include "math/MatrixBlock.h"

namespace Sorvik {

namespace {

/// The axes from a matrix of 4 or 9 elements.
std::array<float, 4> checkedRotation(Span<const float> rotationMatrix) {
  checkArgument(rotationMatrix.size() == 4 || rotationMatrix.size() == 9,
                "rotationMatrix must be 4 or 9 elements long");
  if (rotationMatrix.size() == 4) return toArray<4>(rotationMatrix);
  return ::Math::upperLeftBlock<2, 3>(toArray<9>(rotationMatrix));
}

}  // namespace

struct OrientedBoundingRectangle::Impl {
  ::Math::NOrientedBoundingBox<float, 2> shape;
};

OrientedBoundingRectangle::OrientedBoundingRectangle() : impl_(std::make_unique<Impl>()) {}
OrientedBoundingRectangle::OrientedBoundingRectangle(const BoundingRectangle& rectangle)
    : impl_(std::make_unique<Impl>(
          Impl{::Math::NOrientedBoundingBox<float, 2>::fromBox(EngineAccess::engine(rectangle))})) {}
OrientedBoundingRectangle::OrientedBoundingRectangle(Span<const float> center)
    : impl_(std::make_unique<Impl>(Impl{{.center = toPoint<2>(center)}})) {}
OrientedBoundingRectangle::OrientedBoundingRectangle(Span<const float> center, Span<const float> halfSize)
    : impl_(std::make_unique<Impl>(Impl{{.center = toPoint<2>(center), .halfSize = toPoint<2>(halfSize)}})) {}
OrientedBoundingRectangle::OrientedBoundingRectangle(Span<const float> center, Span<const float> halfSize,
                                                     Span<const float> rotationMatrix)
    : impl_(std::make_unique<Impl>(
          Impl{{toPoint<2>(center), toPoint<2>(halfSize), checkedRotation(rotationMatrix)}})) {}
OrientedBoundingRectangle::OrientedBoundingRectangle(Span<const float> center, Span<const float> halfSize,
                                                     float angleRadians)
    : impl_(std::make_unique<Impl>(
          Impl{{toPoint<2>(center), toPoint<2>(halfSize), ::Math::rotationFromAngle(angleRadians)}})) {}
OrientedBoundingRectangle::OrientedBoundingRectangle(const OrientedBoundingRectangle& other)
    : impl_(std::make_unique<Impl>(*other.impl_)) {}
OrientedBoundingRectangle::OrientedBoundingRectangle(OrientedBoundingRectangle&& other) noexcept = default;
OrientedBoundingRectangle& OrientedBoundingRectangle::operator=(const OrientedBoundingRectangle& other) {
  impl_ = std::make_unique<Impl>(*other.impl_);
  return *this;
}
OrientedBoundingRectangle& OrientedBoundingRectangle::operator=(OrientedBoundingRectangle&& other) noexcept =
    default;
OrientedBoundingRectangle::~OrientedBoundingRectangle() = default;

void OrientedBoundingRectangle::setCenter(Span<const float> center) {
  impl_->shape.center = toPoint<2>(center);
}
void OrientedBoundingRectangle::getCenter(Span<float> center) const { write(impl_->shape.center, center); }
Span<const float> OrientedBoundingRectangle::center() const { return impl_->shape.center.coordinates; }

void OrientedBoundingRectangle::setHalfSize(Span<const float> halfSize) {
  impl_->shape.halfSize = toPoint<2>(halfSize);
}
void OrientedBoundingRectangle::setHalfSize(float halfSize) {
  impl_->shape.halfSize = ::Math::Point<float, 2>::filled(halfSize);
}
void OrientedBoundingRectangle::getHalfSize(Span<float> halfSize) const {
  write(impl_->shape.halfSize, halfSize);
}
Span<const float> OrientedBoundingRectangle::halfSize() const { return impl_->shape.halfSize.coordinates; }

void OrientedBoundingRectangle::setSize(Span<const float> size) { impl_->shape.setSize(toPoint<2>(size)); }
void OrientedBoundingRectangle::setSize(float size) {
  impl_->shape.setSize(::Math::Point<float, 2>::filled(size));
}
void OrientedBoundingRectangle::getSize(Span<float> size) const { write(impl_->shape.size(), size); }

void OrientedBoundingRectangle::setRotationByAngle(float angleRadians) {
  impl_->shape.rotation = ::Math::rotationFromAngle(angleRadians);
}
void OrientedBoundingRectangle::getRotationAsAngle(float& angleRadians) const {
  angleRadians = ::Math::angleFromRotation(impl_->shape.rotation);
}

void OrientedBoundingRectangle::setRotationByMatrix22(Span<const float> rotationMatrix) {
  impl_->shape.rotation = toArray<4>(rotationMatrix);
}
void OrientedBoundingRectangle::getRotationAsMatrix22(Span<float> rotationMatrix) const {
  write(impl_->shape.rotation, rotationMatrix);
}
Span<const float> OrientedBoundingRectangle::rotationMatrix22() const { return impl_->shape.rotation; }

void OrientedBoundingRectangle::setRotationByMatrix33(Span<const float> rotationMatrix) {
  impl_->shape.rotation = ::Math::upperLeftBlock<2, 3>(toArray<9>(rotationMatrix));
}
void OrientedBoundingRectangle::getRotationAsMatrix33(Span<float> rotationMatrix) const {
  write(::Math::identityWithBlock<3, 2>(impl_->shape.rotation), rotationMatrix);
}

void OrientedBoundingRectangle::setRotationByAxes(Span<const float> xAxis, Span<const float> yAxis) {
  // Read first: the spans may view the very matrix that is about to change.
  const ::Math::Point<float, 2> columns[] = {toPoint<2>(xAxis), toPoint<2>(yAxis)};
  for (int i = 0; i < 2; ++i) impl_->shape.setAxis(i, columns[i]);
}

bool OrientedBoundingRectangle::inside(Span<const float> p) const {
  return impl_->shape.inside(toPoint<2>(p));
}

const ::Math::NOrientedBoundingBox<float, 2>& EngineAccess::engine(
    const OrientedBoundingRectangle& rectangle) {
  return rectangle.impl_->shape;
}

}  // namespace Sorvik
