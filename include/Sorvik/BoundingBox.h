#pragma once

#include <memory>

#include "Sorvik/Export.h"
#include "Sorvik/Span.h"

namespace Sorvik {

/// An axis-parallel box in space, faces included. It is whatever two corners it is given: an axis whose
/// minimum exceeds its maximum makes it empty, and nothing is reordered.
///
/// No operation looks at the length of a span: each reads or writes exactly three elements, x, y, z.
/// A value with its own storage: copies are deep. A moved-from object may only be destroyed or assigned to.
/// Threads: const calls are safe together.
class SORVIK_API BoundingBox final {
 public:
  /// The empty box: minimum +infinity, maximum -infinity.
  BoundingBox();
  /// The box between two corners, stored unchanged.
  BoundingBox(Span<const float> minimum, Span<const float> maximum);
  BoundingBox(const BoundingBox& other);
  BoundingBox(BoundingBox&& other) noexcept;
  BoundingBox& operator=(const BoundingBox& other);
  BoundingBox& operator=(BoundingBox&& other) noexcept;
  ~BoundingBox();

  /// Replaces the lower corner alone; nothing keeps it below the upper one.
  void setMinimum(Span<const float> minimum);
  /// Writes x, y, z of the lower corner.
  void getMinimum(Span<float> minimum) const;
  /// Three elements of this object's storage, valid until it is changed or destroyed.
  [[nodiscard]] Span<const float> minimum() const;

  /// Replaces the upper corner alone; nothing keeps it above the lower one.
  void setMaximum(Span<const float> maximum);
  /// Writes x, y, z of the upper corner.
  void getMaximum(Span<float> maximum) const;
  /// Three elements of this object's storage, valid until it is changed or destroyed.
  [[nodiscard]] Span<const float> maximum() const;

  /// The middle of the corners, computed without overflow; NaN for the box of reset().
  void getCenter(Span<float> center) const;
  /// Maximum less minimum per axis, at least 0.
  void getSize(Span<float> size) const;
  /// Half of getSize().
  void getHalfSize(Span<float> halfSize) const;

  /// Whether @p p lies in the box or on a face. An empty box contains nothing.
  [[nodiscard]] bool inside(Span<const float> p) const;
  /// Grows the box just enough to contain @p p; the empty box of reset() becomes the box of that one point.
  void expand(Span<const float> p);
  /// Makes this the box of the default constructor.
  void reset();
  /// Whether the minimum exceeds the maximum on some axis. A box of one point is not empty.
  [[nodiscard]] bool empty() const;

 private:
  friend struct EngineAccess;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Sorvik
