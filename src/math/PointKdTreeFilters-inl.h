// The shapes' inside tests on vectors of points, compiled once for every processor family: the include guard
// is turned by Highway's foreach_target.h.
#if defined(SORVIK_MATH_POINT_KD_TREE_FILTERS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef SORVIK_MATH_POINT_KD_TREE_FILTERS_INL_H
#undef SORVIK_MATH_POINT_KD_TREE_FILTERS_INL_H
#else
#define SORVIK_MATH_POINT_KD_TREE_FILTERS_INL_H
#endif

#include <cstddef>
#include <span>

#include "hwy/highway.h"
#include "math/BoxTests.h"
#include "math/PointKdTree.h"

HWY_BEFORE_NAMESPACE();
namespace Math::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Up to 16 lanes, so that leaves and siblings are whole vectors on every target.
using Floats = hn::CappedTag<float, PointKdTree<float, 3>::kFanOut>;
using Vector = hn::Vec<Floats>;
using Mask = hn::Mask<Floats>;
using Siblings = PointKdTree<float, 3>::Siblings;

HWY_INLINE Vector broadcast(float value) { return hn::Set(Floats(), value); }

/// Every filter's inside(x, y, z) takes the steps of its shape's own inside test in their order, with neither
/// fused multiplication nor reordering: the bits are the same. Comparisons stand as they are written there,
/// since some accept NaN.
template <class Shape>
class Filter;

/// The products' sum, added from the first axis to the last.
HWY_INLINE Vector dot3(Vector ax, Vector ay, Vector az, Vector bx, Vector by, Vector bz) {
  return hn::Add(hn::Add(hn::Mul(ax, bx), hn::Mul(ay, by)), hn::Mul(az, bz));
}

template <int N>
class Filter<NBoundingBox<float, N>> {
 public:
  explicit Filter(const NBoundingBox<float, N>& box) : box_(box) {}

  HWY_INLINE Mask inside(Vector x, Vector y, Vector z) const {
    Mask outside = hn::Or(outsideOn(0, x), outsideOn(1, y));
    if constexpr (N == 3) outside = hn::Or(outside, outsideOn(2, z));
    return hn::Not(outside);
  }

  /// overlaps() for the siblings from @p first on.
  HWY_INLINE Mask overlapping(const Siblings& siblings, std::size_t first) const {
    Mask apart = apartOn(0, siblings, first);
    for (int axis = 1; axis < N; ++axis) apart = hn::Or(apart, apartOn(axis, siblings, first));
    return hn::Not(apart);
  }

  /// contains() for the siblings from @p first on.
  HWY_INLINE Mask contained(const Siblings& siblings, std::size_t first) const {
    Mask within = withinOn(0, siblings, first);
    for (int axis = 1; axis < N; ++axis) within = hn::And(within, withinOn(axis, siblings, first));
    return within;
  }

 private:
  HWY_INLINE Mask outsideOn(int axis, Vector p) const {
    return hn::Or(hn::Gt(broadcast(box_.minimum[axis]), p), hn::Gt(p, broadcast(box_.maximum[axis])));
  }
  HWY_INLINE Mask apartOn(int axis, const Siblings& siblings, std::size_t first) const {
    const Vector minimum = hn::Load(Floats(), siblings.minimum[axis] + first);
    const Vector maximum = hn::Load(Floats(), siblings.maximum[axis] + first);
    return hn::Or(hn::Gt(broadcast(box_.minimum[axis]), maximum),
                  hn::Gt(minimum, broadcast(box_.maximum[axis])));
  }
  HWY_INLINE Mask withinOn(int axis, const Siblings& siblings, std::size_t first) const {
    const Vector minimum = hn::Load(Floats(), siblings.minimum[axis] + first);
    const Vector maximum = hn::Load(Floats(), siblings.maximum[axis] + first);
    return hn::And(hn::Le(broadcast(box_.minimum[axis]), minimum),
                   hn::Le(maximum, broadcast(box_.maximum[axis])));
  }

  NBoundingBox<float, N> box_;
};

template <int N>
class Filter<NSphere<float, N>> {
 public:
  explicit Filter(const NSphere<float, N>& sphere)
      : center_(sphere.center), radiusSquared_(sphere.radius * sphere.radius) {}

