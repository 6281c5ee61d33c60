#pragma once

#include <memory>

#include "math/BoundingBox.h"
#include "math/Cylinder.h"
#include "math/OrientedBoundingBox.h"
#include "math/Plane.h"
#include "math/Polygon.h"
#include "math/Sphere.h"
#include "math/Viewport.h"
#include "octree/OctreeNodeCache.h"
#include "regions/ClippingRegion.h"

namespace Math {
class ClassificationInfo;
class Transformation;
}  // namespace Math
namespace Octree {
class Location;
}

namespace Sorvik {

class BoundingBox;
class BoundingRectangle;
class Circle;
class ClassificationInfo;
class ClippingRegion;
class Cylinder;
class CylinderFinite;
class Location;
class OrientedBoundingBox;
class OrientedBoundingRectangle;
class Plane;
class PointChunk;
class PointCloud;
class Polygon;
class Sphere;
class Transformation;
class Viewport;

/// The door from a public object to the engine value it holds, for the other façades. Each reference is valid
/// until the object is assigned to or destroyed.
struct EngineAccess {
  [[nodiscard]] static const ::Math::NBoundingBox<float, 3>& engine(const BoundingBox& box);
  [[nodiscard]] static const ::Math::NBoundingBox<float, 2>& engine(const BoundingRectangle& rectangle);
  [[nodiscard]] static const ::Math::NSphere<float, 2>& engine(const Circle& circle);
  [[nodiscard]] static const ::Math::ClassificationInfo& engine(const ClassificationInfo& info);
  [[nodiscard]] static const ::Math::Cylinder<float>& engine(const Cylinder& cylinder);
  [[nodiscard]] static const ::Math::CylinderFinite<float>& engine(const CylinderFinite& cylinder);
  [[nodiscard]] static const ::Math::NOrientedBoundingBox<float, 3>& engine(const OrientedBoundingBox& box);
  [[nodiscard]] static const ::Math::NOrientedBoundingBox<float, 2>& engine(
      const OrientedBoundingRectangle& rectangle);
  [[nodiscard]] static const ::Math::Plane<float>& engine(const Plane& plane);
  [[nodiscard]] static const ::Math::Polygon<float>& engine(const Polygon& polygon);
  [[nodiscard]] static const ::Math::NSphere<float, 3>& engine(const Sphere& sphere);
  [[nodiscard]] static const ::Math::Transformation& engine(const Transformation& transformation);
  [[nodiscard]] static const ::Math::Viewport& engine(const Viewport& viewport);

  /// Null: every point is inside.
  [[nodiscard]] static const std::shared_ptr<::Math::ClippingRegion<float>>& engine(
      const ClippingRegion& region);
  [[nodiscard]] static std::shared_ptr<::Octree::Location>& engine(Location& location);
  [[nodiscard]] static const std::shared_ptr<::Octree::Location>& engine(const Location& location);
  [[nodiscard]] static const std::shared_ptr<::Octree::Octree>& octree(const PointCloud& cloud);
  [[nodiscard]] static const std::shared_ptr<::Octree::OctreeNodeCache>& cache(const PointCloud& cloud);
  /// A chunk that shares @p entry.
  [[nodiscard]] static PointChunk chunk(const std::shared_ptr<::Octree::OctreeNodeCache::CacheEntry>& entry);
};

}  // namespace Sorvik
