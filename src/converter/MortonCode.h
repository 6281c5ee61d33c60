#pragma once

#include <compare>
#include <cstdint>

namespace Converter {

/// Moves bit k of the low 16 bits of @p value to bit 3k; its higher bits are dropped.
[[nodiscard]] constexpr std::uint64_t spreadBits(std::uint32_t value) {
  std::uint64_t bits = value & 0xFFFFU;
  bits = (bits | bits << 16U) & 0x0000'0000'FF00'00FFU;
  bits = (bits | bits << 8U) & 0x0000'00F0'0F00'F00FU;
  bits = (bits | bits << 4U) & 0x0000'0C30'C30C'30C3U;
  bits = (bits | bits << 2U) & 0x0000'2492'4924'9249U;
  return bits;
}

/// Interleaves the low 16 bits of three values: bit 3k is bit k of @p a, 3k + 1 of @p b, 3k + 2 of @p c.
[[nodiscard]] constexpr std::uint64_t mortonCode(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  return spreadBits(a) | spreadBits(b) << 1U | spreadBits(c) << 2U;
}

/// A position as brotli nodes store it: bits 16 to 31 of x, y, z interleaved, then bits 0 to 15. Ordered
/// along the Z curve whose most significant axis is z.
struct PositionCode {
  std::uint64_t high = 0;
  std::uint64_t low = 0;

  auto operator<=>(const PositionCode&) const = default;

  /// Whether readers see the high half: they look at it only when its low word, or the low half's high word,
  /// has a bit set. Always true of positions below 2^26.
  [[nodiscard]] constexpr bool readable() const {
    return high == 0 || (high & 0xFFFF'FFFFU) != 0 || low >> 32U != 0;
  }
};

[[nodiscard]] constexpr PositionCode positionCode(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
  return {mortonCode(x >> 16U, y >> 16U, z >> 16U), mortonCode(x, y, z)};
}

}  // namespace Converter
