#pragma once

#include <array>
#include <cmath>

#include "math/BoundingBox.h"
#include "math/Point.h"

namespace Math {

/// A turned box (N = 3) or rectangle (N = 2), its faces included. The axes are stored as given: they need be
/// neither unit vectors nor perpendicular.
template <class T, int N>
struct NOrientedBoundingBox {
  Point<T, N> center;
  Point<T, N> halfSize = Point<T, N>::filled(T{0.5});
  /// Column-major: axis i is elements N·i to N·i + N - 1.
  std::array<T, (N * N)> rotation = identity();

  [[nodiscard]] static NOrientedBoundingBox fromBox(const NBoundingBox<T, N>& box) {
    NOrientedBoundingBox result;
    result.center = box.center();
    for (int i = 0; i < N; ++i) result.halfSize[i] = (box.maximum[i] - box.minimum[i]) * T{0.5};
    return result;
  }

  [[nodiscard]] constexpr Point<T, N> axis(int i) const {
    Point<T, N> column;
    for (int j = 0; j < N; ++j) column[j] = rotation[static_cast<std::size_t>(N * i + j)];
    return column;
  }
  constexpr void setAxis(int i, const Point<T, N>& column) {
    for (int j = 0; j < N; ++j) rotation[static_cast<std::size_t>(N * i + j)] = column[j];
  }

  /// Twice the half size.
  [[nodiscard]] constexpr Point<T, N> size() const {
    Point<T, N> result;
    for (int i = 0; i < N; ++i) result[i] = T{2} * halfSize[i];
    return result;
  }
  constexpr void setSize(const Point<T, N>& size) {
    for (int i = 0; i < N; ++i) halfSize[i] = size[i] * T{0.5};
  }

  [[nodiscard]] bool inside(const Point<T, N>& p) const {
    const Point<T, N> d = p - center;
    for (int i = 0; i < N; ++i) {
      if (std::abs(dot(d, axis(i))) > halfSize[i]) return false;
    }
    return true;
  }

  bool operator==(const NOrientedBoundingBox&) const = default;

  [[nodiscard]] static constexpr std::array<T, N * N> identity() {
    std::array<T, N * N> columns{};
    for (int i = 0; i < N; ++i) columns[static_cast<std::size_t>((N + 1) * i)] = T{1};
    return columns;
  }
};

/// The rotation matrix (column-major 2×2) of an angle, counter-clockwise.
[[nodiscard]] std::array<float, 4> rotationFromAngle(float angleRadians);

/// The angle in [-π, π] of a rotation matrix's first column (column-major 2×2).
[[nodiscard]] float angleFromRotation(const std::array<float, 4>& rotation);

/// The rotation matrix (column-major 3×3) of the quaternion x, y, z, w, which is taken as a unit quaternion.
[[nodiscard]] std::array<float, 9> rotationFromQuaternion(const std::array<float, 4>& xyzw);

/// The unit quaternion x, y, z, w of a rotation matrix (column-major 3×3), by Shepperd's method.
[[nodiscard]] std::array<float, 4> quaternionFromRotation(const std::array<float, 9>& rotation);

}  // namespace Math
