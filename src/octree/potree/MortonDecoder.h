#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace PoTree {

/// One position code: 16 bytes, the Morton code of the coordinates' high 16 bits before that of their low 16
/// bits, bit 3k of a code being bit k of x, bit 3k + 1 of y, bit 3k + 2 of z. The high half counts only when
/// the first or the last of the four 32-bit words is not zero: files in use rely on it.
inline constexpr std::size_t kPositionCodeSize = 16;
/// One colour code: the 8-byte Morton code of three 16-bit components, red in bit 0.
inline constexpr std::size_t kColorCodeSize = 8;

/// The plain form of one position, which decodeMortonPositions equals.
[[nodiscard]] std::array<std::uint32_t, 3> decodeMortonPosition(const std::byte* code);

/// Decodes codes.size() / 16 positions to x, y, z each. @p xyz holds at least three values a code (not
/// checked).
void decodeMortonPositions(std::span<const std::byte> codes, std::span<std::uint32_t> xyz);

/// Decodes codes.size() / 8 colours to r, g, b each. @p rgb holds at least three values a code (not checked).
void decodeMortonColors(std::span<const std::byte> codes, std::span<std::uint16_t> rgb);

}  // namespace PoTree
