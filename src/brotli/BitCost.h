#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Brotli {

/// Estimated sizes, in units of 1 / kBitCost bits. Integers alone, so that all machines choose alike.
using Cost = std::int64_t;
inline constexpr unsigned kCostFraction = 12;
inline constexpr Cost kBitCost = Cost{1} << kCostFraction;

namespace Detail {

/// The logarithm to the base 2, digit by digit: squaring doubles it.
constexpr std::uint32_t slowLog2(std::uint32_t n) {
  const auto whole = static_cast<std::uint32_t>(std::bit_width(n)) - 1;
  std::uint64_t mantissa = (std::uint64_t{n} << 31U) >> whole;
  std::uint32_t result = whole;
  for (unsigned i = 0; i < kCostFraction; ++i) {
    mantissa = (mantissa * mantissa) >> 31U;
    const bool doubled = (mantissa >> 32U) != 0;
    result = result << 1U | (doubled ? 1U : 0U);
    if (doubled) mantissa >>= 1U;
  }
  return result;
}

inline constexpr unsigned kTableBits = 11;
constexpr auto log2Table() {
  std::array<std::uint16_t, std::size_t{1} << kTableBits> table{};
  for (std::uint32_t n = 1; n < table.size(); ++n) table[n] = static_cast<std::uint16_t>(slowLog2(n));
  return table;
}
inline constexpr auto kLog2Table = log2Table();

}  // namespace Detail

/// The logarithm of @p n to the base 2 as a cost; 0 for 0.
[[nodiscard]] inline Cost log2Cost(std::uint32_t n) {
  const auto width = static_cast<int>(std::bit_width(n));
  if (width <= static_cast<int>(Detail::kTableBits)) return Detail::kLog2Table[n];
  const int shift = width - static_cast<int>(Detail::kTableBits);
  return Detail::kLog2Table[n >> shift] + static_cast<Cost>(shift) * kBitCost;
}

[[nodiscard]] inline Cost nLog2Cost(std::uint32_t n) { return static_cast<Cost>(n) * log2Cost(n); }

/// What symbols of these counts take when each takes as many bits as its share of them says (Shannon 1948).
[[nodiscard]] inline Cost entropyCost(std::span<const std::uint32_t> counts) {
  std::uint32_t total = 0;
  Cost sum = 0;
  for (const std::uint32_t count : counts) {
    total += count;
    if (count != 0) sum += nLog2Cost(count);
  }
  return nLog2Cost(total) - sum;
}

}  // namespace Brotli
