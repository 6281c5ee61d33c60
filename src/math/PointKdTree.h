#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "math/BoundingBox.h"

namespace Math {

template <class T, int N>
class PointKdTree;

template <>
class PointKdTree<float, 3> {
 public:
  /// Builds over interleaved x, y, z.
  explicit PointKdTree(std::span<const float> positions);

  template <class Shape>
  void search(const Shape& shape, std::vector<std::uint32_t>& indices) const;

  [[nodiscard]] std::size_t byteSize() const { return 0; }
};

}  // namespace Math
