#pragma once

#include <memory>

#include "Sorvik/Export.h"
#include "Sorvik/Span.h"

namespace Sorvik {

/// An axis-parallel rectangle in the plane, edges included: in image coordinates where it bounds a projected
/// region, in plan view (x, y) where it selects points. An axis whose minimum exceeds its maximum makes it
/// empty.
///
/// No operation looks at the length of a span: each reads or writes exactly two elements, x, y.
/// A value with its own storage: copies are deep. A moved-from object may only be destroyed or assigned to.
/// Threads: const calls are safe together.
class SORVIK_API BoundingRectangle final {
 public:
  /// The empty rectangle: minimum +infinity, maximum -infinity.
  BoundingRectangle();
  /// The rectangle between two corners, stored unchanged.
  BoundingRectangle(Span<const float> minimum, Span<const float> maximum);
  BoundingRectangle(const BoundingRectangle& other);
  BoundingRectangle(BoundingRectangle&& other) noexcept;
  BoundingRectangle& operator=(const BoundingRectangle& other);
  BoundingRectangle& operator=(BoundingRectangle&& other) noexcept;
  ~BoundingRectangle();

  /// Replaces the lower corner alone; nothing keeps it below the upper one.
  void setMinimum(Span<const float> minimum);
  /// Writes x, y of the lower corner.
  void getMinimum(Span<float> minimum) const;
  /// Two elements of this object's storage, valid until it is changed or destroyed.
  [[nodiscard]] Span<const float> minimum() const;

  /// Replaces the upper corner alone; nothing keeps it above the lower one.
  void setMaximum(Span<const float> maximum);
  /// Writes x, y of the upper corner.
  void getMaximum(Span<float> maximum) const;
  /// Two elements of this object's storage, valid until it is changed or destroyed.
  [[nodiscard]] Span<const float> maximum() const;

  /// The middle of the corners, computed without overflow; NaN for the rectangle of reset().
  void getCenter(Span<float> center) const;
  /// Maximum less minimum per axis, at least 0.
  void getSize(Span<float> size) const;
  /// Half of getSize().
  void getHalfSize(Span<float> halfSize) const;

  /// Whether @p p lies in the rectangle or on an edge. An empty rectangle contains nothing.
  [[nodiscard]] bool inside(Span<const float> p) const;
  /// Grows the rectangle just enough to contain @p p; the empty one of reset() becomes that one point.
  void expand(Span<const float> p);
  /// Makes this the rectangle of the default constructor.
  void reset();
  /// Whether the minimum exceeds the maximum on some axis. A rectangle of one point is not empty.
  [[nodiscard]] bool empty() const;

 private:
  friend struct EngineAccess;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Sorvik
