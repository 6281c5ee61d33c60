#pragma once

#include <nlohmann/json_fwd.hpp>

#include "core/BoundedJson.h"
#include "math/Matrix4.h"
#include "math/Point.h"
#include "math/Quaternion.h"

namespace Math {

/// Where a camera stands, along what it looks, and what is up for it.
struct CameraPose {
  Point<float, 3> eye;
  Point<float, 3> view;
  Point<float, 3> up;
};

/// Maps a local point p to the global point T·R·S·p: scaled along the local axes, turned, then moved. Angles
/// are radians, matrices column-major; steps are computed in double precision and rounded once, unless said
/// otherwise.
///
/// The matrices are cached, and refreshed by const operations too: one object belongs to one thread at a
/// time.
class Transformation {
 public:
  [[nodiscard]] const Quaternion& rotation() const { return rotation_; }
  [[nodiscard]] const Point<float, 3>& scale() const { return scale_; }
  [[nodiscard]] const Point<float, 3>& translation() const { return translation_; }

  /// Stored as given, not normalised.
  void setRotation(const Quaternion& rotation);
  void setScale(const Point<float, 3>& scale);
  void setTranslation(const Point<float, 3>& translation);
  /// Makes it the identity, with caches that are fresh.
  void setIdentity();

  /// Decomposes @p matrix: scale is the columns' lengths, that of x negated for a mirror (a negative
  /// determinant); shear and the last row are lost. A column of length 0 makes the rotation NaN.
  void setMatrix(const Matrix4<float>& matrix);
  /// T·R·S, with R by the formula in single precision.
  [[nodiscard]] const Matrix4<float>& matrix() const;
  /// The general inverse of matrix(); not meaningful when that is singular.
  [[nodiscard]] const Matrix4<float>& inverseMatrix() const;
  /// The decomposed inverseMatrix().
  [[nodiscard]] Transformation inverse() const;

  [[nodiscard]] Point<float, 3> toGlobal(const Point<float, 3>& p) const;
  [[nodiscard]] Point<float, 3> toLocal(const Point<float, 3>& p) const;

  /// These come after the transform so far, in global coordinates.
  void translateBy(const Point<float, 3>& d);
  void scaleBy(float factor);
  /// The rotation is normalised afterwards. The translation is turned by @p r as it is: one of norm n
  /// multiplies it by n².
  void rotateBy(const Quaternion& r);

  /// Makes it map the world to a camera that looks down its own -z axis, with +y up. The scale stays. A view
  /// or up of length 0, and parallel ones, give the quaternion of a matrix with rows of 0, which is no
  /// rotation.
  void setCameraPose(const CameraPose& pose);
  /// The pose as matrix() has it: nothing is normalised, so the scale shows.
  [[nodiscard]] CameraPose cameraPose() const;

  /// Moves @p source to the origin, turns about global z by the angle from @p sourceDirection to
  /// @p targetDirection in plan, and moves the origin to @p target; after the transform so far.
  void fit(const Point<float, 3>& source, const Point<float, 3>& target,
           const Point<float, 2>& sourceDirection, const Point<float, 2>& targetDirection);

 private:
  void refresh() const;

  Quaternion rotation_;
  Point<float, 3> scale_{{1, 1, 1}};
  Point<float, 3> translation_;
  mutable Matrix4<float> matrix_{};
  mutable Matrix4<float> inverseMatrix_{};
  mutable bool dirty_ = true;  ///< whether the matrices are older than the rest
};

/// What a text of a transformation may ask of its reader.
inline constexpr Core::JsonLimits kTransformationText{.numBytes = 1 << 20, .numLevels = 16};

/// {"rotation": [x, y, z, w], "scale": [x, y, z], "translation": [x, y, z]}. A number that is not finite is
/// written as null, which is not read again.
void to_json(nlohmann::json& value, const Transformation& transformation);

/// Reads translation, rotation and scale (1, 1, 1 when there is none), in this order; other members are
/// ignored.
/// @throws Core::FormatError when a required member is missing, or one is not as many numbers within single
/// precision as it must be. Members before that one have been set.
void from_json(const nlohmann::json& value, Transformation& transformation);

}  // namespace Math
