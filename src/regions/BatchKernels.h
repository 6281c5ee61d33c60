#pragma once

#include <span>
#include <variant>

#include "math/Cylinder.h"
#include "math/Polygon.h"
#include "math/Sphere.h"
#include "regions/HalfSpace.h"
#include "regions/HomogeneousMap.h"
#include "regions/PointBatch.h"

/// Work on whole batches, in vectors of the processor at hand. All give the bits that their scalar twins give
/// point by point, on every processor.
namespace Math {

using BatchShape =
    std::variant<const HalfSpace<float>*, const NBoundingBox<float, 3>*, const NBoundingBox<float, 2>*,
                 const NSphere<float, 3>*, const NSphere<float, 2>*, const Polygon<float>*,
                 const Cylinder<float>*, const CylinderFinite<float>*>;

/// The shape's own inside test; plane shapes look at x and y.
void testBatch(const BatchShape& shape, const PointBatch& batch, PointMask& inside);

/// Fills a batch from interleaved x, y, z of 1 to 512 points, bounds included.
void fillBatch(std::span<const float> positions, PointBatch& batch);

/// HomogeneousMap::apply() of every point. The bounds are those that the map gives for the batch's.
void mapBatch(const HomogeneousMap& map, const PointBatch& from, PointBatch& to);

/// From normalised device coordinates to pixels.
struct PixelScale {
  float width, height;  ///< of the viewport, in pixels
  float x, y;           ///< of its first pixel

  /// Device y = +1 is the top row.
  [[nodiscard]] Point<float, 2> apply(float deviceX, float deviceY) const {
    return {{(width * deviceX + width) * 0.5F + x, (1.0F - deviceY) * height * 0.5F + y}};
  }
};

/// PixelScale::apply() of every point, in place; z stays, bounds go.
void scaleBatch(const PixelScale& scale, PointBatch& batch);

/// Points whose z is neither below @p minimum nor above @p maximum; those without a z (NaN) are among them.
void testDepths(float minimum, float maximum, const PointBatch& batch, PointMask& inside);

}  // namespace Math
