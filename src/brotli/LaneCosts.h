#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "brotli/BitCost.h"

namespace Brotli {

/// A column of elements of @p stride bytes: bytes [begin, end) of the data, whole elements.
struct ColumnRange {
  std::size_t begin = 0;
  std::size_t end = 0;
  std::size_t stride = 1;

  [[nodiscard]] std::size_t numElements() const { return (end - begin) / stride; }
};

/// What the bytes of a column's elements cost as literals, by their place ("lane") in the element: the
/// entropy of the lane.
class LaneCosts {
 public:
  LaneCosts() = default;
  /// Estimates them from a sample of the column, which has elements.
  LaneCosts(std::span<const std::byte> data, const ColumnRange& column);

  /// The same where no literal costs less than @p least.
  [[nodiscard]] LaneCosts atLeast(Cost least) const;

  [[nodiscard]] Cost of(std::size_t lane) const { return sums_[lane + 1] - sums_[lane]; }
  [[nodiscard]] Cost ofElement() const { return sums_[stride_]; }
  /// Of @p length bytes from @p lane on.
  [[nodiscard]] Cost of(std::size_t lane, std::size_t length) const {
    const std::size_t end = lane + length;
    if (end < sums_.size()) return sums_[end] - sums_[lane];
    return static_cast<Cost>(end / stride_) * ofElement() + sums_[end % stride_] - sums_[lane];
  }

 private:
  /// So many lanes of the next elements are in the list, too: most questions need no division.
  static constexpr std::size_t kFurther = 16;

  void extend();

  std::size_t stride_ = 1;
  std::vector<Cost> sums_;  // of the lanes before
};

}  // namespace Brotli
