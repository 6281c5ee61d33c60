#pragma once

#include <cstddef>
#include <iterator>
#include <memory>

#include "Sorvik/BoundingBox.h"
#include "Sorvik/BoundingRectangle.h"
#include "Sorvik/Circle.h"
#include "Sorvik/ClippingRegion.h"
#include "Sorvik/Cylinder.h"
#include "Sorvik/CylinderFinite.h"
#include "Sorvik/Export.h"
#include "Sorvik/OrientedBoundingBox.h"
#include "Sorvik/OrientedBoundingRectangle.h"
#include "Sorvik/PointChunk.h"
#include "Sorvik/PointCloud.h"
#include "Sorvik/Polygon.h"
#include "Sorvik/Sphere.h"

namespace Sorvik {

/// Walks all points of a cloud, one chunk a node, coarse levels first. An iterator is the range and its
/// cursor at once:
///
///     for (const PointChunk& chunk : AllPointsIterator(cloud, 0)) use(chunk.positions());
///
/// A node that cannot be read gives an empty chunk (PointCloud::unreadableNodes() says why) and the walk goes
/// on. Copies are independent walks from the same place; they share the cloud and its cache. A moved-from
/// iterator may only be destroyed or assigned to.
/// Threads: one iterator belongs to one thread; iterators over one cloud may run on many.
class SORVIK_API AllPointsIterator {
 public:
  using value_type = PointChunk;
  using difference_type = std::ptrdiff_t;
  using iterator_category = std::input_iterator_tag;

  /// The end of every walk.
  AllPointsIterator();
  /// On the first node.
  /// @param minSpacing  level of detail in cloud units: the walk does not go below a node whose spacing,
  ///                    halved, is less than this; 0 visits every level.
  AllPointsIterator(const PointCloud& cloud, float minSpacing);
  AllPointsIterator(const AllPointsIterator& other);
  AllPointsIterator(AllPointsIterator&& other) noexcept;
  AllPointsIterator& operator=(const AllPointsIterator& other);
  AllPointsIterator& operator=(AllPointsIterator&& other) noexcept;
  ~AllPointsIterator();

  [[nodiscard]] const AllPointsIterator& begin() const { return *this; }
  [[nodiscard]] AllPointsIterator end() const { return {}; }

  /// Moves to the next node.
  /// @throws std::runtime_error "Failed to fetch node by id" when the part of the hierarchy below the new
  /// node
  ///         cannot be read; a further step goes on behind it. Another one when the hierarchy names more
  ///         nodes than it can hold; the walk is then at its end.
  AllPointsIterator& operator++();
  AllPointsIterator operator++(int);

  /// The points of the current node, loaded now if they are not yet. Not at the end.
  [[nodiscard]] PointChunk operator*() const;

  /// Whether both stand on the same node of the same cloud, or both are at the end.
  [[nodiscard]] bool operator==(const AllPointsIterator& other) const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// Walks the points of a cloud inside a shape (2-D shapes: whose x and y lie in it), one chunk a node that
/// meets the shape. The shape is copied; its coordinates are those of the octree frame. A node that lies
/// wholly inside is handed out as the cached points themselves. All else is as for AllPointsIterator.
///
/// The shape may be a clipping region: its model is copied, too, so that later changes are not seen.
template <class Shape>
class SORVIK_API AllPointsInsideIterator {
 public:
  using value_type = PointChunk;
  using difference_type = std::ptrdiff_t;
  using iterator_category = std::input_iterator_tag;

  AllPointsInsideIterator();
  AllPointsInsideIterator(const PointCloud& cloud, const Shape& shape, float minSpacing);
  AllPointsInsideIterator(const AllPointsInsideIterator& other);
  AllPointsInsideIterator(AllPointsInsideIterator&& other) noexcept;
  AllPointsInsideIterator& operator=(const AllPointsInsideIterator& other);
  AllPointsInsideIterator& operator=(AllPointsInsideIterator&& other) noexcept;
  ~AllPointsInsideIterator();

