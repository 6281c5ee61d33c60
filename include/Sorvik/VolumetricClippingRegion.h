#pragma once

#include "Sorvik/BoundingBox.h"
#include "Sorvik/ClippingRegion.h"
#include "Sorvik/Cylinder.h"
#include "Sorvik/CylinderFinite.h"
#include "Sorvik/Export.h"
#include "Sorvik/Plane.h"
#include "Sorvik/Span.h"
#include "Sorvik/Sphere.h"

namespace Sorvik {

/// The inside of a box. Shapes are copied, here and below.
class SORVIK_API BoundingBoxClippingRegion : public ClippingRegion {
 public:
  explicit BoundingBoxClippingRegion(const BoundingBox& box);
  /// @param minimum, maximum  three elements are read, whatever their length.
  BoundingBoxClippingRegion(Span<const float> minimum, Span<const float> maximum);
};

/// The side of a plane that its normal points to, the plane included.
class SORVIK_API HalfSpaceClippingRegion : public ClippingRegion {
 public:
  explicit HalfSpaceClippingRegion(const Plane& plane);
};

/// The inside of a sphere.
class SORVIK_API SphericalClippingRegion : public ClippingRegion {
 public:
  explicit SphericalClippingRegion(const Sphere& sphere);
  /// @throws std::invalid_argument "Error: center.size() != 3".
  SphericalClippingRegion(Span<const float> center, float radius);
};

/// The inside of an endless cylinder.
class SORVIK_API CylindricalClippingRegion : public ClippingRegion {
 public:
  explicit CylindricalClippingRegion(const Cylinder& cylinder);
  /// @param origin, direction  three elements are read, whatever their length. The direction is to be a unit
  ///                           vector and is stored as it is.
  CylindricalClippingRegion(Span<const float> origin, Span<const float> direction, float radius);
};

/// The inside of a cylinder with flat ends.
class SORVIK_API FiniteCylindricalClippingRegion : public ClippingRegion {
 public:
  explicit FiniteCylindricalClippingRegion(const CylinderFinite& cylinder);
  /// @param start, end  three elements are read, whatever their length.
  FiniteCylindricalClippingRegion(Span<const float> start, Span<const float> end, float radius);
};

}  // namespace Sorvik
