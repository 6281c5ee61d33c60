#include "regions/BatchKernels.h"

#include <algorithm>
#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "regions/BatchKernels.cpp"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"
#include "math/PointKdTreeFilters-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Math::HWY_NAMESPACE {

template <>
class Filter<HalfSpace<float>> {
 public:
  explicit Filter(const HalfSpace<float>& halfSpace) : halfSpace_(halfSpace) {}

  HWY_INLINE Mask inside(Vector x, Vector y, Vector z) const {
    const Vector sum = dot3(broadcast(halfSpace_.normal[0]), broadcast(halfSpace_.normal[1]),
                            broadcast(halfSpace_.normal[2]), x, y, z);
    return hn::Ge(hn::Add(sum, broadcast(halfSpace_.constant)), broadcast(0.0F));
  }

 private:
  HalfSpace<float> halfSpace_;
};

/// Calls test(x, y, z) for the points, whole vectors of them, and joins the masks that it gives.
template <class Test>
HWY_INLINE void joinMasks(const PointBatch& batch, PointMask& joined, const Test& test) {
  for (std::size_t first = 0; first < batch.size; first += PointBatch::kWordBits) {
    std::uint64_t word = 0;
    for (std::size_t i = 0; i < PointBatch::kWordBits; i += hn::Lanes(Floats())) {
      HWY_ALIGN std::uint8_t bytes[8] = {};  // as many as StoreMaskBits may write
      hn::StoreMaskBits(Floats(),
                        test(hn::Load(Floats(), batch.coordinates[0] + first + i),
                             hn::Load(Floats(), batch.coordinates[1] + first + i),
                             hn::Load(Floats(), batch.coordinates[2] + first + i)),
                        bytes);
      word |= (bytes[0] | std::uint64_t{bytes[1]} << 8U) << i;
    }
    joined.words[first / PointBatch::kWordBits] = word;
  }
}

void testBatch(const BatchShape& anyShape, const PointBatch& batch, PointMask& inside) {
  std::visit(
      [&](const auto* shape) HWY_ATTR {
        const Filter<std::remove_cvref_t<decltype(*shape)>> filter(*shape);
        joinMasks(batch, inside,
                  [&](Vector x, Vector y, Vector z) HWY_ATTR { return filter.inside(x, y, z); });
      },
      anyShape);
}

void testDepths(float minimum, float maximum, const PointBatch& batch, PointMask& inside) {
  joinMasks(batch, inside, [&](Vector, Vector, Vector z) HWY_ATTR {
    return hn::Not(hn::Or(hn::Gt(broadcast(minimum), z), hn::Gt(z, broadcast(maximum))));
  });
}

void mapBatch(const HomogeneousMap& map, const PointBatch& from, PointBatch& to) {
  const Matrix4<float>& m = map.matrix();
  const bool projective = map.kind() == HomogeneousMap::Kind::Projective;
  for (std::size_t i = 0; i < from.size; i += hn::Lanes(Floats())) {
    const Vector x = hn::Load(Floats(), from.coordinates[0] + i);
    const Vector y = hn::Load(Floats(), from.coordinates[1] + i);
    const Vector z = hn::Load(Floats(), from.coordinates[2] + i);
    const auto row = [&](std::size_t r) HWY_ATTR {
      const Vector sum = dot3(broadcast(m[r]), broadcast(m[r + 4]), broadcast(m[r + 8]), x, y, z);
      return hn::Add(sum, broadcast(m[r + 12]));
    };
    const Vector w = projective ? row(3) : broadcast(1.0F);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const Vector value = row(axis);
      hn::Store(projective ? hn::Div(value, w) : value, Floats(), to.coordinates[axis] + i);
    }
  }
}

void scaleBatch(const PixelScale& scale, PointBatch& batch) {
  for (std::size_t i = 0; i < batch.size; i += hn::Lanes(Floats())) {
    const Vector width = broadcast(scale.width);
    const Vector half = broadcast(0.5F);
    const Vector x = hn::Load(Floats(), batch.coordinates[0] + i);
    const Vector y = hn::Load(Floats(), batch.coordinates[1] + i);
    const Vector right = hn::Mul(hn::Add(hn::Mul(width, x), width), half);
    const Vector down = hn::Mul(hn::Mul(hn::Sub(broadcast(1.0F), y), broadcast(scale.height)), half);
    hn::Store(hn::Add(right, broadcast(scale.x)), Floats(), batch.coordinates[0] + i);
    hn::Store(hn::Add(down, broadcast(scale.y)), Floats(), batch.coordinates[1] + i);
  }
}

