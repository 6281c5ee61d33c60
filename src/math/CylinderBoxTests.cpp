#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "math/BoxTests.h"

namespace Math {
namespace {

using Vector = std::array<double, 3>;

/// The inside tests cancel, so their rounding is bounded relative to the numbers that go in: 16 half units in
/// the last place, where their steps need fewer.
constexpr double kRelativeError = 0x1p-20;
/// The least size of the coordinates that go in: covers products that underflow in the inside tests.
constexpr double kSmallestScale = 0x1p-40;
/// Numbers up to here cannot overflow in the inside tests.
constexpr double kLargestScale = 0x1p60;

Vector widened(const Point<float, 3>& p) {
  return {static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2])};
}

double dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Vector subtract(const Vector& a, const Vector& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }

/// a + factor * b
Vector addScaled(const Vector& a, double factor, const Vector& b) {
  return {a[0] + factor * b[0], a[1] + factor * b[1], a[2] + factor * b[2]};
}

/// A box in double, relative to a point on the cylinder's axis.
struct RelativeBox {
  Vector minimum, maximum;

  RelativeBox(const NBoundingBox<float, 3>& box, const Point<float, 3>& origin)
      : minimum(subtract(widened(box.minimum), widened(origin))),
        maximum(subtract(widened(box.maximum), widened(origin))) {}

  [[nodiscard]] Vector corner(unsigned index) const {
    Vector result{};
    for (std::size_t i = 0; i < 3; ++i) result[i] = (index >> i & 1U) != 0 ? maximum[i] : minimum[i];
    return result;
  }

  [[nodiscard]] Vector center() const { return addScaled(minimum, 0.5, subtract(maximum, minimum)); }

  /// Half the length of the box's projection on @p axis, times the axis' length.
  [[nodiscard]] double halfExtent(const Vector& axis) const {
    double sum = 0;
    for (std::size_t i = 0; i < 3; ++i) sum += (maximum[i] - minimum[i]) / 2 * std::abs(axis[i]);
    return sum;
  }
};

/// Whether the box is farther than @p reach from the line through 0 along @p unit, seen along the line: the
/// box's outline there and the disc of that radius are separated across one of the outline's edges or in the
/// direction of the box's centre. A box that is farther by a corner alone may be missed.
bool apartFromLine(const RelativeBox& box, const Vector& unit, double reach) {
  const Vector center = box.center();
  const auto apartAlong = [&](const Vector& axis) {
    return std::abs(dot(center, axis)) > box.halfExtent(axis) + reach * std::sqrt(dot(axis, axis));
  };
  return apartAlong(addScaled(center, -dot(center, unit), unit)) || apartAlong({0, -unit[2], unit[1]}) ||
         apartAlong({unit[2], 0, -unit[0]}) || apartAlong({-unit[1], unit[0], 0});
}

/// The infinite cylinder's numbers in double. Its inside test is |v - (v·d) d|² <= r² for v = p - origin.
struct Line {
  Vector direction;
  double lengthSquared, radius, scale, error;
  RelativeBox box;

  Line(const Cylinder<float>& shape, const NBoundingBox<float, 3>& around)
      : direction(widened(shape.direction)),
        lengthSquared(dot(direction, direction)),
        radius(std::abs(static_cast<double>(shape.radius))),
        box(around, shape.origin) {
    Vector farthest{};
    for (std::size_t i = 0; i < 3; ++i) {
      farthest[i] = std::max(std::abs(box.minimum[i]), std::abs(box.maximum[i]));
    }
    const double distance = std::sqrt(std::max(dot(farthest, farthest), kSmallestScale * kSmallestScale));
    scale = distance * (1 + lengthSquared) + radius;
    error = kRelativeError * scale;
  }
};

/// The finite cylinder's numbers in double, its axis rounded as its inside test rounds it.
struct Segment {
  Vector axis;
  double length, radius, scale, error;
  RelativeBox box;

  Segment(const CylinderFinite<float>& shape, const NBoundingBox<float, 3>& around)
      : axis(widened(shape.end - shape.start)),
        length(std::sqrt(dot(axis, axis))),
        radius(std::abs(static_cast<double>(shape.radius))),
        box(around, shape.start) {
    double magnitude = kSmallestScale;
    for (int i = 0; i < 3; ++i) {
      for (const float value : {shape.start[i], shape.end[i], around.minimum[i], around.maximum[i]}) {
        magnitude = std::max(magnitude, std::abs(static_cast<double>(value)));
      }
    }
    scale = magnitude + length + radius;
    error = kRelativeError * scale;
  }
};

template <class Numbers>
bool comparable(const Numbers& numbers) {
  return numbers.scale <= kLargestScale;  // false for NaN too
}

template <class Numbers, class Accepts>
bool acceptsEveryCorner(const Numbers& numbers, const Accepts& accepts) {
  for (unsigned index = 0; index < 8; ++index) {
    if (!accepts(numbers.box.corner(index))) return false;
  }
  return true;
}

/// Whether the inside test finds an axis of no length: rounded to float.
bool hasNoLength(const CylinderFinite<float>& shape) {
  const Point<float, 3> axis = shape.end - shape.start;
  return dot(axis, axis) == 0.0F;
}

}  // namespace

bool overlaps(const Cylinder<float>& shape, const NBoundingBox<float, 3>& box) {
  const Line line(shape, box);
  if (!comparable(line) || line.lengthSquared == 0) return true;
  // A direction that is not a unit vector makes a smaller body around the same line.
  const Vector unit = addScaled({}, 1 / std::sqrt(line.lengthSquared), line.direction);
  return !apartFromLine(line.box, unit, line.radius + line.error);
}

bool contains(const Cylinder<float>& shape, const NBoundingBox<float, 3>& box) {
  const Line line(shape, box);
  if (!comparable(line) || line.radius <= line.error) return false;
  const double reach = line.radius - line.error;
  return acceptsEveryCorner(line, [&](const Vector& v) {
    const Vector w = addScaled(v, -dot(v, line.direction), line.direction);
    return dot(w, w) <= reach * reach;
  });
}

bool overlaps(const CylinderFinite<float>& shape, const NBoundingBox<float, 3>& box) {
  const Segment segment(shape, box);
  if (!comparable(segment)) return true;
  if (hasNoLength(shape)) return false;
  const Vector unit = addScaled({}, 1 / segment.length, segment.axis);
  const double middle = dot(segment.box.center(), unit);
  const double half = segment.box.halfExtent(unit) + segment.error;
  if (middle + half < 0 || middle - half > segment.length) return false;
  return !apartFromLine(segment.box, unit, segment.radius + segment.error);
}

bool contains(const CylinderFinite<float>& shape, const NBoundingBox<float, 3>& box) {
  const Segment segment(shape, box);
  if (!comparable(segment) || segment.radius <= segment.error || hasNoLength(shape)) return false;
  const double reach = segment.radius - segment.error;
  const double margin = segment.error / segment.length;
  return acceptsEveryCorner(segment, [&](const Vector& v) {
    const double t = dot(v, segment.axis) / (segment.length * segment.length);
    const Vector w = addScaled(v, -t, segment.axis);
    return t >= margin && t <= 1 - margin && dot(w, w) <= reach * reach;
  });
}

}  // namespace Math
