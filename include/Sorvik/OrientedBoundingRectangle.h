#pragma once

#include <memory>

#include "Sorvik/BoundingRectangle.h"
#include "Sorvik/Export.h"
#include "Sorvik/Span.h"

namespace Sorvik {

/// A turned rectangle in the plane, edges included: a centre, half sizes along its own two axes, and these
/// axes.
///
/// The axes are the columns of a 2×2 matrix in column-major order (elements 0 and 1 the rectangle's x axis, 2
/// and 3 its y axis); for an angle a that is cos a, sin a, -sin a, cos a. They are stored as given: where
/// they are no unit vectors, or not perpendicular, the rectangle is what inside() makes of them.
///
/// Only the constructor with a rotation matrix looks at the length of a span; every other operation reads or
/// writes exactly the elements it needs: two of a vector, 4 or 9 of a matrix.
/// A value with its own storage: copies are deep. A moved-from object may only be destroyed or assigned to.
/// Threads: const calls are safe together.
class SORVIK_API OrientedBoundingRectangle final {
 public:
  /// The unit square around the origin.
  OrientedBoundingRectangle();
  /// The same area as @p rectangle, unturned. Nothing guards against an empty one: inverted corners give
  /// negative half sizes, and infinite ones a NaN centre, which no comparison of inside() can refuse. Ask
  /// rectangle.empty() first.
  explicit OrientedBoundingRectangle(const BoundingRectangle& rectangle);
  /// The unturned unit square around @p center.
  explicit OrientedBoundingRectangle(Span<const float> center);
  /// The unturned rectangle around @p center.
  OrientedBoundingRectangle(Span<const float> center, Span<const float> halfSize);
  /// @param rotationMatrix 4 elements, copied; or the 9 of a 3×3 matrix, whose upper-left block counts.
  /// @throws std::invalid_argument "rotationMatrix must be 4 or 9 elements long".
  OrientedBoundingRectangle(Span<const float> center, Span<const float> halfSize,
                            Span<const float> rotationMatrix);
  /// @param angleRadians counter-clockwise, from the world's x axis to the rectangle's.
  OrientedBoundingRectangle(Span<const float> center, Span<const float> halfSize, float angleRadians);
  OrientedBoundingRectangle(const OrientedBoundingRectangle& other);
  OrientedBoundingRectangle(OrientedBoundingRectangle&& other) noexcept;
  OrientedBoundingRectangle& operator=(const OrientedBoundingRectangle& other);
  OrientedBoundingRectangle& operator=(OrientedBoundingRectangle&& other) noexcept;
  ~OrientedBoundingRectangle();

  /// Moves it; sizes and axes stay.
  void setCenter(Span<const float> center);
  /// Writes x, y in world coordinates.
  void getCenter(Span<float> center) const;
  /// Two elements of this object's storage, valid until it is changed or destroyed.
  [[nodiscard]] Span<const float> center() const;

  /// The extent from the centre along each of its own axes. A negative one makes it contain nothing.
  void setHalfSize(Span<const float> halfSize);
  /// The same half size along both axes.
  void setHalfSize(float halfSize);
  /// Writes two elements, along its own axes.
  void getHalfSize(Span<float> halfSize) const;
  /// Two elements of this object's storage, valid until it is changed or destroyed.
  [[nodiscard]] Span<const float> halfSize() const;

  /// Sizes are twice the half sizes.
  void setSize(Span<const float> size);
  /// The same size along both axes.
  void setSize(float size);
  /// Writes two elements, along its own axes.
  void getSize(Span<float> size) const;

  /// Turns the rectangle's axes to @p angleRadians, counter-clockwise from the world's.
  void setRotationByAngle(float angleRadians);
  /// The angle of the rectangle's x axis, in [-π, π]; its y axis is not looked at.
  void getRotationAsAngle(float& angleRadians) const;

  /// Stores four elements as they are.
  void setRotationByMatrix22(Span<const float> rotationMatrix);
  /// Writes the four elements as they are stored.
  void getRotationAsMatrix22(Span<float> rotationMatrix) const;
  /// Four elements of this object's storage, valid until it is changed or destroyed.
  [[nodiscard]] Span<const float> rotationMatrix22() const;

  /// Takes the upper-left 2×2 block of a column-major 3×3 matrix; the rest is ignored.
  void setRotationByMatrix33(Span<const float> rotationMatrix);
  /// Writes the 3×3 identity with the rotation in its upper-left block.
  void getRotationAsMatrix33(Span<float> rotationMatrix) const;

  /// The rectangle's own axes in world coordinates, copied without being made unit or perpendicular.
  void setRotationByAxes(Span<const float> xAxis, Span<const float> yAxis);

  /// Whether @p p lies in the rectangle or on an edge: no projection of p less the centre onto an axis
  /// exceeds the half size there.
  [[nodiscard]] bool inside(Span<const float> p) const;

 private:
  friend struct EngineAccess;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Sorvik
