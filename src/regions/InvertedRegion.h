#pragma once

#include <memory>
#include <string_view>
#include <utility>

#include "regions/ListRegions.h"

namespace Math {

/// What does not lie in another region.
class InvertedRegion final : public CompositeRegion {
 public:
  /// Of everything.
  InvertedRegion() : InvertedRegion(std::make_shared<IntersectionRegion>()) {}
  /// @throws std::invalid_argument as CompositeRegion::append().
  explicit InvertedRegion(Child child) { append(std::move(child)); }

  [[nodiscard]] std::string_view typeName() const override { return "InvertedRegion"; }
  [[nodiscard]] std::unique_ptr<ClippingRegion<float>> clone() const override {
    return std::make_unique<InvertedRegion>(child().clone());
  }

  [[nodiscard]] const ClippingRegion<float>& child() const { return *children().front(); }
  /// Takes another region in the place of the one before.
  /// @throws std::invalid_argument as CompositeRegion::append(), with nothing changed.
  void setChild(Child child) { replace(std::move(child)); }

 protected:
  [[nodiscard]] bool boxIntersectsImpl(const Box& box) const override { return !child().boxInside(box); }
  [[nodiscard]] bool pointInsideImpl(const Point<float, 3>& p) const override {
    return !child().pointInside(p);
  }
  [[nodiscard]] bool boxInsideImpl(const Box& box) const override { return !child().boxIntersects(box); }
  void pointsInsideImpl(const PointBatch& batch, PointMask& inside) const override {
    child().pointsInside(batch, inside);
    inside.invert();
  }
};

}  // namespace Math
