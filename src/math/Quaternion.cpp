#include "math/Quaternion.h"

#include <algorithm>
#include <cmath>

namespace Math {
namespace {

/// x, y, z, w while computing.
using WideQuaternion = std::array<double, 4>;

WideQuaternion widened(const Quaternion& q) { return {q.x, q.y, q.z, q.w}; }

Quaternion rounded(const WideQuaternion& q) {
  return {static_cast<float>(q[0]), static_cast<float>(q[1]), static_cast<float>(q[2]),
          static_cast<float>(q[3])};
}

WideQuaternion hamilton(const WideQuaternion& a, const WideQuaternion& b) {
  return {a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1],
          a[3] * b[1] - a[0] * b[2] + a[1] * b[3] + a[2] * b[0],
          a[3] * b[2] + a[0] * b[1] - a[1] * b[0] + a[2] * b[3],
          a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2]};
}

}  // namespace

Quaternion quaternionFromEuler(const EulerAngles& angles) {
  const auto cosine = [](float angle) { return static_cast<float>(std::cos(angle * 0.5)); };
  const auto sine = [](float angle) { return static_cast<float>(std::sin(angle * 0.5)); };
  const float c1 = cosine(angles.x);
  const float s1 = sine(angles.x);
  const float c2 = cosine(angles.y);
  const float s2 = sine(angles.y);
  const float c3 = cosine(angles.z);
  const float s3 = sine(angles.z);
  return {s1 * c2 * c3 + c1 * s2 * s3, c1 * s2 * c3 - s1 * c2 * s3, c1 * c2 * s3 + s1 * s2 * c3,
          c1 * c2 * c3 - s1 * s2 * s3};
}

EulerAngles eulerFromQuaternion(const Quaternion& q) {
  constexpr double kGimbalLock = 0.9999999;
  const Matrix3 matrix = matrixFromQuaternion<double>(q);
  const auto m = [&](std::size_t row, std::size_t column) -> double { return matrix[3 * column + row]; };
  const auto angle = [](double sine, double cosine) { return static_cast<float>(std::atan2(sine, cosine)); };

  const auto b = static_cast<float>(std::asin(std::clamp(m(0, 2), -1.0, 1.0)));
  if (std::abs(m(0, 2)) < kGimbalLock) return {angle(-m(1, 2), m(2, 2)), b, angle(-m(0, 1), m(0, 0))};
  return {angle(m(2, 1), m(1, 1)), b, 0.0F};
}

Quaternion quaternionFromAxisAngle(const Point<float, 3>& axis, float angleRadians) {
  const double x = axis[0];
  const double y = axis[1];
  const double z = axis[2];
  const double lengthSquared = x * x + y * y + z * z;
  const double half = 0.5 * angleRadians;
  const double factor = std::sin(half) / (lengthSquared > 0 ? std::sqrt(lengthSquared) : 1.0);
  return rounded({x * factor, y * factor, z * factor, std::cos(half)});
}

Quaternion quaternionFromMatrix(const Matrix3& rotation) {
  const auto m = [&](std::size_t row, std::size_t column) -> double { return rotation[3 * column + row]; };
  const auto scaled = [](const WideQuaternion& q, double t) {
    const double k = 0.5 / std::sqrt(t);
    return rounded({q[0] * k, q[1] * k, q[2] * k, q[3] * k});
  };
  const double x = m(0, 0);
  const double y = m(1, 1);
  const double z = m(2, 2);
  if (z > 0) {
    if (x + y > 0) {
      const double t = 1 + x + y + z;
      return scaled({m(2, 1) - m(1, 2), m(0, 2) - m(2, 0), m(1, 0) - m(0, 1), t}, t);
    }
    const double t = 1 - x - y + z;
    return scaled({m(0, 2) + m(2, 0), m(2, 1) + m(1, 2), t, m(1, 0) - m(0, 1)}, t);
  }
  if (y - x <= 0) {
    const double t = 1 + x - y - z;
    return scaled({t, m(0, 1) + m(1, 0), m(0, 2) + m(2, 0), m(2, 1) - m(1, 2)}, t);
  }
  const double t = 1 - x + y - z;
  return scaled({m(0, 1) + m(1, 0), t, m(1, 2) + m(2, 1), m(0, 2) - m(2, 0)}, t);
}

Quaternion product(const Quaternion& a, const Quaternion& b) {
  return rounded(hamilton(widened(a), widened(b)));
}

Quaternion normalised(const Quaternion& q) {
  const WideQuaternion wide = widened(q);
  double normSquared = 0;
  for (const double element : wide) normSquared += element * element;
  if (!(normSquared > 0)) return q;
  const double norm = std::sqrt(normSquared);
  return rounded({wide[0] / norm, wide[1] / norm, wide[2] / norm, wide[3] / norm});
}

Point<float, 3> rotated(const Quaternion& q, const Point<float, 3>& v) {
  const WideQuaternion vector{v[0], v[1], v[2], 0};
  const WideQuaternion conjugate{-q.x, -q.y, -q.z, q.w};
  const WideQuaternion turned = hamilton(hamilton(widened(q), vector), conjugate);
  return {{static_cast<float>(turned[0]), static_cast<float>(turned[1]), static_cast<float>(turned[2])}};
}

}  // namespace Math