  HWY_INLINE Mask inside(Vector x, Vector y, Vector z) const {
    Vector sum =
        hn::Add(squared(hn::Sub(x, broadcast(center_[0]))), squared(hn::Sub(y, broadcast(center_[1]))));
    if constexpr (N == 3) sum = hn::Add(sum, squared(hn::Sub(z, broadcast(center_[2]))));
    return hn::Le(sum, broadcast(radiusSquared_));
  }

  /// overlaps() for the siblings from @p first on.
  HWY_INLINE Mask overlapping(const Siblings& siblings, std::size_t first) const {
    Vector sum = squared(toNearest(0, siblings, first));
    for (int axis = 1; axis < N; ++axis) sum = hn::Add(sum, squared(toNearest(axis, siblings, first)));
    return hn::Not(hn::Gt(sum, broadcast(radiusSquared_)));
  }

  /// contains() for the siblings from @p first on; tree boxes are finite, so a NaN is the centre's own.
  HWY_INLINE Mask contained(const Siblings& siblings, std::size_t first) const {
    Vector sum = squared(toFarthest(0, siblings, first));
    for (int axis = 1; axis < N; ++axis) sum = hn::Add(sum, squared(toFarthest(axis, siblings, first)));
    return hn::Le(sum, broadcast(radiusSquared_));
  }

 private:
  static HWY_INLINE Vector squared(Vector v) { return hn::Mul(v, v); }
  HWY_INLINE Vector toNearest(int axis, const Siblings& siblings, std::size_t first) const {
    const Vector center = broadcast(center_[axis]);
    const Vector minimum = hn::Load(Floats(), siblings.minimum[axis] + first);
    const Vector maximum = hn::Load(Floats(), siblings.maximum[axis] + first);
    return hn::Sub(hn::Max(minimum, hn::Min(center, maximum)), center);
  }
  HWY_INLINE Vector toFarthest(int axis, const Siblings& siblings, std::size_t first) const {
    const Vector center = broadcast(center_[axis]);
    const Vector toMinimum = hn::Sub(hn::Load(Floats(), siblings.minimum[axis] + first), center);
    const Vector toMaximum = hn::Sub(hn::Load(Floats(), siblings.maximum[axis] + first), center);
    return hn::Max(hn::Abs(toMinimum), hn::Abs(toMaximum));
  }

  Point<float, N> center_;
  float radiusSquared_;
};

template <int N>
class Filter<NOrientedBoundingBox<float, N>> {
 public:
  explicit Filter(const NOrientedBoundingBox<float, N>& box) : box_(box) {}

  HWY_INLINE Mask inside(Vector x, Vector y, Vector z) const {
    const Vector dx = hn::Sub(x, broadcast(box_.center[0]));
    const Vector dy = hn::Sub(y, broadcast(box_.center[1]));
    Vector dz = z;
    if constexpr (N == 3) dz = hn::Sub(z, broadcast(box_.center[2]));
    Mask outside = outsideOn(0, dx, dy, dz);
    for (int i = 1; i < N; ++i) outside = hn::Or(outside, outsideOn(i, dx, dy, dz));
    return hn::Not(outside);
  }

 private:
  HWY_INLINE Mask outsideOn(int i, Vector dx, Vector dy, Vector dz) const {
    const Point<float, N> column = box_.axis(i);
    Vector sum = hn::Add(hn::Mul(dx, broadcast(column[0])), hn::Mul(dy, broadcast(column[1])));
    if constexpr (N == 3) sum = hn::Add(sum, hn::Mul(dz, broadcast(column[2])));
    return hn::Gt(hn::Abs(sum), broadcast(box_.halfSize[i]));
  }

  NOrientedBoundingBox<float, N> box_;
};

template <>
class Filter<Polygon<float>> {
 public:
  explicit Filter(const Polygon<float>& polygon) : ring_(polygon.ring()), bounds_(polygon.bounds()) {}

