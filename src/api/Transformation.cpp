#include "Sorvik/Transformation.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "api/Arguments.h"
#include "api/EngineAccess.h"
#include "math/MatrixBlock.h"
#include "math/Transformation.h"

namespace Sorvik {

namespace {

::Math::Quaternion toQuaternion(Span<const float> values) {
  return {values.data()[0], values.data()[1], values.data()[2], values.data()[3]};
}

::Math::EulerAngles toEulerAngles(Span<const float> values) {
  return {values.data()[0], values.data()[1], values.data()[2]};
}

::Math::Quaternion fromMatrix33(Span<const float> matrix) {
  return ::Math::quaternionFromMatrix(toArray<9>(matrix));
}

::Math::Quaternion fromMatrix44(Span<const float> matrix) {
  return ::Math::quaternionFromMatrix(::Math::upperLeftBlock<3, 4>(toArray<16>(matrix)));
}

template <class Vector>
void checkPose(Span<Vector> eye, Span<Vector> view, Span<Vector> up) {
  checkArgument(eye.size() == 3, "Error: eye.size() != 3");
  checkArgument(view.size() == 3, "Error: view.size() != 3");
  checkArgument(up.size() == 3, "Error: up.size() != 3");
}

}  // namespace

struct Transformation::Impl {
  ::Math::Transformation engine;
};

Transformation::Transformation() : impl_(std::make_unique<Impl>()) {}
Transformation::Transformation(Span<const float> matrix44) : impl_(nullptr) {
  setTransformationMatrix44(matrix44);
}
Transformation::Transformation(const Transformation& other) : impl_(std::make_unique<Impl>(*other.impl_)) {}
Transformation::Transformation(Transformation&& other) noexcept = default;
Transformation& Transformation::operator=(const Transformation& other) {
  if (this != &other) impl_ = std::make_unique<Impl>(*other.impl_);
  return *this;
}
Transformation& Transformation::operator=(Transformation&& other) noexcept = default;
Transformation::~Transformation() = default;

void Transformation::setIdentity() { impl_->engine.setIdentity(); }

void Transformation::setTranslation(float x, float y, float z) { impl_->engine.setTranslation({{x, y, z}}); }
void Transformation::setTranslation(Span<const float> translation) {
  impl_->engine.setTranslation(toPoint<3>(translation));
}
void Transformation::getTranslation(float& x, float& y, float& z) const {
  const ::Math::Point<float, 3>& translation = impl_->engine.translation();
  x = translation[0];
  y = translation[1];
  z = translation[2];
}
void Transformation::getTranslation(Span<float> translation) const {
  write(impl_->engine.translation(), translation);
}

void Transformation::setUniformScale(float scale) {
  impl_->engine.setScale(::Math::Point<float, 3>::filled(scale));
}
void Transformation::getUniformScale(float& scale) const {
  const ::Math::Point<float, 3>& factors = impl_->engine.scale();
  scale = std::max({factors[0], factors[1], factors[2]});
}

void Transformation::setRotationQuaternion(float x, float y, float z, float w) {
  impl_->engine.setRotation({x, y, z, w});
}
void Transformation::setRotationQuaternion(Span<const float> quaternion) {
  impl_->engine.setRotation(toQuaternion(quaternion));
}
void Transformation::getRotationQuaternion(float& x, float& y, float& z, float& w) const {
  const ::Math::Quaternion& q = impl_->engine.rotation();
  x = q.x;
  y = q.y;
  z = q.z;
  w = q.w;
}
void Transformation::getRotationQuaternion(Span<float> quaternion) const {
  const ::Math::Quaternion& q = impl_->engine.rotation();
  write(std::array{q.x, q.y, q.z, q.w}, quaternion);
}

void Transformation::setRotationEuler(float a, float b, float c) {
  impl_->engine.setRotation(::Math::quaternionFromEuler({a, b, c}));
}
void Transformation::setRotationEuler(Span<const float> angles) {
  impl_->engine.setRotation(::Math::quaternionFromEuler(toEulerAngles(angles)));
}
void Transformation::getRotationEuler(float& a, float& b, float& c) const {
  const ::Math::EulerAngles angles = ::Math::eulerFromQuaternion(impl_->engine.rotation());
  a = angles.x;
  b = angles.y;
  c = angles.z;
}
void Transformation::getRotationEuler(Span<float> angles) const {
  const ::Math::EulerAngles euler = ::Math::eulerFromQuaternion(impl_->engine.rotation());
  write(std::array{euler.x, euler.y, euler.z}, angles);
}

void Transformation::setRotationMatrix33(Span<const float> matrix) {
  impl_->engine.setRotation(fromMatrix33(matrix));
}
void Transformation::getRotationMatrix33(Span<float> matrix) const {
  write(::Math::matrixFromQuaternion<double>(impl_->engine.rotation()), matrix);
}
void Transformation::setRotationMatrix44(Span<const float> matrix) {
  impl_->engine.setRotation(fromMatrix44(matrix));
}
void Transformation::getRotationMatrix44(Span<float> matrix) const {
  const auto rotation = ::Math::matrixFromQuaternion<double>(impl_->engine.rotation());
  write(::Math::identityWithBlock<4, 3>(rotation), matrix);
}

// Not inlined into the constructor without state, where a compiler may take the certain fault for a call that
// is never made.
[[gnu::noinline]] void Transformation::setTransformationMatrix44(Span<const float> matrix) {
  impl_->engine.setMatrix(toArray<16>(matrix));
}
void Transformation::getTransformationMatrix44(Span<float> matrix) const {
  write(impl_->engine.matrix(), matrix);
}
void Transformation::getInverseTransformationMatrix44(Span<float> matrix) const {
  write(impl_->engine.inverseMatrix(), matrix);
}

void Transformation::setCameraPose(Span<const float> eye, Span<const float> view, Span<const float> up) {
  checkPose(eye, view, up);
  impl_->engine.setCameraPose({toPoint<3>(eye), toPoint<3>(view), toPoint<3>(up)});
}
void Transformation::getCameraPose(Span<float> eye, Span<float> view, Span<float> up) const {
  checkPose(eye, view, up);
  const ::Math::CameraPose pose = impl_->engine.cameraPose();
  write(pose.eye, eye);
  write(pose.view, view);
  write(pose.up, up);
}

Transformation& Transformation::translateBy(float x, float y, float z) {
  impl_->engine.translateBy({{x, y, z}});
  return *this;
}
Transformation& Transformation::translateBy(Span<const float> translation) {
  impl_->engine.translateBy(toPoint<3>(translation));
  return *this;
}
Transformation& Transformation::scaleBy(float scale) {
  impl_->engine.scaleBy(scale);
  return *this;
}
Transformation& Transformation::rotateByQuaternion(float x, float y, float z, float w) {
  impl_->engine.rotateBy({x, y, z, w});
  return *this;
}
Transformation& Transformation::rotateByQuaternion(Span<const float> quaternion) {
  impl_->engine.rotateBy(toQuaternion(quaternion));
  return *this;
}
Transformation& Transformation::rotateByEuler(float a, float b, float c) {
  impl_->engine.rotateBy(::Math::quaternionFromEuler({a, b, c}));
  return *this;
}
Transformation& Transformation::rotateByEuler(Span<const float> angles) {
  impl_->engine.rotateBy(::Math::quaternionFromEuler(toEulerAngles(angles)));
  return *this;
}
Transformation& Transformation::rotateByMatrix33(Span<const float> matrix) {
  impl_->engine.rotateBy(fromMatrix33(matrix));
  return *this;
}
Transformation& Transformation::rotateByMatrix44(Span<const float> matrix) {
  impl_->engine.rotateBy(fromMatrix44(matrix));
  return *this;
}
Transformation& Transformation::rotateByAxisAngle(Span<const float> axis, float angle) {
  impl_->engine.rotateBy(::Math::quaternionFromAxisAngle(toPoint<3>(axis), angle));
  return *this;
}
Transformation& Transformation::rotateByX(float angle) {
  impl_->engine.rotateBy(::Math::quaternionFromAxisAngle({{1, 0, 0}}, angle));
  return *this;
}
Transformation& Transformation::rotateByY(float angle) {
  impl_->engine.rotateBy(::Math::quaternionFromAxisAngle({{0, 1, 0}}, angle));
  return *this;
}
Transformation& Transformation::rotateByZ(float angle) {
  impl_->engine.rotateBy(::Math::quaternionFromAxisAngle({{0, 0, 1}}, angle));
  return *this;
}

Transformation Transformation::inverse() const {
  Transformation result;
  result.impl_->engine = impl_->engine.inverse();
  return result;
}

void Transformation::localToGlobalPoint(Span<float> point) const {
  write(impl_->engine.toGlobal(toPoint<3>(point)), point);
}
void Transformation::globalToLocalPoint(Span<float> point) const {
  write(impl_->engine.toLocal(toPoint<3>(point)), point);
}

void Transformation::setTranslationAndZRotationByCorrespondences(Span<const float> sourcePoint,
                                                                 Span<const float> targetPoint,
                                                                 Span<const float> sourceDirection,
                                                                 Span<const float> targetDirection) {
  // Only x and y of the directions count, so only they are read.
  const ::Math::Point<float, 2> source = toPoint<2>(sourceDirection);
  const ::Math::Point<float, 2> target = toPoint<2>(targetDirection);
  impl_->engine.fit(toPoint<3>(sourcePoint), toPoint<3>(targetPoint), source, target);
}
void Transformation::setTranslationByCorrespondences(Span<const float> sourcePoint,
                                                     Span<const float> targetPoint) {
  impl_->engine.fit(toPoint<3>(sourcePoint), toPoint<3>(targetPoint), {{1, 0}}, {{1, 0}});
}
void Transformation::setZRotationByCorrespondences(Span<const float> pivot, Span<const float> sourcePoint,
                                                   Span<const float> targetPoint) {
  const ::Math::Point<float, 2> center = toPoint<2>(pivot);
  impl_->engine.fit(toPoint<3>(pivot), toPoint<3>(pivot), toPoint<2>(sourcePoint) - center,
                    toPoint<2>(targetPoint) - center);
}

std::string Transformation::toJsonString() const {
  nlohmann::json value;
  to_json(value, impl_->engine);
  return value.dump();
}

bool Transformation::fromJsonString(const std::string& text) {
  try {
    from_json(::Core::parseBoundedJson(text, ::Math::kTransformationText, "transformation"), impl_->engine);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

const ::Math::Transformation& EngineAccess::engine(const Transformation& transformation) {
  return transformation.impl_->engine;
}

}  // namespace Sorvik
