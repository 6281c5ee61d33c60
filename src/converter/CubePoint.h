#pragma once

#include <bit>
#include <compare>
#include <cstdint>

namespace Converter {

/// A place in the octree's cube: per axis the share of its edge, in units of edge / 2^32. The highest bits of
/// the three coordinates are the child index below the root, the next ones that below it, and so on.
struct CubePoint {
  std::uint32_t x = 0;
  std::uint32_t y = 0;
  std::uint32_t z = 0;

  bool operator==(const CubePoint&) const = default;
};

/// The child index on the way from level @p level (0 to 31) to the next: bit 2 for x, 1 for y, 0 for z.
[[nodiscard]] constexpr unsigned childIndexAt(const CubePoint& p, unsigned level) {
  const unsigned shift = 31 - level;
  return (p.x >> shift & 1U) << 2U | (p.y >> shift & 1U) << 1U | (p.z >> shift & 1U);
}

/// Levels that a CellKey tells apart.
inline constexpr unsigned kKeyLevels = 21;

/// Moves bit k of the low 21 bits of @p value to bit 3k; its higher bits are dropped.
[[nodiscard]] constexpr std::uint64_t spread21(std::uint32_t value) {
  std::uint64_t bits = value & 0x1F'FFFFU;
  bits = (bits | bits << 32U) & 0x001F'0000'0000'FFFFU;
  bits = (bits | bits << 16U) & 0x001F'0000'FF00'00FFU;
  bits = (bits | bits << 8U) & 0x100F'00F0'0F00'F00FU;
  bits = (bits | bits << 4U) & 0x10C3'0C30'C30C'30C3U;
  bits = (bits | bits << 2U) & 0x1249'2492'4924'9249U;
  return bits;
}

/// The child indices from level @p level (at most 31) on, 21 of them, the first in the highest of 63 bits: an
/// order along the Z curve within a node of that level.
[[nodiscard]] constexpr std::uint64_t cellKey(const CubePoint& p, unsigned level) {
  constexpr unsigned kUnused = 32 - kKeyLevels;
  return spread21(p.x << level >> kUnused) << 2U | spread21(p.y << level >> kUnused) << 1U |
         spread21(p.z << level >> kUnused);
}

/// The order along the whole Z curve, in which x is the most significant axis.
[[nodiscard]] constexpr std::strong_ordering compareAlongCurve(const CubePoint& a, const CubePoint& b) {
  const std::uint32_t dx = a.x ^ b.x;
  const std::uint32_t dy = a.y ^ b.y;
  const std::uint32_t dz = a.z ^ b.z;
  // The axis whose highest differing bit is the highest decides; of equal ones the earlier axis.
  if (std::bit_width(dx) >= std::bit_width(dy) && std::bit_width(dx) >= std::bit_width(dz))
    return a.x <=> b.x;
  if (std::bit_width(dy) >= std::bit_width(dz)) return a.y <=> b.y;
  return a.z <=> b.z;
}

}  // namespace Converter
