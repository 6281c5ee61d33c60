#pragma once

#include <memory>
#include <string_view>
#include <utility>

#include "regions/CompositeRegion.h"

namespace Math {

/// A composite of any number of regions, in order.
class ListRegion : public CompositeRegion {
 public:
  using CompositeRegion::append;
  using CompositeRegion::clear;

 protected:
  void appendClones(const ListRegion& other) {
    for (const Child& child : other.children()) append(child->clone());
  }
  /// A list of one region is that region.
  void searchImpl(const PointKdTree<float, 3>& tree, std::vector<std::uint32_t>& indices) const override;
};

/// What lies in all its regions, which are asked in order up to the first no. Without regions: everything.
class IntersectionRegion final : public ListRegion {
 public:
  [[nodiscard]] std::string_view typeName() const override { return "IntersectionRegion"; }
  [[nodiscard]] std::unique_ptr<ClippingRegion<float>> clone() const override;

 protected:
  [[nodiscard]] bool boxIntersectsImpl(const Box& box) const override;
  [[nodiscard]] bool pointInsideImpl(const Point<float, 3>& p) const override;
  [[nodiscard]] bool boxInsideImpl(const Box& box) const override;
  void pointsInsideImpl(const PointBatch& batch, PointMask& inside) const override;
};

/// What lies in one of its regions, which are asked in order up to the first yes. Without regions: nothing.
class UnionRegion final : public ListRegion {
 public:
  [[nodiscard]] std::string_view typeName() const override { return "UnionRegion"; }
  [[nodiscard]] std::unique_ptr<ClippingRegion<float>> clone() const override;

 protected:
  [[nodiscard]] bool boxIntersectsImpl(const Box& box) const override;
  [[nodiscard]] bool pointInsideImpl(const Point<float, 3>& p) const override;
  [[nodiscard]] bool boxInsideImpl(const Box& box) const override;
  void pointsInsideImpl(const PointBatch& batch, PointMask& inside) const override;
};

}  // namespace Math
