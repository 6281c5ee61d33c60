#include "math/BoxTests.h"

#include <algorithm>
#include <cmath>

namespace Math {
namespace {

template <int N>
bool hasNaN(const Point<float, N>& p) {
  for (int i = 0; i < N; ++i) {
    if (std::isnan(p[i])) return true;
  }
  return false;
}

template <int N>
bool boxOverlaps(const NBoundingBox<float, N>& shape, const NBoundingBox<float, 3>& box) {
  if (hasNaN(shape.minimum) || hasNaN(shape.maximum)) return true;
  for (int i = 0; i < N; ++i) {
    if (shape.minimum[i] > box.maximum[i] || box.minimum[i] > shape.maximum[i]) return false;
  }
  return true;
}

template <int N>
bool boxContains(const NBoundingBox<float, N>& shape, const NBoundingBox<float, 3>& box) {
  for (int i = 0; i < N; ++i) {
    if (!(shape.minimum[i] <= box.minimum[i] && box.maximum[i] <= shape.maximum[i])) return false;
  }
  return true;
}

/// The distance to the nearest point of the box. A sum of NaN (infinity less infinity) says nothing, so it
/// counts as overlapping.
template <int N>
bool sphereOverlaps(const NSphere<float, N>& shape, const NBoundingBox<float, 3>& box) {
  Point<float, N> toNearest;
  for (int i = 0; i < N; ++i) {
    const float nearest = std::max(box.minimum[i], std::min(shape.center[i], box.maximum[i]));
    toNearest[i] = nearest - shape.center[i];
  }
  return !(dot(toNearest, toNearest) > shape.radius * shape.radius);
}

/// The distance to the farthest corner of the box.
template <int N>
bool sphereContains(const NSphere<float, N>& shape, const NBoundingBox<float, 3>& box) {
  Point<float, N> toFarthest;
  for (int i = 0; i < N; ++i) {
    const float toMinimum = box.minimum[i] - shape.center[i];
    const float toMaximum = box.maximum[i] - shape.center[i];
    if (std::isnan(toMinimum) || std::isnan(toMaximum)) return false;
    toFarthest[i] = std::abs(toMaximum) > std::abs(toMinimum) ? toMaximum : toMinimum;
  }
  return dot(toFarthest, toFarthest) <= shape.radius * shape.radius;
}

}  // namespace

bool overlaps(const NBoundingBox<float, 3>& shape, const NBoundingBox<float, 3>& box) {
  return boxOverlaps(shape, box);
}
bool contains(const NBoundingBox<float, 3>& shape, const NBoundingBox<float, 3>& box) {
  return boxContains(shape, box);
}
bool overlaps(const NBoundingBox<float, 2>& shape, const NBoundingBox<float, 3>& box) {
  return boxOverlaps(shape, box);
}
bool contains(const NBoundingBox<float, 2>& shape, const NBoundingBox<float, 3>& box) {
  return boxContains(shape, box);
}
bool overlaps(const NSphere<float, 3>& shape, const NBoundingBox<float, 3>& box) {
  return sphereOverlaps(shape, box);
}
bool contains(const NSphere<float, 3>& shape, const NBoundingBox<float, 3>& box) {
  return sphereContains(shape, box);
}
bool overlaps(const NSphere<float, 2>& shape, const NBoundingBox<float, 3>& box) {
  return sphereOverlaps(shape, box);
}
bool contains(const NSphere<float, 2>& shape, const NBoundingBox<float, 3>& box) {
  return sphereContains(shape, box);
}

}  // namespace Math
