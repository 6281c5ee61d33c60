#pragma once

#include <memory>
#include <string>

#include "Sorvik/Export.h"
#include "Sorvik/Span.h"

namespace Sorvik {

/// A rotation, a scale for each axis and a translation: a local point is scaled along the local axes, then
/// turned, then moved, global = T·R·S·local.
///
/// Angles are radians. Matrices are column-major: element (row, column) of a 4×4 matrix stands at index
/// 4·column + row, so its translation at 12, 13, 14; of a 3×3 matrix at 3·column + row. Quaternions are
/// ordered x, y, z, w. Euler angles (a, b, c) are turns about x, y, z, composed as Rx(a)·Ry(b)·Rz(c): the one
/// about z comes first. Vectors and points have 3 elements. Getters by reference and by span give the same
/// values.
///
/// Only the camera pose looks at the length of its spans; every other operation reads or writes exactly the
/// elements it needs.
/// A value with its own storage: copies are deep. A moved-from object may only be destroyed or assigned to.
/// Threads: const calls refresh cached matrices, so one object must not be used by two threads at once, not
/// even for reading.
class SORVIK_API Transformation final {
 public:
  /// The identity.
  Transformation();
  /// Not usable: the object has no state to decompose the matrix into, so the call faults. Construct without
  /// arguments and call setTransformationMatrix44().
  explicit Transformation(Span<const float> matrix44);
  Transformation(const Transformation& other);
  Transformation(Transformation&& other) noexcept;
  Transformation& operator=(const Transformation& other);
  Transformation& operator=(Transformation&& other) noexcept;
  ~Transformation();

  void setIdentity();

  void setTranslation(float x, float y, float z);
  void setTranslation(Span<const float> translation);
  void getTranslation(float& x, float& y, float& z) const;
  void getTranslation(Span<float> translation) const;

  /// Sets all three factors; 0 makes the inverse meaningless.
  void setUniformScale(float scale);
  /// Gives the largest of the three factors, which differ only after a matrix or a JSON text set them.
  void getUniformScale(float& scale) const;

  /// Stored as given: a quaternion that is no unit one gives matrices that are no rotations.
  void setRotationQuaternion(float x, float y, float z, float w);
  void setRotationQuaternion(Span<const float> quaternion);
  void getRotationQuaternion(float& x, float& y, float& z, float& w) const;
  void getRotationQuaternion(Span<float> quaternion) const;

  void setRotationEuler(float a, float b, float c);
  void setRotationEuler(Span<const float> angles);
  /// b is in [-π/2, π/2]. Where |sin b| is at least 0.9999999 (gimbal lock) c is 0 and a takes the whole
  /// turn.
  void getRotationEuler(float& a, float& b, float& c) const;
  void getRotationEuler(Span<float> angles) const;

  /// @param matrix a rotation without scale, 9 elements.
  void setRotationMatrix33(Span<const float> matrix);
  /// Writes 9 elements, without the scale.
  void getRotationMatrix33(Span<float> matrix) const;
  /// Takes the upper-left 3×3 block of 16 elements.
  void setRotationMatrix44(Span<const float> matrix);
  /// Writes 16 elements: the rotation alone, without scale and translation.
  void getRotationMatrix44(Span<float> matrix) const;

  /// Takes scale, rotation and translation out of 16 elements. The scale factors are the columns' lengths,
  /// that of x negated for a mirror (a negative determinant). Shear and a last row other than 0, 0, 0, 1 are
  /// lost; a column of length 0 makes the rotation NaN.
  void setTransformationMatrix44(Span<const float> matrix);
  /// Writes the 16 elements of T·R·S.
  void getTransformationMatrix44(Span<float> matrix) const;
  /// Writes the 16 elements of its general inverse, which has no meaning when T·R·S is singular.
  void getInverseTransformationMatrix44(Span<float> matrix) const;

