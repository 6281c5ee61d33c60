#include "Sorvik/OrientedBoundingBox.h"

#include "api/Arguments.h"
#include "api/EngineAccess.h"
#include "math/MatrixBlock.h"

namespace Sorvik {

namespace {

/// The axes from a matrix of 9 or 16 elements.
std::array<float, 9> checkedRotation(Span<const float> rotationMatrix) {
  checkArgument(rotationMatrix.size() == 9 || rotationMatrix.size() == 16,
                "rotationMatrix must be 9 or 16 elements long");
  if (rotationMatrix.size() == 9) return toArray<9>(rotationMatrix);
  return ::Math::upperLeftBlock<3, 4>(toArray<16>(rotationMatrix));
}

}  // namespace

struct OrientedBoundingBox::Impl {
  ::Math::NOrientedBoundingBox<float, 3> shape;
};

OrientedBoundingBox::OrientedBoundingBox() : impl_(std::make_unique<Impl>()) {}
OrientedBoundingBox::OrientedBoundingBox(const BoundingBox& box)
    : impl_(std::make_unique<Impl>(
          Impl{::Math::NOrientedBoundingBox<float, 3>::fromBox(EngineAccess::engine(box))})) {}
OrientedBoundingBox::OrientedBoundingBox(Span<const float> center)
    : impl_(std::make_unique<Impl>(Impl{{.center = toPoint<3>(center)}})) {}
OrientedBoundingBox::OrientedBoundingBox(Span<const float> center, Span<const float> halfSize)
    : impl_(std::make_unique<Impl>(Impl{{.center = toPoint<3>(center), .halfSize = toPoint<3>(halfSize)}})) {}
OrientedBoundingBox::OrientedBoundingBox(Span<const float> center, Span<const float> halfSize,
                                         Span<const float> rotationMatrix)
    : impl_(std::make_unique<Impl>(
          Impl{{toPoint<3>(center), toPoint<3>(halfSize), checkedRotation(rotationMatrix)}})) {}
OrientedBoundingBox::OrientedBoundingBox(const OrientedBoundingBox& other)
    : impl_(std::make_unique<Impl>(*other.impl_)) {}
OrientedBoundingBox::OrientedBoundingBox(OrientedBoundingBox&& other) noexcept = default;
OrientedBoundingBox& OrientedBoundingBox::operator=(const OrientedBoundingBox& other) {
  impl_ = std::make_unique<Impl>(*other.impl_);
  return *this;
}
OrientedBoundingBox& OrientedBoundingBox::operator=(OrientedBoundingBox&& other) noexcept = default;
OrientedBoundingBox::~OrientedBoundingBox() = default;

void OrientedBoundingBox::setCenter(Span<const float> center) { impl_->shape.center = toPoint<3>(center); }
void OrientedBoundingBox::getCenter(Span<float> center) const { write(impl_->shape.center, center); }
Span<const float> OrientedBoundingBox::center() const { return impl_->shape.center.coordinates; }

void OrientedBoundingBox::setHalfSize(Span<const float> halfSize) {
  impl_->shape.halfSize = toPoint<3>(halfSize);
}
void OrientedBoundingBox::setHalfSize(float halfSize) {
  impl_->shape.halfSize = ::Math::Point<float, 3>::filled(halfSize);
}
void OrientedBoundingBox::getHalfSize(Span<float> halfSize) const { write(impl_->shape.halfSize, halfSize); }
Span<const float> OrientedBoundingBox::halfSize() const { return impl_->shape.halfSize.coordinates; }

void OrientedBoundingBox::setSize(Span<const float> size) { impl_->shape.setSize(toPoint<3>(size)); }
void OrientedBoundingBox::setSize(float size) { impl_->shape.setSize(::Math::Point<float, 3>::filled(size)); }
void OrientedBoundingBox::getSize(Span<float> size) const { write(impl_->shape.size(), size); }

void OrientedBoundingBox::setRotationByMatrix33(Span<const float> rotationMatrix) {
  impl_->shape.rotation = toArray<9>(rotationMatrix);
}
void OrientedBoundingBox::getRotationAsMatrix33(Span<float> rotationMatrix) const {
  write(impl_->shape.rotation, rotationMatrix);
}
Span<const float> OrientedBoundingBox::rotationMatrix33() const { return impl_->shape.rotation; }

void OrientedBoundingBox::setRotationByMatrix44(Span<const float> rotationMatrix) {
  impl_->shape.rotation = ::Math::upperLeftBlock<3, 4>(toArray<16>(rotationMatrix));
}
void OrientedBoundingBox::getRotationAsMatrix44(Span<float> rotationMatrix) const {
  write(::Math::identityWithBlock<4, 3>(impl_->shape.rotation), rotationMatrix);
}

void OrientedBoundingBox::setRotationByQuaternion(Span<const float> quaternion) {
  impl_->shape.rotation = ::Math::rotationFromQuaternion(toArray<4>(quaternion));
}
void OrientedBoundingBox::getRotationAsQuaternion(Span<float> quaternion) const {
  write(::Math::quaternionFromRotation(impl_->shape.rotation), quaternion);
}

void OrientedBoundingBox::setRotationByAxes(Span<const float> xAxis, Span<const float> yAxis,
                                            Span<const float> zAxis) {
  // Read first: the spans may view the very matrix that is about to change.
  const ::Math::Point<float, 3> columns[] = {toPoint<3>(xAxis), toPoint<3>(yAxis), toPoint<3>(zAxis)};
  for (int i = 0; i < 3; ++i) impl_->shape.setAxis(i, columns[i]);
}

bool OrientedBoundingBox::inside(Span<const float> p) const { return impl_->shape.inside(toPoint<3>(p)); }

const ::Math::NOrientedBoundingBox<float, 3>& EngineAccess::engine(const OrientedBoundingBox& box) {
  return box.impl_->shape;
}

}  // namespace Sorvik
