#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "math/BoundingBox.h"
#include "math/Point.h"

namespace Math {

/// A polygon in the plane, inside by the even-odd rule. The ring is stored closed: n vertices make n + 1
/// points, the last a copy of the first. A default-constructed one has no ring.
template <class T>
class Polygon {
 public:
  Polygon() = default;
  /// From interleaved x, y; a list without vertices makes a ring of the one point (0, 0).
  explicit Polygon(std::span<const T> interleaved);

  /// Half-open: of two polygons that share an edge exactly one contains a point on it. The crossing count of
  /// W. R. Franklin (PNPOLY), behind a test of the bounding rectangle.
  [[nodiscard]] bool inside(const Point<T, 2>& p) const {
    if (ring_.size() < 3 || !bounds_.inside(p)) return false;
    bool in = false;
    for (std::size_t i = 0, j = ring_.size() - 1; i < ring_.size(); j = i++) {
      const Point<T, 2>& a = ring_[i];
      const Point<T, 2>& b = ring_[j];
      if ((p[1] < a[1]) != (p[1] < b[1]) && p[0] < (p[1] - a[1]) * (b[0] - a[0]) / (b[1] - a[1]) + a[0]) {
        in = !in;
      }
    }
    return in;
  }

  [[nodiscard]] std::size_t numVertices() const { return ring_.empty() ? 0 : ring_.size() - 1; }
  [[nodiscard]] T perimeter() const;
  /// Never negative, whatever the order of the vertices.
  [[nodiscard]] T area() const;

  [[nodiscard]] std::span<const Point<T, 2>> ring() const { return ring_; }
  /// The vertices' rectangle; empty without vertices.
  [[nodiscard]] const NBoundingBox<T, 2>& bounds() const { return bounds_; }

 private:
  std::vector<Point<T, 2>> ring_;
  NBoundingBox<T, 2> bounds_;
};

extern template class Polygon<float>;

}  // namespace Math
