#include "Sorvik/ProjectedClippingRegion.h"

#include "api/Arguments.h"
#include "api/ClippingRegionImpl.h"
#include "regions/ProjectedClippingRegion.h"

namespace Sorvik {
namespace {

template <class Shape>
std::shared_ptr<::Math::ClippingRegion<float>> projected(const Shape& shape, const Viewport& viewport,
                                                         Span<const float> viewProjection) {
  return std::make_shared<::Math::ProjectedClippingRegion<Shape>>(
      shape, ::Math::RegionViewport::of(EngineAccess::engine(viewport)), toArray<16>(viewProjection));
}

}  // namespace

RectangularClippingRegion::RectangularClippingRegion(const BoundingRectangle& rectangle,
                                                     const Viewport& viewport,
                                                     Span<const float> viewProjection)
    : ClippingRegion(std::make_unique<Impl>(
          Impl{projected(EngineAccess::engine(rectangle), viewport, viewProjection)})) {}
RectangularClippingRegion::RectangularClippingRegion(Span<const float> minimum, Span<const float> maximum,
                                                     const Viewport& viewport,
                                                     Span<const float> viewProjection)
    : RectangularClippingRegion(BoundingRectangle(minimum, maximum), viewport, viewProjection) {}

CircularClippingRegion::CircularClippingRegion(const Circle& circle, const Viewport& viewport,
                                               Span<const float> viewProjection)
    : ClippingRegion(
          std::make_unique<Impl>(Impl{projected(EngineAccess::engine(circle), viewport, viewProjection)})) {}
CircularClippingRegion::CircularClippingRegion(Span<const float> center, float radius,
                                               const Viewport& viewport, Span<const float> viewProjection)
    : CircularClippingRegion(Circle(center, radius), viewport, viewProjection) {}

PolygonalClippingRegion::PolygonalClippingRegion(const Polygon& polygon, const Viewport& viewport,
                                                 Span<const float> viewProjection)
    : ClippingRegion(
          std::make_unique<Impl>(Impl{projected(EngineAccess::engine(polygon), viewport, viewProjection)})) {}

}  // namespace Sorvik
