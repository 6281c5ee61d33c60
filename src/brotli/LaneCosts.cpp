#include "brotli/LaneCosts.h"

#include <algorithm>
#include <array>

namespace Brotli {
namespace {

constexpr std::size_t kMostSampled = 512;  // elements

}  // namespace

LaneCosts::LaneCosts(std::span<const std::byte> data, const ColumnRange& column) : stride_(column.stride) {
  const std::size_t step = column.numElements() / kMostSampled + 1;
  sums_.reserve(column.stride + 1 + kFurther);
  sums_.push_back(0);
  for (std::size_t lane = 0; lane < column.stride; ++lane) {
    std::array<std::uint32_t, 256> counts{};
    std::uint32_t sampled = 0;
    for (std::size_t i = column.begin + lane; i < column.end; i += step * column.stride, ++sampled) {
      ++counts[std::to_integer<std::size_t>(data[i])];
    }
    const bool constant =
        sampled == 0 || counts[std::to_integer<std::size_t>(data[column.begin + lane])] == sampled;
    sums_.push_back(sums_.back() + (constant ? 0 : entropyCost(counts) / sampled));
  }
  extend();
}

void LaneCosts::extend() {
  sums_.resize(stride_ + 1);
  for (std::size_t lane = 0; lane < kFurther; ++lane) sums_.push_back(sums_.back() + of(lane % stride_));
}

LaneCosts LaneCosts::atLeast(Cost least) const {
  LaneCosts raised = *this;
  for (std::size_t lane = 0; lane < stride_; ++lane) {
    raised.sums_[lane + 1] = raised.sums_[lane] + std::max(of(lane), least);
  }
  raised.extend();
  return raised;
}

}  // namespace Brotli
