#include "Sorvik/PointIterators.h"

#include <type_traits>

#include "api/EngineAccess.h"
#include "octree/QueryPoints.h"
#include "regions/RegionShape.h"

namespace Sorvik {
namespace {

/// A copy of the public shape's engine value.
template <class Shape>
auto walkShape(const Shape& shape) {
  return EngineAccess::engine(shape);
}
::Math::RegionShape walkShape(const ClippingRegion& region) {
  const auto& model = EngineAccess::engine(region);
  return {model ? model->clone() : nullptr};
}

}  // namespace

struct AllPointsIterator::Impl {
  ::Octree::Algorithm::QueryPointsIterator engine;
};

AllPointsIterator::AllPointsIterator() : impl_(std::make_unique<Impl>()) {}
AllPointsIterator::AllPointsIterator(const PointCloud& cloud, float minSpacing)
    : impl_(std::make_unique<Impl>(Impl{
          ::Octree::allPoints(EngineAccess::octree(cloud), EngineAccess::cache(cloud), minSpacing, {})})) {}
AllPointsIterator::AllPointsIterator(const AllPointsIterator& other)
    : impl_(std::make_unique<Impl>(*other.impl_)) {}
AllPointsIterator::AllPointsIterator(AllPointsIterator&& other) noexcept = default;
AllPointsIterator& AllPointsIterator::operator=(const AllPointsIterator& other) {
  if (this != &other) impl_ = std::make_unique<Impl>(*other.impl_);
  return *this;
}
AllPointsIterator& AllPointsIterator::operator=(AllPointsIterator&& other) noexcept = default;
AllPointsIterator::~AllPointsIterator() = default;

AllPointsIterator& AllPointsIterator::operator++() {
  ++impl_->engine;
  return *this;
}
AllPointsIterator AllPointsIterator::operator++(int) {
  AllPointsIterator before = *this;
  ++*this;
  return before;
}
PointChunk AllPointsIterator::operator*() const { return EngineAccess::chunk(*impl_->engine); }
bool AllPointsIterator::operator==(const AllPointsIterator& other) const {
  return impl_->engine == other.impl_->engine;
}

template <class Shape>
struct AllPointsInsideIterator<Shape>::Impl {
  using EngineShape = decltype(walkShape(std::declval<const Shape&>()));

  ::Octree::Algorithm::QueryPointsInsideIterator<EngineShape> engine;
};

template <class Shape>
AllPointsInsideIterator<Shape>::AllPointsInsideIterator() : impl_(std::make_unique<Impl>()) {}
template <class Shape>
AllPointsInsideIterator<Shape>::AllPointsInsideIterator(const PointCloud& cloud, const Shape& shape,
                                                        float minSpacing)
    : impl_(std::make_unique<Impl>(Impl{::Octree::allPointsInside(
          EngineAccess::octree(cloud), EngineAccess::cache(cloud), walkShape(shape), minSpacing, {})})) {}
template <class Shape>
AllPointsInsideIterator<Shape>::AllPointsInsideIterator(const AllPointsInsideIterator& other)
    : impl_(std::make_unique<Impl>(*other.impl_)) {}
template <class Shape>
AllPointsInsideIterator<Shape>::AllPointsInsideIterator(AllPointsInsideIterator&& other) noexcept = default;
template <class Shape>
AllPointsInsideIterator<Shape>& AllPointsInsideIterator<Shape>::operator=(
    const AllPointsInsideIterator& other) {
  if (this != &other) impl_ = std::make_unique<Impl>(*other.impl_);
  return *this;
}
template <class Shape>
AllPointsInsideIterator<Shape>& AllPointsInsideIterator<Shape>::operator=(
    AllPointsInsideIterator&& other) noexcept = default;
template <class Shape>
AllPointsInsideIterator<Shape>::~AllPointsInsideIterator() = default;

template <class Shape>
AllPointsInsideIterator<Shape>& AllPointsInsideIterator<Shape>::operator++() {
  ++impl_->engine;
  return *this;
}
template <class Shape>
AllPointsInsideIterator<Shape> AllPointsInsideIterator<Shape>::operator++(int) {
  AllPointsInsideIterator before = *this;
  ++*this;
  return before;
}
template <class Shape>
PointChunk AllPointsInsideIterator<Shape>::operator*() const {
  return EngineAccess::chunk(*impl_->engine);
}
template <class Shape>
bool AllPointsInsideIterator<Shape>::operator==(const AllPointsInsideIterator& other) const {
  return impl_->engine == other.impl_->engine;
}

template class AllPointsInsideIterator<BoundingBox>;
template class AllPointsInsideIterator<OrientedBoundingBox>;
template class AllPointsInsideIterator<Sphere>;
template class AllPointsInsideIterator<Cylinder>;
template class AllPointsInsideIterator<CylinderFinite>;
template class AllPointsInsideIterator<BoundingRectangle>;
template class AllPointsInsideIterator<OrientedBoundingRectangle>;
template class AllPointsInsideIterator<Circle>;
template class AllPointsInsideIterator<Polygon>;
template class AllPointsInsideIterator<ClippingRegion>;

AllPointsInsideBoundingBoxIterator allPointsInside(const PointCloud& cloud, const BoundingBox& shape,
                                                   float minSpacing) {
  return {cloud, shape, minSpacing};
}
AllPointsInsideOrientedBoundingBoxIterator allPointsInside(const PointCloud& cloud,
                                                           const OrientedBoundingBox& shape,
                                                           float minSpacing) {
  return {cloud, shape, minSpacing};
}
AllPointsInsideSphereIterator allPointsInside(const PointCloud& cloud, const Sphere& shape,
                                              float minSpacing) {
  return {cloud, shape, minSpacing};
}
AllPointsInsideCylinderIterator allPointsInside(const PointCloud& cloud, const Cylinder& shape,
                                                float minSpacing) {
  return {cloud, shape, minSpacing};
}
AllPointsInsideCylinderFiniteIterator allPointsInside(const PointCloud& cloud, const CylinderFinite& shape,
                                                      float minSpacing) {
  return {cloud, shape, minSpacing};
}
AllPointsInsideBoundingRectangleIterator allPointsInside(const PointCloud& cloud,
                                                         const BoundingRectangle& shape, float minSpacing) {
  return {cloud, shape, minSpacing};
}
AllPointsInsideOrientedBoundingRectangleIterator allPointsInside(const PointCloud& cloud,
                                                                 const OrientedBoundingRectangle& shape,
                                                                 float minSpacing) {
  return {cloud, shape, minSpacing};
}
AllPointsInsideCircleIterator allPointsInside(const PointCloud& cloud, const Circle& shape,
                                              float minSpacing) {
  return {cloud, shape, minSpacing};
}
AllPointsInsidePolygonIterator allPointsInside(const PointCloud& cloud, const Polygon& shape,
                                               float minSpacing) {
  return {cloud, shape, minSpacing};
}
AllPointsInsideClippingRegionIterator allPointsInside(const PointCloud& cloud, const ClippingRegion& region,
                                                      float minSpacing) {
  return {cloud, region, minSpacing};
}

}  // namespace Sorvik
