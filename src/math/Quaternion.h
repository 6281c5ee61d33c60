#pragma once

#include <array>
#include <cstddef>

#include "math/Point.h"

namespace Math {

/// Column-major: the element of row r and column c at 3 c + r.
using Matrix3 = std::array<float, 9>;

/// A rotation as x, y, z, w; a unit quaternion unless a function says otherwise. It is stored in single
/// precision; what is computed from it is computed in double precision and rounded once.
struct Quaternion {
  float x = 0;
  float y = 0;
  float z = 0;
  float w = 1;

  bool operator==(const Quaternion&) const = default;
};

/// Angles in radians about x, y and z of the rotation Rx(x) * Ry(y) * Rz(z): the turn about z comes first.
struct EulerAngles {
  float x = 0;
  float y = 0;
  float z = 0;

  bool operator==(const EulerAngles&) const = default;
};

[[nodiscard]] Quaternion quaternionFromEuler(const EulerAngles& angles);

/// y lies in [-π/2, π/2]. At gimbal lock (|sin y| of at least 0.9999999) z is 0 and x takes the whole turn.
/// Where y is closer to ±π/2 than 0.001 and not locked, x and z come from little more than rounding errors.
[[nodiscard]] EulerAngles eulerFromQuaternion(const Quaternion& q);

/// The turn by @p angleRadians about @p axis, which may have any length. An axis of length 0 is used as it
/// is, so that the quaternion has no vector part and is no unit one.
[[nodiscard]] Quaternion quaternionFromAxisAngle(const Point<float, 3>& axis, float angleRadians);

/// The matrix by the formula for unit quaternions, whatever the length of @p q, evaluated in T.
template <class T>
[[nodiscard]] Matrix3 matrixFromQuaternion(const Quaternion& q) {
  const T x = q.x;
  const T y = q.y;
  const T z = q.z;
  const T w = q.w;
  const auto element = [](T value) { return static_cast<float>(value); };
  return {element(1 - 2 * y * y - 2 * z * z), element(2 * x * y + 2 * z * w),
          element(2 * x * z - 2 * y * w),     element(2 * x * y - 2 * z * w),
          element(1 - 2 * x * x - 2 * z * z), element(2 * y * z + 2 * x * w),
          element(2 * x * z + 2 * y * w),     element(2 * y * z - 2 * x * w),
          element(1 - 2 * x * x - 2 * y * y)};
}

/// The quaternion of a rotation matrix, not normalised: of another matrix it is whatever the formula gives.
/// One of four branches is chosen by signs of the diagonal, so that the root is never taken of less than 1.
[[nodiscard]] Quaternion quaternionFromMatrix(const Matrix3& rotation);

/// The Hamilton product a ⊗ b: first the turn b, then a.
[[nodiscard]] Quaternion product(const Quaternion& a, const Quaternion& b);

/// @p q divided by its norm; as it is when that is 0.
[[nodiscard]] Quaternion normalised(const Quaternion& q);

/// The vector part of q ⊗ (v, 0) ⊗ conj(q): the turned vector, times the squared norm of @p q.
[[nodiscard]] Point<float, 3> rotated(const Quaternion& q, const Point<float, 3>& v);

}  // namespace Math