/// Takes interleaved coordinates apart, all of whole vectors of points; returns how many points that were.
std::size_t separate(std::span<const float> positions, PointBatch& batch) {
  const std::size_t lanes = hn::Lanes(Floats());
  std::size_t i = 0;
  for (; i + lanes <= positions.size() / 3; i += lanes) {
    Vector x;
    Vector y;
    Vector z;
    hn::LoadInterleaved3(Floats(), positions.data() + 3 * i, x, y, z);
    hn::Store(x, Floats(), batch.coordinates[0] + i);
    hn::Store(y, Floats(), batch.coordinates[1] + i);
    hn::Store(z, Floats(), batch.coordinates[2] + i);
  }
  return i;
}

/// The least and the greatest of values that fill whole vectors; NaN for both when one is not finite.
void findRange(const float* values, std::size_t count, float& least, float& greatest) {
  Vector low = hn::Load(Floats(), values);
  Vector high = low;
  Mask finite = hn::Lt(hn::Abs(low), broadcast(std::numeric_limits<float>::infinity()));
  for (std::size_t i = hn::Lanes(Floats()); i < count; i += hn::Lanes(Floats())) {
    const Vector value = hn::Load(Floats(), values + i);
    finite = hn::And(finite, hn::Lt(hn::Abs(value), broadcast(std::numeric_limits<float>::infinity())));
    low = hn::Min(low, value);
    high = hn::Max(high, value);
  }
  const bool allFinite = hn::AllTrue(Floats(), finite);
  least = allFinite ? hn::GetLane(hn::MinOfLanes(Floats(), low)) : std::numeric_limits<float>::quiet_NaN();
  greatest = allFinite ? hn::GetLane(hn::MaxOfLanes(Floats(), high)) : least;
}

}  // namespace Math::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Math {

HWY_EXPORT(testBatch);
HWY_EXPORT(testDepths);
HWY_EXPORT(mapBatch);
HWY_EXPORT(scaleBatch);
HWY_EXPORT(separate);
HWY_EXPORT(findRange);

void testBatch(const BatchShape& shape, const PointBatch& batch, PointMask& inside) {
  HWY_DYNAMIC_DISPATCH(testBatch)(shape, batch, inside);
}

void testDepths(float minimum, float maximum, const PointBatch& batch, PointMask& inside) {
  HWY_DYNAMIC_DISPATCH(testDepths)(minimum, maximum, batch, inside);
}

void mapBatch(const HomogeneousMap& map, const PointBatch& from, PointBatch& to) {
  to.size = from.size;
  to.bounds.reset();
  if (from.bounds) to.bounds = map.bounds(*from.bounds);
  if (map.kind() == HomogeneousMap::Kind::Identity) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      std::copy_n(from.coordinates[axis], from.size, to.coordinates[axis]);
    }
  } else {
    HWY_DYNAMIC_DISPATCH(mapBatch)(map, from, to);
  }
  to.pad();
}

void scaleBatch(const PixelScale& scale, PointBatch& batch) {
  HWY_DYNAMIC_DISPATCH(scaleBatch)(scale, batch);
  batch.bounds.reset();
}

void fillBatch(std::span<const float> positions, PointBatch& batch) {
  batch.size = positions.size() / 3;
  for (std::size_t i = HWY_DYNAMIC_DISPATCH(separate)(positions, batch); i < batch.size; ++i) {
    for (std::size_t axis = 0; axis < 3; ++axis) batch.coordinates[axis][i] = positions[3 * i + axis];
  }
  batch.pad();
  NBoundingBox<float, 3> bounds;
  bool finite = true;
  for (int axis = 0; axis < 3; ++axis) {
    HWY_DYNAMIC_DISPATCH(findRange)
    (batch.coordinates[axis], batch.size, bounds.minimum[axis], bounds.maximum[axis]);
    finite = finite && bounds.minimum[axis] <= bounds.maximum[axis];
  }
  batch.bounds.reset();
  if (finite) batch.bounds = bounds;
}

}  // namespace Math
#endif
