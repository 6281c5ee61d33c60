#pragma once

#include <memory>

#include "Sorvik/BoundingBox.h"
#include "Sorvik/Export.h"
#include "Sorvik/Span.h"

namespace Sorvik {

/// A turned box in space, faces included: a centre, half sizes along its own three axes, and these axes.
///
/// The axes are the columns of a 3×3 matrix in column-major order (elements 0 to 2 the box's x axis in world
/// coordinates, 3 to 5 its y axis, 6 to 8 its z axis). They are stored as given: where they are no unit
/// vectors, or not perpendicular, the box is what inside() makes of them. 4×4 matrices are column-major too.
///
/// Only the constructor with a rotation looks at the length of a span; every other operation reads or writes
/// exactly the elements it needs: three of a vector, 9 or 16 of a matrix, four (x, y, z, w) of a quaternion.
/// A value with its own storage: copies are deep. A moved-from object may only be destroyed or assigned to.
/// Threads: const calls are safe together.
class SORVIK_API OrientedBoundingBox final {
 public:
  /// The unit cube around the origin.
  OrientedBoundingBox();
  /// The same body as @p box, unturned. Nothing guards against an empty box: inverted corners give negative
  /// half sizes, and infinite ones a NaN centre, which no comparison of inside() can refuse. Ask box.empty()
  /// first.
  explicit OrientedBoundingBox(const BoundingBox& box);
  /// The unturned unit cube around @p center.
  explicit OrientedBoundingBox(Span<const float> center);
  /// The unturned box around @p center.
  OrientedBoundingBox(Span<const float> center, Span<const float> halfSize);
  /// @param rotationMatrix 9 elements, copied; or the 16 of a 4×4 matrix, whose upper-left block counts.
  /// @throws std::invalid_argument "rotationMatrix must be 9 or 16 elements long".
  OrientedBoundingBox(Span<const float> center, Span<const float> halfSize, Span<const float> rotationMatrix);
  OrientedBoundingBox(const OrientedBoundingBox& other);
  OrientedBoundingBox(OrientedBoundingBox&& other) noexcept;
  OrientedBoundingBox& operator=(const OrientedBoundingBox& other);
  OrientedBoundingBox& operator=(OrientedBoundingBox&& other) noexcept;
  ~OrientedBoundingBox();

  /// Moves it; sizes and axes stay.
  void setCenter(Span<const float> center);
  /// Writes x, y, z in world coordinates.
  void getCenter(Span<float> center) const;
  /// Three elements of this object's storage, valid until it is changed or destroyed.
  [[nodiscard]] Span<const float> center() const;

  /// The extent from the centre along each of its own axes. A negative one makes it contain nothing.
  void setHalfSize(Span<const float> halfSize);
  /// The same half size along all three axes.
  void setHalfSize(float halfSize);
  /// Writes three elements, along its own axes.
  void getHalfSize(Span<float> halfSize) const;
  /// Three elements of this object's storage, valid until it is changed or destroyed.
  [[nodiscard]] Span<const float> halfSize() const;

  /// Sizes are twice the half sizes.
  void setSize(Span<const float> size);
  /// The same size along all three axes.
  void setSize(float size);
  /// Writes three elements, along its own axes.
  void getSize(Span<float> size) const;

  /// Stores nine elements as they are.
  void setRotationByMatrix33(Span<const float> rotationMatrix);
  /// Writes the nine elements as they are stored.
  void getRotationAsMatrix33(Span<float> rotationMatrix) const;
  /// Nine elements of this object's storage, valid until it is changed or destroyed.
  [[nodiscard]] Span<const float> rotationMatrix33() const;

  /// Takes the upper-left 3×3 block; the rest is ignored.
  void setRotationByMatrix44(Span<const float> rotationMatrix);
  /// Writes the identity with the rotation in its upper-left block.
  void getRotationAsMatrix44(Span<float> rotationMatrix) const;

  /// The rotation of x, y, z, w, which is taken as a unit quaternion.
  void setRotationByQuaternion(Span<const float> quaternion);
  /// The unit quaternion x, y, z, w of the stored axes; meaningful when these are a rotation.
  void getRotationAsQuaternion(Span<float> quaternion) const;

  /// The box's own axes in world coordinates, copied without being made unit or perpendicular.
  void setRotationByAxes(Span<const float> xAxis, Span<const float> yAxis, Span<const float> zAxis);

  /// Whether @p p lies in the box or on a face: no projection of p less the centre onto an axis exceeds the
  /// half size there.
  [[nodiscard]] bool inside(Span<const float> p) const;

 private:
  friend struct EngineAccess;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Sorvik
