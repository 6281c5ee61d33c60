#include <algorithm>
#include <cmath>
#include <optional>

#include "math/BoxTests.h"

namespace Math {
namespace {

/// The inside test's crossing of an edge with a horizontal line is wrong by less than 2^-20 of the largest
/// coordinate magnitude, as long as nothing overflows or underflows on the way: that is, for magnitudes
/// between the next two constants and edges that are not flatter than the third.
constexpr double kRelativeMargin = 0x1p-20;
constexpr double kSmallestMagnitude = 0x1p-30;
constexpr double kLargestMagnitude = 0x1p60;
constexpr double kFlattestEdge = 0x1p-100;

struct Rectangle {
  double minX, minY, maxX, maxY;
};

bool hasNaN(const Polygon<float>& polygon) {
  for (const Point<float, 2>& vertex : polygon.ring()) {
    if (std::isnan(vertex[0]) || std::isnan(vertex[1])) return true;
  }
  return false;
}

/// The box's rectangle, so much wider that edges that miss it are on the same side of all its points for the
/// inside test too. None when that cannot be said.
std::optional<Rectangle> widened(const Polygon<float>& polygon, const NBoundingBox<float, 3>& box) {
  double magnitude = 0;
  for (int i = 0; i < 2; ++i) {
    for (const float value :
         {polygon.bounds().minimum[i], polygon.bounds().maximum[i], box.minimum[i], box.maximum[i]}) {
      if (std::isnan(value)) return std::nullopt;
      magnitude = std::max(magnitude, std::abs(static_cast<double>(value)));
    }
  }
  if (magnitude < kSmallestMagnitude || magnitude > kLargestMagnitude) return std::nullopt;
  const double margin = kRelativeMargin * magnitude;
  return Rectangle{static_cast<double>(box.minimum[0]) - margin, static_cast<double>(box.minimum[1]) - margin,
                   static_cast<double>(box.maximum[0]) + margin,
                   static_cast<double>(box.maximum[1]) + margin};
}

/// Whether the edge meets the rectangle: their ranges on x, on y and across the edge do.
bool touches(const Point<float, 2>& from, const Point<float, 2>& to, const Rectangle& r) {
  const auto ax = static_cast<double>(from[0]);
  const auto ay = static_cast<double>(from[1]);
  const double dx = static_cast<double>(to[0]) - ax;
  const double dy = static_cast<double>(to[1]) - ay;
  if (std::max(ay, ay + dy) < r.minY || std::min(ay, ay + dy) > r.maxY) return false;
  if (dy != 0 && std::abs(dy) < kFlattestEdge) return true;
  if (std::max(ax, ax + dx) < r.minX || std::min(ax, ax + dx) > r.maxX) return false;
  const double left = dy * (r.minX - ax);
  const double right = dy * (r.maxX - ax);
  const double bottom = dx * (r.minY - ay);
  const double top = dx * (r.maxY - ay);
  return std::min(left, right) <= std::max(bottom, top) && std::max(left, right) >= std::min(bottom, top);
}

bool anyEdgeTouches(const Polygon<float>& polygon, const Rectangle& r) {
  const auto ring = polygon.ring();
  for (std::size_t i = 1; i < ring.size(); ++i) {
    if (touches(ring[i - 1], ring[i], r)) return true;
  }
  return false;
}

}  // namespace

bool overlaps(const Polygon<float>& shape, const NBoundingBox<float, 3>& box) {
  if (hasNaN(shape)) return true;
  if (shape.ring().size() < 3 || !overlaps(shape.bounds(), box)) return false;
  const std::optional<Rectangle> rectangle = widened(shape, box);
  // Where no edge passes, all points of the box answer as any of them does.
  return !rectangle || anyEdgeTouches(shape, *rectangle) || shape.inside(inPlan(box.minimum));
}

bool contains(const Polygon<float>& shape, const NBoundingBox<float, 3>& box) {
  if (hasNaN(shape) || !contains(shape.bounds(), box)) return false;
  const std::optional<Rectangle> rectangle = widened(shape, box);
  return rectangle && !anyEdgeTouches(shape, *rectangle) && shape.inside(inPlan(box.minimum));
}

}  // namespace Math
