#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "math/Cylinder.h"
#include "math/Sphere.h"
#include "regions/ClippingRegion.h"
#include "regions/HalfSpace.h"

namespace Math {

/// What a solid shape holds, moved by a transformation: points and boxes go through its inverse to the shape.
/// Instantiated for HalfSpace, NSphere, NBoundingBox, Cylinder and CylinderFinite. A default-constructed one
/// holds the shape's default.
template <class Shape>
class VolumetricClippingRegion final : public ClippingRegion<float> {
 public:
  VolumetricClippingRegion() = default;
  explicit VolumetricClippingRegion(Shape shape) : shape_(std::move(shape)) {}
  VolumetricClippingRegion(Shape shape, const Matrix4<float>& transformation) : shape_(std::move(shape)) {
    VolumetricClippingRegion::setTransformation(transformation);
  }

  [[nodiscard]] std::string_view typeName() const override;
  [[nodiscard]] std::unique_ptr<ClippingRegion<float>> clone() const override {
    return std::make_unique<VolumetricClippingRegion>(shape_, transformation_);
  }
  void setTransformation(const Matrix4<float>& matrix) override;

  [[nodiscard]] const Shape& shape() const { return shape_; }
  [[nodiscard]] const Matrix4<float>& transformation() const { return transformation_; }

 protected:
  [[nodiscard]] bool boxIntersectsImpl(const Box& box) const override;
  [[nodiscard]] bool pointInsideImpl(const Point<float, 3>& p) const override;
  [[nodiscard]] bool boxInsideImpl(const Box& box) const override;
  [[nodiscard]] bool equals(const ClippingRegion<float>& other) const override;
  void pointsInsideImpl(const PointBatch& batch, PointMask& inside) const override;
  void searchImpl(const PointKdTree<float, 3>& tree, std::vector<std::uint32_t>& indices) const override;

 private:
  Shape shape_;
  Matrix4<float> transformation_ = kIdentity4;
  std::optional<HomogeneousMap> toShape_ = HomogeneousMap();  // none: the transformation has no inverse
};

}  // namespace Math
