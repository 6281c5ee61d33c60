#include "regions/PolygonRows.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Math {
namespace {

/// Polygons of fewer edges are faster tested whole, many points at a time.
constexpr std::size_t kFewEdges = 24;
/// As many places for edges as this times their number may all rows have.
constexpr std::size_t kMostPlaces = 16;
/// Rows that hold more than this share of all edges gain nothing over vectors of points.
constexpr std::size_t kLeastGain = 8;
/// Row numbers stay far below where float steps over whole numbers.
constexpr std::size_t kMostRows = 1U << 16U;

bool isFinite(const NBoundingBox<float, 2>& box) {
  for (int i = 0; i < 2; ++i) {
    if (!std::isfinite(box.minimum[i]) || !std::isfinite(box.maximum[i])) return false;
  }
  return true;
}

}  // namespace

PolygonRows::PolygonRows(const Polygon<float>& polygon) : bounds_(polygon.bounds()) {
  const auto ring = polygon.ring();
  if (ring.size() <= kFewEdges || !isFinite(bounds_)) return;
  std::vector<Edge> edges;
  edges.reserve(ring.size());
  for (std::size_t i = 1; i < ring.size(); ++i) {
    const Point<float, 2>& from = ring[i];
    const Point<float, 2>& to = ring[i - 1];
    // Level edges cross nothing; neither do those of which y is NaN.
    if (from[1] < to[1] || from[1] > to[1]) edges.push_back({from, to, reachOf(from, to)});
  }
  chooseNumRows(edges);
  if (numRows_ > 0) listEdges(edges);
}

/// The inside test computes (y - from_y) * width / height + from_x, of which |y - from_y| <= |height|. Each
/// of its five roundings loses 2^-24 of a number that is no larger than twice |from_x| + |to_x|, so 2^-20 of
/// that sum holds them all. A product that overflows, or loses digits below the smallest normal number, can
/// lead anywhere unless the height is large against what is lost.
float PolygonRows::reachOf(const Point<float, 2>& from, const Point<float, 2>& to) {
  constexpr float kLeastHeight = 0x1p-60F;  // what is lost is at most 2^-149, divided by this below 2^-80
  const float height = to[1] - from[1];
  const float largestProduct = height * (to[0] - from[0]);
  if (!std::isfinite(largestProduct) || std::abs(height) < kLeastHeight) {
    return std::numeric_limits<float>::infinity();
  }
  const double slack =
      0x1p-20 * (std::abs(static_cast<double>(from[0])) + std::abs(static_cast<double>(to[0]))) + 0x1p-80;
  const auto reach = static_cast<float>(std::max(from[0], to[0]) + slack);
  return std::nextafter(reach, std::numeric_limits<float>::infinity());
}

/// The most rows whose lists are short in all.
void PolygonRows::chooseNumRows(const std::vector<Edge>& edges) {
  const float height = bounds_.maximum[1] - bounds_.minimum[1];
  for (numRows_ = std::min(kMostRows, edges.size()); numRows_ > 1; numRows_ /= 2) {
    rowsPerUnit_ = static_cast<float>(numRows_) / height;
    if (!std::isfinite(rowsPerUnit_) || !std::isfinite(height)) break;
    std::size_t places = 0;
    for (const Edge& edge : edges) {
      const auto [low, high] = std::minmax(edge.from[1], edge.to[1]);
      places += rowOf(high) - rowOf(low) + 1;
    }
    if (places > kMostPlaces * edges.size()) continue;
    if (places * kLeastGain <= numRows_ * edges.size()) return;
    break;
  }
  numRows_ = 0;
}

void PolygonRows::listEdges(const std::vector<Edge>& edges) {
  const auto eachPlace = [&](const auto& use) {
    for (const Edge& edge : edges) {
      const auto [low, high] = std::minmax(edge.from[1], edge.to[1]);
      for (std::size_t row = rowOf(low); row <= rowOf(high); ++row) use(row, edge);
    }
  };
  firstEdges_.assign(numRows_ + 1, 0);
  eachPlace([&](std::size_t row, const Edge&) { ++firstEdges_[row + 1]; });
  for (std::size_t row = 0; row < numRows_; ++row) firstEdges_[row + 1] += firstEdges_[row];
  edges_.resize(firstEdges_.back());
  std::vector<std::uint32_t> next(firstEdges_.begin(), firstEdges_.end() - 1);
  eachPlace([&](std::size_t row, const Edge& edge) { edges_[next[row]++] = edge; });
  for (std::size_t row = 0; row < numRows_; ++row) {
    std::stable_sort(edges_.begin() + firstEdges_[row], edges_.begin() + firstEdges_[row + 1],
                     [](const Edge& a, const Edge& b) { return a.reach > b.reach; });
  }
}

bool PolygonRows::inside(const Point<float, 2>& p) const {
  // A NaN passes the polygon's rectangle, but crosses no edge.
  if (!bounds_.inside(p) || std::isnan(p[1])) return false;
  const std::size_t row = rowOf(p[1]);
  bool in = false;
  for (std::uint32_t i = firstEdges_[row]; i < firstEdges_[row + 1] && p[0] < edges_[i].reach; ++i) {
    const Point<float, 2>& a = edges_[i].from;
    const Point<float, 2>& b = edges_[i].to;
    if ((p[1] < a[1]) != (p[1] < b[1]) && p[0] < (p[1] - a[1]) * (b[0] - a[0]) / (b[1] - a[1]) + a[0]) {
      in = !in;
    }
  }
  return in;
}

}  // namespace Math
