#pragma once

#include <optional>

#include "math/BoundingBox.h"
#include "math/Matrix4.h"
#include "math/Point.h"

namespace Math {

/// Points through a 4×4 matrix: (x, y, z, 1) times the matrix, divided by w.
///
/// Rows are summed in single precision from the first column to the last, and the same bits come from
/// mapping a batch. The identity leaves points as they are, and nothing is divided when the last row is
/// 0 0 0 1.
class HomogeneousMap {
 public:
  enum class Kind { Identity, Affine, Projective };

  HomogeneousMap() = default;
  explicit HomogeneousMap(const Matrix4<float>& matrix);

  [[nodiscard]] Kind kind() const { return kind_; }
  [[nodiscard]] const Matrix4<float>& matrix() const { return matrix_; }

  [[nodiscard]] Point<float, 3> apply(const Point<float, 3>& p) const {
    if (kind_ == Kind::Identity) return p;
    Point<float, 3> q{{row(0, p), row(1, p), row(2, p)}};
    if (kind_ == Kind::Affine) return q;
    const float w = row(3, p);
    for (int i = 0; i < 3; ++i) q[i] /= w;
    return q;
  }

  /// A box that holds apply(p) of every point p of @p box, rounding included. None when that cannot be said:
  /// points of the box may have w = 0, or numbers leave the range of floats.
  [[nodiscard]] std::optional<NBoundingBox<float, 3>> bounds(const NBoundingBox<float, 3>& box) const;

 private:
  [[nodiscard]] float row(std::size_t r, const Point<float, 3>& p) const {
    return matrix_[r] * p[0] + matrix_[r + 4] * p[1] + matrix_[r + 8] * p[2] + matrix_[r + 12];
  }
  [[nodiscard]] std::optional<NBoundingBox<float, 3>> affineBounds(const NBoundingBox<float, 3>& box) const;
  [[nodiscard]] std::optional<NBoundingBox<float, 3>> projectiveBounds(
      const NBoundingBox<float, 3>& box) const;

  Matrix4<float> matrix_ = kIdentity4;
  Kind kind_ = Kind::Identity;
};

/// The inverse, computed in double precision. None when the matrix has none in finite floats. That of an
/// affine matrix is affine, that of the identity the identity.
[[nodiscard]] std::optional<Matrix4<float>> inverse(const Matrix4<float>& matrix);

/// a times b, summed in double precision and narrowed.
[[nodiscard]] Matrix4<float> product(const Matrix4<float>& a, const Matrix4<float>& b);

}  // namespace Math
