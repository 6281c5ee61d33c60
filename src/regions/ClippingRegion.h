#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "math/BoundingBox.h"
#include "math/PointKdTree.h"
#include "regions/HomogeneousMap.h"
#include "regions/PointBatch.h"

namespace Math {

template <class T>
class ClippingRegion;

/// A part of space: of points it says whether they lie in it, of boxes whether they may and whether all their
/// points do. Leaves hold a shape, composites other regions.
///
/// Box tests are conservative, rounding included: boxIntersects() is true whenever the box holds a point that
/// pointInside() accepts, and may be true without one; boxInside() is true only when pointInside() accepts
/// every point of the box, and may be false although it does. "Point of the box" means a finite one between
/// the corners.
///
/// Threads: const calls are safe together; a call that changes a region excludes all others on it and on
/// every region that contains it.
template <>
class ClippingRegion<float> {
 public:
  using Box = NBoundingBox<float, 3>;

  virtual ~ClippingRegion() = default;
  ClippingRegion(ClippingRegion&&) = delete;
  ClippingRegion& operator=(ClippingRegion&&) = delete;

  /// The name under which the type is registered and written.
  [[nodiscard]] virtual std::string_view typeName() const = 0;
  /// A deep copy: regions inside are copied, too.
  [[nodiscard]] virtual std::unique_ptr<ClippingRegion> clone() const = 0;

  [[nodiscard]] bool boxNotInside(const Box& box) const { return !boxInside(box); }
  [[nodiscard]] bool pointOutside(const Point<float, 3>& p) const { return !pointInside(p); }
  [[nodiscard]] bool boxIntersects(const Box& box) const { return boxIntersectsImpl(box); }
  [[nodiscard]] bool pointInside(const Point<float, 3>& p) const { return pointInsideImpl(p); }
  [[nodiscard]] bool boxInside(const Box& box) const { return boxInsideImpl(box); }

  /// Places the region: a point is inside when the matrix's inverse takes it into what was there at the
  /// identity. No point is inside when the matrix has no inverse.
  virtual void setTransformation(const Matrix4<float>& matrix) = 0;

  /// pointInside() of every point, with equal bits.
  void pointsInside(const PointBatch& batch, PointMask& inside) const { pointsInsideImpl(batch, inside); }

  /// Appends the indices of the tree's points that are inside, in the order of the tree.
  void search(const PointKdTree<float, 3>& tree, std::vector<std::uint32_t>& indices) const {
    searchImpl(tree, indices);
  }

  /// The same type with equal contents; NaN equals nothing.
  [[nodiscard]] friend bool operator==(const ClippingRegion& a, const ClippingRegion& b) {
    return a.typeName() == b.typeName() && a.equals(b);
  }

 protected:
  ClippingRegion() = default;
  ClippingRegion(const ClippingRegion&) = default;
  ClippingRegion& operator=(const ClippingRegion&) = default;

  [[nodiscard]] virtual bool boxIntersectsImpl(const Box& box) const = 0;
  [[nodiscard]] virtual bool pointInsideImpl(const Point<float, 3>& p) const = 0;
  [[nodiscard]] virtual bool boxInsideImpl(const Box& box) const = 0;
  /// @param other  of the same type.
  [[nodiscard]] virtual bool equals(const ClippingRegion& other) const = 0;
  virtual void pointsInsideImpl(const PointBatch& batch, PointMask& inside) const = 0;
  /// Prunes by the box tests and tests what is left in batches.
  virtual void searchImpl(const PointKdTree<float, 3>& tree, std::vector<std::uint32_t>& indices) const;
};

/// Marks the points of a region, 1 for inside and 0 for outside, in batches.
/// @param positions  interleaved x, y, z.
/// @param marks      one for each point (not checked).
void markInside(const ClippingRegion<float>& region, std::span<const float> positions,
                std::span<std::uint8_t> marks);

}  // namespace Math
