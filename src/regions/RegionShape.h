#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "math/PointKdTree.h"
#include "regions/ClippingRegion.h"

namespace Math {

/// A region as trees and walks want their shapes: with box tests and a search for points. Without a region:
/// everything.
struct RegionShape {
  std::shared_ptr<const ClippingRegion<float>> region;
};

[[nodiscard]] bool overlaps(const RegionShape& shape, const NBoundingBox<float, 3>& box);
[[nodiscard]] bool contains(const RegionShape& shape, const NBoundingBox<float, 3>& box);

template <>
void PointKdTree<float, 3>::search(const RegionShape& shape, std::vector<std::uint32_t>& indices) const;

}  // namespace Math
