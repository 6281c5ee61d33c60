#include "math/Transformation.h"

#include <Eigen/Dense>
#include <cmath>
#include <numbers>

namespace Math {
namespace {

using Vector = Eigen::Vector3d;

Vector wide(const Point<float, 3>& p) { return {p[0], p[1], p[2]}; }

Point<float, 3> rounded(const Vector& v) {
  return {{static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])}};
}

/// @p v divided by its length; as it is when that is 0.
template <class AnyVector>
AnyVector normalisedUnlessZero(const AnyVector& v) {
  const double lengthSquared = v.squaredNorm();
  return lengthSquared > 0 ? AnyVector(v / std::sqrt(lengthSquared)) : v;
}

Eigen::Matrix4d wide(const Matrix4<float>& m) {
  return Eigen::Map<const Eigen::Matrix4f>(m.data()).cast<double>();
}

Point<float, 3> applied(const Matrix4<float>& m, const Point<float, 3>& p) {
  Point<float, 3> result;
  for (std::size_t row = 0; row < 3; ++row) {
    double sum = m[12 + row];
    for (std::size_t column = 0; column < 3; ++column) {
      sum += static_cast<double>(m[4 * column + row]) * p[static_cast<int>(column)];
    }
    result[static_cast<int>(row)] = static_cast<float>(sum);
  }
  return result;
}

/// The angle of a direction in plan from the x axis; 0 of one without length.
float planAngle(const Point<float, 2>& direction) {
  const Eigen::Vector2f unit =
      normalisedUnlessZero(Eigen::Vector2d(direction[0], direction[1])).cast<float>();
  return std::atan2(unit.y(), unit.x());
}

}  // namespace

void Transformation::setRotation(const Quaternion& rotation) {
  rotation_ = rotation;
  dirty_ = true;
}

void Transformation::setScale(const Point<float, 3>& scale) {
  scale_ = scale;
  dirty_ = true;
}

void Transformation::setTranslation(const Point<float, 3>& translation) {
  translation_ = translation;
  dirty_ = true;
}

void Transformation::setIdentity() {
  *this = Transformation();
  matrix_ = kIdentity4;
  inverseMatrix_ = kIdentity4;
  dirty_ = false;
}

void Transformation::setMatrix(const Matrix4<float>& matrix) {
  const Eigen::Matrix4d m = wide(matrix);
  scale_ = rounded(m.topLeftCorner<3, 3>().colwise().norm());
  if (m.determinant() < 0) scale_[0] = -scale_[0];
  translation_ = rounded(m.topRightCorner<3, 1>());
  Matrix3 rotation{};
  for (std::size_t column = 0; column < 3; ++column) {
    const float factor = scale_[static_cast<int>(column)];
    for (std::size_t row = 0; row < 3; ++row) rotation[3 * column + row] = matrix[4 * column + row] / factor;
  }
  rotation_ = quaternionFromMatrix(rotation);
  dirty_ = true;
}

void Transformation::refresh() const {
  if (!dirty_) return;
  const Matrix3 rotation = matrixFromQuaternion<float>(rotation_);
  matrix_ = kIdentity4;
  for (std::size_t column = 0; column < 3; ++column) {
    const float factor = scale_[static_cast<int>(column)];
    for (std::size_t row = 0; row < 3; ++row) {
      matrix_[4 * column + row] = rotation[3 * column + row] * factor;
    }
    matrix_[12 + column] = translation_[static_cast<int>(column)];
  }
  Eigen::Map<Eigen::Matrix4f>(inverseMatrix_.data()) = wide(matrix_).inverse().cast<float>();
  dirty_ = false;
}

const Matrix4<float>& Transformation::matrix() const {
  refresh();
  return matrix_;
}

const Matrix4<float>& Transformation::inverseMatrix() const {
  refresh();
  return inverseMatrix_;
}

Transformation Transformation::inverse() const {
  Transformation result;
  result.setMatrix(inverseMatrix());
  return result;
}

Point<float, 3> Transformation::toGlobal(const Point<float, 3>& p) const { return applied(matrix(), p); }
Point<float, 3> Transformation::toLocal(const Point<float, 3>& p) const {
  return applied(inverseMatrix(), p);
}

void Transformation::translateBy(const Point<float, 3>& d) {
  for (int i = 0; i < 3; ++i) translation_[i] += d[i];
  dirty_ = true;
}

void Transformation::scaleBy(float factor) {
  for (int i = 0; i < 3; ++i) {
    scale_[i] *= factor;
    translation_[i] *= factor;
  }
  dirty_ = true;
}

void Transformation::rotateBy(const Quaternion& r) {
  rotation_ = normalised(product(r, rotation_));
  translation_ = rotated(r, translation_);
  dirty_ = true;
}

void Transformation::setCameraPose(const CameraPose& pose) {
  const Vector eye = wide(pose.eye);
  const Vector forward = normalisedUnlessZero(wide(pose.view));
  // Of the view as it was given: so it is exactly 0 for an up that is exactly parallel.
  const Vector side = normalisedUnlessZero(Vector(wide(pose.view).cross(wide(pose.up))));
  const Vector up = side.cross(forward);

  Eigen::Matrix3d rows;
  rows << side.transpose(), up.transpose(), -forward.transpose();
  Matrix3 rotation{};
  Eigen::Map<Eigen::Matrix3f>(rotation.data()) = rows.cast<float>();
  rotation_ = quaternionFromMatrix(rotation);
  translation_ = rounded(-(rows * eye));
  dirty_ = true;
}

CameraPose Transformation::cameraPose() const {
  const Eigen::Matrix4d m = wide(matrix());
  const Eigen::Matrix3d block = m.topLeftCorner<3, 3>();
  return {.eye = rounded(-(block.transpose() * m.topRightCorner<3, 1>())),
          .view = rounded(-block.row(2)),
          .up = rounded(block.row(1))};
}

void Transformation::fit(const Point<float, 3>& source, const Point<float, 3>& target,
                         const Point<float, 2>& sourceDirection, const Point<float, 2>& targetDirection) {
  constexpr double kPi = std::numbers::pi;
  double angle = static_cast<double>(planAngle(targetDirection)) - planAngle(sourceDirection);
  if (angle > kPi) {
    angle -= 2 * kPi;
  } else if (angle < -kPi) {
    angle += 2 * kPi;
  }
  translation_ = translation_ - source;
  rotateBy(quaternionFromAxisAngle({{0, 0, 1}}, static_cast<float>(angle)));
  translateBy(target);
}

}  // namespace Math
