#pragma once

#include <algorithm>
#include <cstdint>

namespace Formats::Laz {

/// How likely a bit is 0, learnt from those that were coded so far. Encoder and decoder hold one each and do
/// the same with it.
class BitModel {
 public:
  static constexpr unsigned kProbabilityBits = 13;

  void reset() { *this = BitModel(); }

  /// The probability of a 0, in 2^-13.
  [[nodiscard]] std::uint32_t ofZero() const { return ofZero_; }

  void count(bool bit) {
    if (!bit) ++zeros_;
    if (--untilUpdate_ == 0) update();
  }

 private:
  void update() {
    total_ += cycle_;
    if (total_ > 1U << kProbabilityBits) {
      total_ = (total_ + 1) >> 1U;
      zeros_ = (zeros_ + 1) >> 1U;
      if (zeros_ == total_) ++total_;
    }
    ofZero_ = zeros_ * ((1U << 31U) / total_) >> 18U;
    cycle_ = std::min(cycle_ * 5 >> 2U, 64U);
    untilUpdate_ = cycle_;
  }

  std::uint32_t zeros_ = 1;
  std::uint32_t total_ = 2;
  std::uint32_t ofZero_ = 4096;
  std::uint32_t cycle_ = 4;
  std::uint32_t untilUpdate_ = 4;
};

}  // namespace Formats::Laz