  /// Makes it the transformation from the world to a camera at @p eye that looks along @p view, its own -z
  /// axis, with @p up towards its +y axis. The scale stays. View and up have any length but 0 and must not be
  /// parallel, or no rotation comes of them.
  /// @throws std::invalid_argument "Error: eye.size() != 3", "Error: view.size() != 3" or
  /// "Error: up.size() != 3".
  void setCameraPose(Span<const float> eye, Span<const float> view, Span<const float> up);
  /// Writes the pose as the matrix has it. With scale 1 the view is a unit vector and up is one that is
  /// perpendicular to it; another scale shows in all three.
  /// @throws std::invalid_argument as setCameraPose().
  void getCameraPose(Span<float> eye, Span<float> view, Span<float> up) const;

  /// @name Composition
  /// Each comes after the transformation so far, in global coordinates, and returns this object.
  /// @{
  Transformation& translateBy(float x, float y, float z);
  Transformation& translateBy(Span<const float> translation);
  /// About the global origin.
  Transformation& scaleBy(float scale);
  /// The stored rotation is normalised afterwards, but the translation is turned by the quaternion as it is:
  /// one of norm n multiplies it by n².
  Transformation& rotateByQuaternion(float x, float y, float z, float w);
  Transformation& rotateByQuaternion(Span<const float> quaternion);
  Transformation& rotateByEuler(float a, float b, float c);
  Transformation& rotateByEuler(Span<const float> angles);
  /// @param matrix a rotation, 9 elements.
  Transformation& rotateByMatrix33(Span<const float> matrix);
  /// Takes the upper-left 3×3 block of 16 elements.
  Transformation& rotateByMatrix44(Span<const float> matrix);
  /// @param axis of any length; one of length 0 is used as it is, and only scales by cos²(angle/2).
  Transformation& rotateByAxisAngle(Span<const float> axis, float angle);
  Transformation& rotateByX(float angle);
  Transformation& rotateByY(float angle);
  Transformation& rotateByZ(float angle);
  /// @}

  /// Its inverse, taken apart as by setTransformationMatrix44(): exact where the scale is uniform.
  [[nodiscard]] Transformation inverse() const;

  /// Replaces the 3 elements.
  void localToGlobalPoint(Span<float> point) const;
  void globalToLocalPoint(Span<float> point) const;

  /// @name Correspondences
  /// These too come after the transformation so far.
  /// @{
  /// Moves @p sourcePoint to @p targetPoint and turns about the vertical through it, so that
  /// @p sourceDirection comes to lie along @p targetDirection in plan.
  void setTranslationAndZRotationByCorrespondences(Span<const float> sourcePoint,
                                                   Span<const float> targetPoint,
                                                   Span<const float> sourceDirection,
                                                   Span<const float> targetDirection);
  /// Moves @p sourcePoint to @p targetPoint.
  void setTranslationByCorrespondences(Span<const float> sourcePoint, Span<const float> targetPoint);
  /// Turns about the vertical through @p pivot, so that @p sourcePoint comes to lie where @p targetPoint is
  /// seen from there in plan.
  void setZRotationByCorrespondences(Span<const float> pivot, Span<const float> sourcePoint,
                                     Span<const float> targetPoint);
  /// @}

  /// {"rotation":[x,y,z,w],"scale":[x,y,z],"translation":[x,y,z]}, without blanks, with the digits that read
  /// back as the same values. A value that is not finite is written as null, which is not read again.
  [[nodiscard]] std::string toJsonString() const;
  /// Reads such a text, in which "scale" may be missing and is then 1, 1, 1. Other members are ignored.
  /// @return false when it is no JSON, longer than 1 MiB, nested deeper than 16 levels, names a member twice,
  /// lacks a required member, or has one that is not as many numbers within single precision as it must be.
  /// Members are set in the order translation, rotation, scale, up to the one that is wrong.
  bool fromJsonString(const std::string& text);

 private:
  friend struct EngineAccess;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Sorvik
