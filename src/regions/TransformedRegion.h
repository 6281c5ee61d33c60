#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "regions/ListRegions.h"

namespace Math {

/// Another region, moved: points and boxes go through the inverse of a matrix before it is asked. Without an
/// inverse no point is inside. Its transformation is the matrix, so setting it leaves the other region alone.
class TransformedRegion final : public CompositeRegion {
 public:
  /// Of everything.
  TransformedRegion() : TransformedRegion(std::make_shared<IntersectionRegion>(), kIdentity4) {}
  /// @throws std::invalid_argument as CompositeRegion::append().
  TransformedRegion(Child child, const Matrix4<float>& transformation);

  [[nodiscard]] std::string_view typeName() const override { return "TransformedRegion"; }
  [[nodiscard]] std::unique_ptr<ClippingRegion<float>> clone() const override {
    return std::make_unique<TransformedRegion>(child().clone(), transformation_);
  }
  void setTransformation(const Matrix4<float>& matrix) override;

  [[nodiscard]] const ClippingRegion<float>& child() const { return *children().front(); }
  /// Takes another region in the place of the one before.
  /// @throws std::invalid_argument as CompositeRegion::append(), with nothing changed.
  void setChild(Child child) { replace(std::move(child)); }
  [[nodiscard]] const Matrix4<float>& transformation() const { return transformation_; }

 protected:
  [[nodiscard]] bool boxIntersectsImpl(const Box& box) const override;
  [[nodiscard]] bool pointInsideImpl(const Point<float, 3>& p) const override;
  [[nodiscard]] bool boxInsideImpl(const Box& box) const override;
  [[nodiscard]] bool equals(const ClippingRegion<float>& other) const override;
  void pointsInsideImpl(const PointBatch& batch, PointMask& inside) const override;

 private:
  Matrix4<float> transformation_ = kIdentity4;
  std::optional<HomogeneousMap> toChild_;  // none: the matrix has no inverse
};

}  // namespace Math
