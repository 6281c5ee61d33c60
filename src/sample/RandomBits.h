#pragma once

#include <cstdint>

namespace Sample {

/// A bijection of 64 bits in which every input bit moves about half of the output bits (the finaliser of
/// SplitMix64: Steele, Lea, Flood, "Fast splittable pseudorandom number generators", 2014).
[[nodiscard]] constexpr std::uint64_t mixBits(std::uint64_t value) {
  value = (value ^ value >> 30U) * 0xbf58476d1ce4e5b9U;
  value = (value ^ value >> 27U) * 0x94d049bb133111ebU;
  return value ^ value >> 31U;
}

/// The top 53 bits as a number in [0, 1).
[[nodiscard]] constexpr double toUnit(std::uint64_t bits) {
  return static_cast<double>(bits >> 11U) * 0x1p-53;
}

/// SplitMix64: pseudorandom numbers that are the same on every machine.
class RandomBits {
 public:
  explicit constexpr RandomBits(std::uint64_t seed) : state_(seed) {}

  constexpr std::uint64_t next() { return mixBits(state_ += 0x9e3779b97f4a7c15U); }

  /// In [0, 1).
  constexpr double unit() { return toUnit(next()); }

 private:
  std::uint64_t state_;
};

}  // namespace Sample
