#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "math/Polygon.h"
#include "math/Sphere.h"
#include "math/Viewport.h"
#include "regions/BatchKernels.h"
#include "regions/ClippingRegion.h"
#include "regions/ImageSegmentation.h"
#include "regions/PolygonRows.h"

namespace Math {

/// The part of an image that a view-projection maps into, in pixels, with the depths that are kept. Depths
/// are whole numbers: the default keeps those from 0 to 1.
struct RegionViewport {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::uint64_t width = 640;
  std::uint64_t height = 480;
  std::uint64_t minimumDepth = 0;
  std::uint64_t maximumDepth = 1;

  /// Depths lose their fractions; what lies below 0, NaN too, becomes 0, what lies above the range its end.
  [[nodiscard]] static RegionViewport of(const Viewport& viewport);

  bool operator==(const RegionViewport&) const = default;
};

/// What is drawn on an image as a plane shape: points and boxes are projected into the image, and the shape
/// is asked of their pixels. Instantiated for Polygon, NSphere and NBoundingBox of the plane, and
/// ImageSegmentation.
///
/// A point goes through (view-projection × inverse transformation); its depth must not lie outside the
/// viewport's depths; then device coordinates become pixels, y = +1 the top row, and the shape is asked.
template <class Shape>
class ProjectedClippingRegion final : public ClippingRegion<float> {
 public:
  ProjectedClippingRegion() = default;
  ProjectedClippingRegion(Shape shape, const RegionViewport& viewport, const Matrix4<float>& viewProjection,
                          const Matrix4<float>& transformation = kIdentity4);

  [[nodiscard]] std::string_view typeName() const override;
  [[nodiscard]] std::unique_ptr<ClippingRegion<float>> clone() const override {
    return std::make_unique<ProjectedClippingRegion>(shape_, viewport_, viewProjection_, transformation_);
  }
  void setTransformation(const Matrix4<float>& matrix) override;

  [[nodiscard]] const Shape& shape() const { return shape_; }
  [[nodiscard]] const RegionViewport& viewport() const { return viewport_; }
  [[nodiscard]] const Matrix4<float>& viewProjection() const { return viewProjection_; }
  [[nodiscard]] const Matrix4<float>& transformation() const { return transformation_; }

 protected:
  [[nodiscard]] bool boxIntersectsImpl(const Box& box) const override;
  [[nodiscard]] bool pointInsideImpl(const Point<float, 3>& p) const override;
  [[nodiscard]] bool boxInsideImpl(const Box& box) const override;
  [[nodiscard]] bool equals(const ClippingRegion<float>& other) const override;
  void pointsInsideImpl(const PointBatch& batch, PointMask& inside) const override;

 private:
  [[nodiscard]] PixelScale pixelScale() const;
  [[nodiscard]] std::optional<Box> pixelBounds(const Box& device) const;
  void testPixels(const PointBatch& pixels, PointMask& inside) const;

  Shape shape_;
  RegionViewport viewport_;
  Matrix4<float> viewProjection_ = kIdentity4;
  Matrix4<float> transformation_ = kIdentity4;
  std::optional<HomogeneousMap> toDevice_ = HomogeneousMap();  // none: the transformation has no inverse
  PolygonRows rows_;                                           // of a polygon with many vertices
};

}  // namespace Math
