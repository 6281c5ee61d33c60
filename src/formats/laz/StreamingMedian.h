#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Formats::Laz {

/// About the median of the last five numbers: of five sorted ones, which begin as 0, each new number pushes
/// out the largest or the smallest, in turns that depend on which side of the median it comes in.
class StreamingMedian {
 public:
  [[nodiscard]] std::int32_t get() const { return sorted_[2]; }

  void add(std::int32_t value) {
    const std::int32_t median = sorted_[2];
    if (dropsLargest_) {
      std::size_t at = 4;
      for (; at > 0 && sorted_[at - 1] > value; --at) sorted_[at] = sorted_[at - 1];
      sorted_[at] = value;
      if (value >= median) dropsLargest_ = false;
    } else {
      std::size_t at = 0;
      for (; at < 4 && sorted_[at + 1] < value; ++at) sorted_[at] = sorted_[at + 1];
      sorted_[at] = value;
      if (value <= median) dropsLargest_ = true;
    }
  }

 private:
  std::array<std::int32_t, 5> sorted_{};
  bool dropsLargest_ = true;
};

}  // namespace Formats::Laz
