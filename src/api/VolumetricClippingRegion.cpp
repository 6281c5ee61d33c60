#include "Sorvik/VolumetricClippingRegion.h"

#include "api/Arguments.h"
#include "api/ClippingRegionImpl.h"
#include "regions/VolumetricClippingRegion.h"

namespace Sorvik {
namespace {

template <class Shape>
std::shared_ptr<::Math::ClippingRegion<float>> volumetric(const Shape& shape) {
  return std::make_shared<::Math::VolumetricClippingRegion<Shape>>(shape);
}

}  // namespace

BoundingBoxClippingRegion::BoundingBoxClippingRegion(const BoundingBox& box)
    : ClippingRegion(std::make_unique<Impl>(Impl{volumetric(EngineAccess::engine(box))})) {}
BoundingBoxClippingRegion::BoundingBoxClippingRegion(Span<const float> minimum, Span<const float> maximum)
    : BoundingBoxClippingRegion(BoundingBox(minimum, maximum)) {}

HalfSpaceClippingRegion::HalfSpaceClippingRegion(const Plane& plane)
    : ClippingRegion(std::make_unique<Impl>(
          Impl{volumetric(::Math::HalfSpace<float>::of(EngineAccess::engine(plane)))})) {}

SphericalClippingRegion::SphericalClippingRegion(const Sphere& sphere)
    : ClippingRegion(std::make_unique<Impl>(Impl{volumetric(EngineAccess::engine(sphere))})) {}
SphericalClippingRegion::SphericalClippingRegion(Span<const float> center, float radius)
    : SphericalClippingRegion(Sphere(center, radius)) {}

CylindricalClippingRegion::CylindricalClippingRegion(const Cylinder& cylinder)
    : ClippingRegion(std::make_unique<Impl>(Impl{volumetric(EngineAccess::engine(cylinder))})) {}
CylindricalClippingRegion::CylindricalClippingRegion(Span<const float> origin, Span<const float> direction,
                                                     float radius)
    : CylindricalClippingRegion(Cylinder(origin, direction, radius)) {}

FiniteCylindricalClippingRegion::FiniteCylindricalClippingRegion(const CylinderFinite& cylinder)
    : ClippingRegion(std::make_unique<Impl>(Impl{volumetric(EngineAccess::engine(cylinder))})) {}
FiniteCylindricalClippingRegion::FiniteCylindricalClippingRegion(Span<const float> start,
                                                                 Span<const float> end, float radius)
    : FiniteCylindricalClippingRegion(CylinderFinite(start, end, radius)) {}

}  // namespace Sorvik
