#pragma once

#include <memory>

#include "Sorvik/Export.h"
#include "Sorvik/Span.h"

namespace Sorvik {

/// The plane of all x, y, z with a·x + b·y + c·z + d = 0; a, b, c is its normal and d its constant. Every
/// constructor normalises what it is given, as normalize() does.
///
/// A value with its own storage: copies are deep. A moved-from object may only be destroyed or assigned to.
/// Threads: const calls are safe together.
class SORVIK_API Plane final {
 public:
  /// The coefficients, which need not be normalised.
  Plane(float a, float b, float c, float d);
  /// @param elems a, b, c, d.
  /// @throws std::invalid_argument "Error: elems.size() != 4".
  explicit Plane(Span<const float> elems);
  /// The plane through @p point perpendicular to @p normal, which may have any length.
  /// @throws std::invalid_argument "Error: normal.size() != 3", "Error: point.size() != 3"; the normal is
  /// looked
  ///         at first.
  Plane(Span<const float> normal, Span<const float> point);
  Plane(const Plane& other);
  Plane(Plane&& other) noexcept;
  Plane& operator=(const Plane& other);
  Plane& operator=(Plane&& other) noexcept;
  ~Plane();

  /// Divides all four values by the normal's length; with a normal of length 0 they stay as they are.
  void normalize();
  /// Changes the sign of all four values: the same plane, seen from its other side.
  void negate();

  /// Three elements of this object's storage, valid until it is changed or destroyed.
  [[nodiscard]] Span<const float> normal() const;
  /// Writes three elements, whatever the length of @p normal.
  void getNormal(Span<float> normal) const;

  /// d: with a normal of length 1, the signed distance of the origin from the plane.
  [[nodiscard]] float constant() const;
  /// The same, written into @p constant.
  void getConstant(float& constant) const;

 private:
  friend struct EngineAccess;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Sorvik
