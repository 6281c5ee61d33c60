#pragma once

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>

namespace Formats::Laz {

/// Bits of the scale of symbol probabilities: 1 is 2^15.
inline constexpr unsigned kProbabilityBits = 15;

/// How likely each of 2 to Capacity symbols is, learnt from those that were coded so far. Encoder and decoder
/// hold one each and do the same with it, for every symbol: prepare(), use the distribution, count(symbol).
/// Being made or reset costs nothing; the first prepare() does the work.
template <std::size_t Capacity>
class SymbolModel {
 public:
  static_assert(Capacity >= 2 && Capacity <= 2048);

  explicit SymbolModel(std::size_t numSymbols = Capacity)
      : numSymbols_(static_cast<std::uint32_t>(numSymbols)) {
    assert(numSymbols >= 2 && numSymbols <= Capacity);
  }

  /// All symbols are equally likely again.
  void reset() { total_ = untilUpdate_ = 0; }

  /// Brings the distribution up to date where it is due.
  /// @return whether the distribution has changed.
  bool prepare() {
    if (untilUpdate_ != 0) [[likely]]
      return false;
    update();
    return true;
  }

  void count(std::size_t symbol) {
    ++counts_[symbol];
    --untilUpdate_;
  }

  [[nodiscard]] std::size_t numSymbols() const { return numSymbols_; }

  /// The probability of all symbols below @p symbol, in 2^-15. That of numSymbols() is 2^15, but the last
  /// symbol takes what is left of a range, rounded or not.
  [[nodiscard]] std::uint32_t below(std::size_t symbol) const { return below_[symbol]; }

 private:
  static constexpr std::uint32_t kMostTotal = 1U << kProbabilityBits;

  void update() {
    const std::uint32_t n = numSymbols_;
    if (total_ == 0) {
      std::fill_n(counts_.begin(), n, std::uint16_t{1});
      total_ = n;
      cycle_ = (n + 6) >> 1U;
    } else {
      total_ += cycle_;
      if (total_ > kMostTotal) halve();
      cycle_ = std::min(cycle_ * 5 >> 2U, (n + 6) * 8);
    }
    const std::uint32_t scale = (1U << 31U) / total_;
    std::uint32_t sum = 0;
    for (std::uint32_t k = 0; k < n; ++k) {
      below_[k] = static_cast<std::uint16_t>(scale * sum >> 16U);
      sum += counts_[k];
    }
    below_[n] = 1U << kProbabilityBits;
    untilUpdate_ = cycle_;
  }

  void halve() {
    total_ = 0;
    for (std::uint32_t k = 0; k < numSymbols_; ++k) {
      counts_[k] = static_cast<std::uint16_t>((counts_[k] + 1) >> 1U);
      total_ += counts_[k];
    }
  }

  std::uint32_t numSymbols_;
  std::uint32_t untilUpdate_ = 0;                  // symbols until the distribution is brought up to date
  std::uint32_t total_ = 0;                        // of the counts at the last update; 0 before the first
  std::uint32_t cycle_ = 0;                        // symbols between the last update and the next
  std::array<std::uint16_t, Capacity + 1> below_;  // valid after the first update, as the counts are
  std::array<std::uint16_t, Capacity> counts_;
};

}  // namespace Formats::Laz