  HWY_INLINE Mask inside(Vector x, Vector y, Vector z) const {
    Mask in = hn::FirstN(Floats(), 0);
    const Mask candidates = bounds_.inside(x, y, z);
    if (ring_.size() < 3 || hn::AllFalse(Floats(), candidates)) return in;
    // The ring is closed, so its first point makes no edge with its last.
    for (std::size_t i = 1; i < ring_.size(); ++i) {
      const Point<float, 2>& a = ring_[i];
      const Point<float, 2>& b = ring_[i - 1];
      const Vector ay = broadcast(a[1]);
      const Mask straddles = hn::Xor(hn::Lt(y, ay), hn::Lt(y, broadcast(b[1])));
      if (hn::AllFalse(Floats(), straddles)) continue;
      const Vector rise = hn::Mul(hn::Sub(y, ay), broadcast(b[0] - a[0]));
      const Vector crossing = hn::Add(hn::Div(rise, broadcast(b[1] - a[1])), broadcast(a[0]));
      in = hn::Xor(in, hn::And(straddles, hn::Lt(x, crossing)));
    }
    return hn::And(in, candidates);
  }

 private:
  std::span<const Point<float, 2>> ring_;
  Filter<NBoundingBox<float, 2>> bounds_;
};

template <>
class Filter<Cylinder<float>> {
 public:
  explicit Filter(const Cylinder<float>& cylinder) : cylinder_(cylinder) {}

  HWY_INLINE Mask inside(Vector x, Vector y, Vector z) const {
    const Vector vx = hn::Sub(x, broadcast(cylinder_.origin[0]));
    const Vector vy = hn::Sub(y, broadcast(cylinder_.origin[1]));
    const Vector vz = hn::Sub(z, broadcast(cylinder_.origin[2]));
    const Vector dx = broadcast(cylinder_.direction[0]);
    const Vector dy = broadcast(cylinder_.direction[1]);
    const Vector dz = broadcast(cylinder_.direction[2]);
    const Vector t = dot3(vx, vy, vz, dx, dy, dz);
    const Vector wx = hn::Sub(vx, hn::Mul(t, dx));
    const Vector wy = hn::Sub(vy, hn::Mul(t, dy));
    const Vector wz = hn::Sub(vz, hn::Mul(t, dz));
    return hn::Le(dot3(wx, wy, wz, wx, wy, wz), broadcast(cylinder_.radius * cylinder_.radius));
  }

 private:
  Cylinder<float> cylinder_;
};

template <>
class Filter<CylinderFinite<float>> {
 public:
  explicit Filter(const CylinderFinite<float>& cylinder)
      : start_(cylinder.start),
        axis_(cylinder.end - cylinder.start),
        lengthSquared_(dot(axis_, axis_)),
        radiusSquared_(cylinder.radius * cylinder.radius) {}

  /// A segment of no length contains nothing: t is infinite or NaN then, and neither passes.
  HWY_INLINE Mask inside(Vector x, Vector y, Vector z) const {
    const Vector sx = broadcast(start_[0]);
    const Vector sy = broadcast(start_[1]);
    const Vector sz = broadcast(start_[2]);
    const Vector dx = broadcast(axis_[0]);
    const Vector dy = broadcast(axis_[1]);
    const Vector dz = broadcast(axis_[2]);
    const Vector along = dot3(hn::Sub(x, sx), hn::Sub(y, sy), hn::Sub(z, sz), dx, dy, dz);
    const Vector t = hn::Div(along, broadcast(lengthSquared_));
    const Mask beyondEnds = hn::Or(hn::Lt(t, broadcast(0.0F)), hn::Gt(t, broadcast(1.0F)));
    const Vector wx = hn::Sub(x, hn::Add(sx, hn::Mul(t, dx)));
    const Vector wy = hn::Sub(y, hn::Add(sy, hn::Mul(t, dy)));
    const Vector wz = hn::Sub(z, hn::Add(sz, hn::Mul(t, dz)));
    const Mask within = hn::Le(dot3(wx, wy, wz, wx, wy, wz), broadcast(radiusSquared_));
    return hn::And(within, hn::Not(beyondEnds));
  }

 private:
  Point<float, 3> start_;
  Point<float, 3> axis_;
  float lengthSquared_;
  float radiusSquared_;
};

}  // namespace Math::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
