#pragma once

#include <Eigen/Geometry>
#include <cmath>
#include <numbers>
#include <random>

#include "math/Transformation.h"

namespace Testing {

/// Random values of transformations, and the same in Eigen's types in double precision; the same for the same
/// seed.
class RandomTransformations {
 public:
  explicit RandomTransformations(unsigned seed) : random_(seed) {}

  [[nodiscard]] float uniform(float low, float high) {
    return std::uniform_real_distribution<float>(low, high)(random_);
  }
  [[nodiscard]] float angle() { return uniform(-std::numbers::pi_v<float>, std::numbers::pi_v<float>); }
  [[nodiscard]] Math::Point<float, 3> point(float extent = 100) {
    return {{uniform(-extent, extent), uniform(-extent, extent), uniform(-extent, extent)}};
  }
  /// Of any direction, with a length from 0.1 to 10.
  [[nodiscard]] Math::Point<float, 3> direction() {
    for (;;) {
      const Math::Point<float, 3> p = point(10);
      if (Math::dot(p, p) > 0.01F) return p;
    }
  }
  /// Of norm 1, evenly over all rotations.
  [[nodiscard]] Math::Quaternion rotation() {
    std::normal_distribution<float> normal;
    return Math::normalised({normal(random_), normal(random_), normal(random_), normal(random_)});
  }
  /// Scale factors from 0.1 to 10: one for all axes, or one each.
  [[nodiscard]] Math::Transformation transformation(bool uniformScale) {
    Math::Transformation result;
    const float factor = uniform(0.1F, 10);
    result.setScale(uniformScale ? Math::Point<float, 3>::filled(factor)
                                 : Math::Point<float, 3>{{factor, uniform(0.1F, 10), uniform(0.1F, 10)}});
    result.setRotation(rotation());
    result.setTranslation(point());
    return result;
  }

 private:
  std::mt19937 random_;
};

[[nodiscard]] inline Eigen::Vector3d wide(const Math::Point<float, 3>& p) { return {p[0], p[1], p[2]}; }
[[nodiscard]] inline Eigen::Quaterniond wide(const Math::Quaternion& q) { return {q.w, q.x, q.y, q.z}; }
[[nodiscard]] inline Eigen::Matrix3d wide(const Math::Matrix3& m) {
  return Eigen::Map<const Eigen::Matrix3f>(m.data()).cast<double>();
}
[[nodiscard]] inline Eigen::Matrix4d wide(const Math::Matrix4<float>& m) {
  return Eigen::Map<const Eigen::Matrix4f>(m.data()).cast<double>();
}

/// T·R·S by Eigen.
[[nodiscard]] inline Eigen::Affine3d affine(const Math::Transformation& t) {
  Eigen::Affine3d result = Eigen::Affine3d::Identity();
  result.translate(wide(t.translation())).rotate(wide(t.rotation())).scale(wide(t.scale()));
  return result;
}

/// The largest difference of two elements, in parts of the largest element or of 1.
template <class A, class B>
[[nodiscard]] double relativeDifference(const A& a, const B& b) {
  return (a - b).cwiseAbs().maxCoeff() / std::max(1.0, b.cwiseAbs().maxCoeff());
}

}  // namespace Testing
