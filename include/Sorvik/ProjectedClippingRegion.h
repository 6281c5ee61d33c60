#pragma once

#include "Sorvik/BoundingRectangle.h"
#include "Sorvik/Circle.h"
#include "Sorvik/ClippingRegion.h"
#include "Sorvik/Export.h"
#include "Sorvik/Polygon.h"
#include "Sorvik/Span.h"
#include "Sorvik/Viewport.h"

namespace Sorvik {

/// What a rectangle drawn on an image covers in space. A point is projected by the view-projection; its depth
/// is to lie within the viewport's depths, 0 to 1 unless they were read from a text, fractions dropped; and
/// its pixel is to lie in the shape. Device y = +1 is the image's top row, and pixels count from the
/// viewport's origin.
///
/// @p viewProjection is a column-major 4×4 matrix in every constructor here: 16 elements are read, whatever
/// its length. Shape and viewport are copied.
class SORVIK_API RectangularClippingRegion : public ClippingRegion {
 public:
  RectangularClippingRegion(const BoundingRectangle& rectangle, const Viewport& viewport,
                            Span<const float> viewProjection);
  /// @param minimum, maximum  two elements are read, whatever their length.
  RectangularClippingRegion(Span<const float> minimum, Span<const float> maximum, const Viewport& viewport,
                            Span<const float> viewProjection);
};

/// What a circle drawn on an image covers in space; as RectangularClippingRegion.
class SORVIK_API CircularClippingRegion : public ClippingRegion {
 public:
  CircularClippingRegion(const Circle& circle, const Viewport& viewport, Span<const float> viewProjection);
  /// @throws std::invalid_argument "Error: enter.size() != 2".
  CircularClippingRegion(Span<const float> center, float radius, const Viewport& viewport,
                         Span<const float> viewProjection);
};

/// What a polygon drawn on an image covers in space; as RectangularClippingRegion.
class SORVIK_API PolygonalClippingRegion : public ClippingRegion {
 public:
  PolygonalClippingRegion(const Polygon& polygon, const Viewport& viewport, Span<const float> viewProjection);
};

}  // namespace Sorvik
