#pragma once

#include <array>
#include <cstddef>

#include "math/Point.h"

namespace Math {

/// Where one coordinate system stands in another: three rows of a 4x4 matrix, each a row of the rotation and
/// its translation; the fourth is 0 0 0 1. Column vectors: p' = rotation * p + translation. The rotation is
/// taken as it is given, and may be any matrix.
struct Pose {
  std::array<std::array<double, 4>, 3> rows{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}}};

  /// A place in the other system.
  [[nodiscard]] constexpr Point<double, 3> apply(const Point<double, 3>& p) const {
    Point<double, 3> result = rotate(p);
    for (int i = 0; i < 3; ++i) result[i] += rows[static_cast<std::size_t>(i)][3];
    return result;
  }

  /// A direction in the other system.
  [[nodiscard]] constexpr Point<double, 3> rotate(const Point<double, 3>& d) const {
    Point<double, 3> result;
    for (int i = 0; i < 3; ++i) {
      const std::array<double, 4>& row = rows[static_cast<std::size_t>(i)];
      result[i] = row[0] * d[0] + row[1] * d[1] + row[2] * d[2];
    }
    return result;
  }

  /// First @p b, then @p a.
  [[nodiscard]] friend constexpr Pose operator*(const Pose& a, const Pose& b) {
    Pose product;
    for (std::size_t row = 0; row < 3; ++row) {
      for (std::size_t column = 0; column < 4; ++column) {
        double sum = column == 3 ? a.rows[row][3] : 0;
        for (std::size_t i = 0; i < 3; ++i) sum += a.rows[row][i] * b.rows[i][column];
        product.rows[row][column] = sum;
      }
    }
    return product;
  }

  bool operator==(const Pose&) const = default;
};

}  // namespace Math