  [[nodiscard]] const AllPointsInsideIterator& begin() const { return *this; }
  [[nodiscard]] AllPointsInsideIterator end() const { return {}; }

  AllPointsInsideIterator& operator++();
  AllPointsInsideIterator operator++(int);

  [[nodiscard]] PointChunk operator*() const;

  [[nodiscard]] bool operator==(const AllPointsInsideIterator& other) const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

using AllPointsInsideBoundingBoxIterator = AllPointsInsideIterator<BoundingBox>;
using AllPointsInsideOrientedBoundingBoxIterator = AllPointsInsideIterator<OrientedBoundingBox>;
using AllPointsInsideSphereIterator = AllPointsInsideIterator<Sphere>;
using AllPointsInsideCylinderIterator = AllPointsInsideIterator<Cylinder>;
using AllPointsInsideCylinderFiniteIterator = AllPointsInsideIterator<CylinderFinite>;
using AllPointsInsideBoundingRectangleIterator = AllPointsInsideIterator<BoundingRectangle>;
using AllPointsInsideOrientedBoundingRectangleIterator = AllPointsInsideIterator<OrientedBoundingRectangle>;
using AllPointsInsideCircleIterator = AllPointsInsideIterator<Circle>;
using AllPointsInsidePolygonIterator = AllPointsInsideIterator<Polygon>;
using AllPointsInsideClippingRegionIterator = AllPointsInsideIterator<ClippingRegion>;

extern template class AllPointsInsideIterator<BoundingBox>;
extern template class AllPointsInsideIterator<OrientedBoundingBox>;
extern template class AllPointsInsideIterator<Sphere>;
extern template class AllPointsInsideIterator<Cylinder>;
extern template class AllPointsInsideIterator<CylinderFinite>;
extern template class AllPointsInsideIterator<BoundingRectangle>;
extern template class AllPointsInsideIterator<OrientedBoundingRectangle>;
extern template class AllPointsInsideIterator<Circle>;
extern template class AllPointsInsideIterator<Polygon>;
extern template class AllPointsInsideIterator<ClippingRegion>;

// A walk over the points inside the shape, on its first node.
[[nodiscard]] SORVIK_API AllPointsInsideBoundingBoxIterator allPointsInside(const PointCloud& cloud,
                                                                            const BoundingBox& shape,
                                                                            float minSpacing);
[[nodiscard]] SORVIK_API AllPointsInsideOrientedBoundingBoxIterator
allPointsInside(const PointCloud& cloud, const OrientedBoundingBox& shape, float minSpacing);
[[nodiscard]] SORVIK_API AllPointsInsideSphereIterator allPointsInside(const PointCloud& cloud,
                                                                       const Sphere& shape, float minSpacing);
[[nodiscard]] SORVIK_API AllPointsInsideCylinderIterator allPointsInside(const PointCloud& cloud,
                                                                         const Cylinder& shape,
                                                                         float minSpacing);
[[nodiscard]] SORVIK_API AllPointsInsideCylinderFiniteIterator allPointsInside(const PointCloud& cloud,
                                                                               const CylinderFinite& shape,
                                                                               float minSpacing);
[[nodiscard]] SORVIK_API AllPointsInsideBoundingRectangleIterator
allPointsInside(const PointCloud& cloud, const BoundingRectangle& shape, float minSpacing);
[[nodiscard]] SORVIK_API AllPointsInsideOrientedBoundingRectangleIterator
allPointsInside(const PointCloud& cloud, const OrientedBoundingRectangle& shape, float minSpacing);
[[nodiscard]] SORVIK_API AllPointsInsideCircleIterator allPointsInside(const PointCloud& cloud,
                                                                       const Circle& shape, float minSpacing);
[[nodiscard]] SORVIK_API AllPointsInsidePolygonIterator allPointsInside(const PointCloud& cloud,
                                                                        const Polygon& shape,
                                                                        float minSpacing);
[[nodiscard]] SORVIK_API AllPointsInsideClippingRegionIterator allPointsInside(const PointCloud& cloud,
                                                                               const ClippingRegion& region,
                                                                               float minSpacing);

}  // namespace Sorvik
