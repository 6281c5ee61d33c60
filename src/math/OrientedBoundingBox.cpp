#include "math/OrientedBoundingBox.h"

#include <Eigen/Geometry>

namespace Math {

std::array<float, 4> rotationFromAngle(float angleRadians) {
  const float cosine = std::cos(angleRadians);
  const float sine = std::sin(angleRadians);
  return {cosine, sine, -sine, cosine};
}

float angleFromRotation(const std::array<float, 4>& rotation) { return std::atan2(rotation[1], rotation[0]); }

std::array<float, 9> rotationFromQuaternion(const std::array<float, 4>& xyzw) {
  std::array<float, 9> rotation{};
  Eigen::Map<Eigen::Matrix3f>(rotation.data()) =
      Eigen::Quaternionf(xyzw[3], xyzw[0], xyzw[1], xyzw[2]).toRotationMatrix();
  return rotation;
}

std::array<float, 4> quaternionFromRotation(const std::array<float, 9>& rotation) {
  const Eigen::Quaternionf q(Eigen::Matrix3f(Eigen::Map<const Eigen::Matrix3f>(rotation.data())));
  return {q.x(), q.y(), q.z(), q.w()};
}

}  // namespace Math
