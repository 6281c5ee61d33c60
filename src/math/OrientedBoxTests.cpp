#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

#include "math/BoxTests.h"

namespace Math {
namespace {

/// The single-precision machine epsilon, by which containment is always stricter than the inside test.
constexpr float kTolerance = 1.1920929e-7F;
/// Far above the inside test's rounding for columns of unit length, relative to the largest coordinate.
constexpr float kRelativeMargin = 0x1p-20F;
/// Coordinates up to here have finite differences.
constexpr float kLargestMagnitude = 0x1p126F;
/// How far the columns' products may be from those of an orthonormal frame for the tests that need one.
constexpr double kOrthonormalTolerance = 1e-4;

template <int N>
using Vector = std::array<double, static_cast<std::size_t>(N)>;

template <int N>
double dot(const Vector<N>& a, const Vector<N>& b) {
  double sum = 0;
  for (std::size_t i = 0; i < a.size(); ++i) sum += a[i] * b[i];
  return sum;
}

template <int N>
struct Range {
  float low, high;
};

/// The largest coordinate magnitude of box and centre; infinity when there is a NaN among them.
template <int N>
float largestMagnitude(const NOrientedBoundingBox<float, N>& shape, const NBoundingBox<float, 3>& box) {
  float largest = 0;
  for (int i = 0; i < N; ++i) {
    for (const float value : {shape.center[i], box.minimum[i], box.maximum[i]}) {
      if (std::isnan(value)) return std::numeric_limits<float>::infinity();
      largest = std::max(largest, std::abs(value));
    }
  }
  return largest;
}

/// Whether the bounds below hold. A difference of coordinates must be finite: times an element of 0 it would
/// be NaN, which the inside test accepts.
template <int N>
bool comparable(const NOrientedBoundingBox<float, N>& shape, float magnitude) {
  bool result = magnitude <= kLargestMagnitude;
  for (const float element : shape.rotation) result = result && std::isfinite(element);
  for (int i = 0; i < N; ++i) result = result && !std::isnan(shape.halfSize[i]);
  return result;
}

/// The range of the inside test's (p - centre) · column over the points of the box. Each step of that test is
/// monotone in each coordinate, so the ends are taken at corners and are exact under rounding.
template <int N>
Range<N> projection(const NOrientedBoundingBox<float, N>& shape, const Point<float, N>& column,
                    const NBoundingBox<float, 3>& box) {
  Point<float, N> toLow;
  Point<float, N> toHigh;
  for (int i = 0; i < N; ++i) {
    const bool rising = column[i] >= 0.0F;
    toLow[i] = (rising ? box.minimum[i] : box.maximum[i]) - shape.center[i];
    toHigh[i] = (rising ? box.maximum[i] : box.minimum[i]) - shape.center[i];
  }
  return {Math::dot(toLow, column), Math::dot(toHigh, column)};
}

template <int N>
bool shapeContains(const NOrientedBoundingBox<float, N>& shape, const NBoundingBox<float, 3>& box) {
  const float magnitude = largestMagnitude(shape, box);
  if (!comparable(shape, magnitude)) return false;
  const float margin = kTolerance + kRelativeMargin * magnitude;
  for (int i = 0; i < N; ++i) {
    const float limit = shape.halfSize[i] - margin;
    const Range<N> range = projection(shape, shape.axis(i), box);
    if (!(range.low >= -limit && range.high <= limit)) return false;
  }
  return true;
}

template <int N>
std::array<Vector<N>, static_cast<std::size_t>(N)> columnsOf(const NOrientedBoundingBox<float, N>& shape) {
  std::array<Vector<N>, static_cast<std::size_t>(N)> columns{};
  for (std::size_t k = 0; k < shape.rotation.size(); ++k) {
    columns[k / columns.size()][k % columns.size()] = static_cast<double>(shape.rotation[k]);
  }
  return columns;
}

/// Box and turned box in double, for the axes of separation (Gottschalk, Lin, Manocha 1996) that are right
/// only for an orthonormal frame.
template <int N>
struct Pair {
  std::array<Vector<N>, static_cast<std::size_t>(N)> columns;
  Vector<N> halfSize{};
  Vector<N> boxHalfSize{};
  Vector<N> between{};
  double slack;

  Pair(const NOrientedBoundingBox<float, N>& shape, const NBoundingBox<float, 3>& box, float magnitude)
      : columns(columnsOf(shape)) {
    // The frame's tolerance moves a point by less than 4e-4 of the half sizes, rounding by less than 2^-19.
    slack = static_cast<double>(kTolerance) + 0x1p-18 * static_cast<double>(magnitude);
    for (int i = 0; i < N; ++i) {
      const auto k = static_cast<std::size_t>(i);
      const auto low = static_cast<double>(box.minimum[i]);
      const auto high = static_cast<double>(box.maximum[i]);
      halfSize[k] = static_cast<double>(shape.halfSize[i]);
      boxHalfSize[k] = (high - low) / 2;
      between[k] = (low + high) / 2 - static_cast<double>(shape.center[i]);
      slack += 1e-3 * halfSize[k];
    }
  }

  [[nodiscard]] bool orthonormal() const {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      for (std::size_t j = i; j < columns.size(); ++j) {
        const double expected = i == j ? 1 : 0;
        if (!(std::abs(dot<N>(columns[i], columns[j]) - expected) <= kOrthonormalTolerance)) return false;
      }
    }
    return true;
  }

  /// Whether the two are apart along @p axis, which is at most 1 long (to the frame's tolerance).
  [[nodiscard]] bool apartAlong(const Vector<N>& axis) const {
    double reach = slack;
    for (std::size_t i = 0; i < axis.size(); ++i) {
      reach += boxHalfSize[i] * std::abs(axis[i]) + halfSize[i] * std::abs(dot<N>(columns[i], axis));
    }
    return std::abs(dot<N>(between, axis)) > reach;
  }

  [[nodiscard]] bool apart() const {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      Vector<N> unit{};
      unit[i] = 1;
      if (apartAlong(unit)) return true;
    }
    if constexpr (N == 3) {
      for (const Vector<3>& u : columns) {
        if (apartAlong({0, -u[2], u[1]}) || apartAlong({u[2], 0, -u[0]}) || apartAlong({-u[1], u[0], 0})) {
          return true;
        }
      }
    }
    return false;
  }
};

template <int N>
bool shapeOverlaps(const NOrientedBoundingBox<float, N>& shape, const NBoundingBox<float, 3>& box) {
  const float magnitude = largestMagnitude(shape, box);
  if (!comparable(shape, magnitude)) return true;
  const float margin = kTolerance + kRelativeMargin * magnitude;
  for (int i = 0; i < N; ++i) {
    const float reach = shape.halfSize[i] + margin;
    const Range<N> range = projection(shape, shape.axis(i), box);
    if (range.low > reach || range.high < -reach) return false;
  }
  const Pair<N> pair(shape, box, magnitude);
  return !pair.orthonormal() || !pair.apart();
}

}  // namespace

bool overlaps(const NOrientedBoundingBox<float, 3>& shape, const NBoundingBox<float, 3>& box) {
  return shapeOverlaps(shape, box);
}
bool contains(const NOrientedBoundingBox<float, 3>& shape, const NBoundingBox<float, 3>& box) {
  return shapeContains(shape, box);
}
bool overlaps(const NOrientedBoundingBox<float, 2>& shape, const NBoundingBox<float, 3>& box) {
  return shapeOverlaps(shape, box);
}
bool contains(const NOrientedBoundingBox<float, 2>& shape, const NBoundingBox<float, 3>& box) {
  return shapeContains(shape, box);
}

}  // namespace Math
