#include "regions/RegionShape.h"

#include "regions/ListRegions.h"

namespace Math {

bool overlaps(const RegionShape& shape, const NBoundingBox<float, 3>& box) {
  return !shape.region || shape.region->boxIntersects(box);
}

bool contains(const RegionShape& shape, const NBoundingBox<float, 3>& box) {
  return !shape.region || shape.region->boxInside(box);
}

template <>
void PointKdTree<float, 3>::search(const RegionShape& shape, std::vector<std::uint32_t>& indices) const {
  if (shape.region) return shape.region->search(*this, indices);
  IntersectionRegion().search(*this, indices);
}

}  // namespace Math
