#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "math/Polygon.h"
#include "regions/PointBatch.h"

namespace Math {

/// The edges of a polygon by rows of equal height, so that a point is tested against few of them.
///
/// A point's row is a function of its y that never falls as y rises, rounding included, and an edge is listed
/// in the rows of its two ends and all between. So the edges that a point's inside test crosses are among its
/// row's, and the same test on those alone gives the same answer. A row's edges that reach furthest to the
/// right come first: those that do not reach a point are not looked at.
class PolygonRows {
 public:
  /// No rows: for polygons of few edges, of edges that nearly all pass through every row, and of coordinates
  /// that are not finite.
  PolygonRows() = default;
  explicit PolygonRows(const Polygon<float>& polygon);

  /// Whether there are no rows; tests are then the polygon's own.
  [[nodiscard]] bool empty() const { return firstEdges_.empty(); }

  /// Polygon::inside(). Not when empty.
  [[nodiscard]] bool inside(const Point<float, 2>& p) const;

 private:
  struct Edge {
    Point<float, 2> from;  // the inside test's a
    Point<float, 2> to;    // and b
    float reach;           // no inside test finds it right of this x
  };

  [[nodiscard]] std::size_t rowOf(float y) const {
    const auto row = static_cast<std::size_t>((y - bounds_.minimum[1]) * rowsPerUnit_);
    return row < numRows_ ? row : numRows_ - 1;
  }
  [[nodiscard]] static float reachOf(const Point<float, 2>& from, const Point<float, 2>& to);
  void chooseNumRows(const std::vector<Edge>& edges);
  void listEdges(const std::vector<Edge>& edges);

  NBoundingBox<float, 2> bounds_;
  float rowsPerUnit_ = 0;
  std::size_t numRows_ = 0;
  std::vector<std::uint32_t> firstEdges_;  // row r's edges are firstEdges_[r] to firstEdges_[r + 1]
  std::vector<Edge> edges_;
};

}  // namespace Math
