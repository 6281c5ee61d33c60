#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace Brotli {

/// A value as a symbol and the bits that follow it.
struct ExtraBits {
  std::uint32_t value = 0;
  unsigned count = 0;
};

/// The ranges of a table of lengths: range i begins at base[i] and has 2^bits[i] values.
template <std::size_t Size>
struct LengthRanges {
  std::array<std::uint32_t, Size> base;
  std::array<std::uint8_t, Size> bits;

  [[nodiscard]] constexpr std::size_t codeOf(std::uint32_t length) const {
    std::size_t code = Size - 1;
    while (base[code] > length) --code;
    return code;
  }
  [[nodiscard]] constexpr ExtraBits extra(std::size_t code, std::uint32_t length) const {
    return {length - base[code], bits[code]};
  }
};

template <std::size_t Size>
[[nodiscard]] constexpr LengthRanges<Size> lengthRanges(std::uint32_t first,
                                                        std::array<std::uint8_t, Size> bits) {
  LengthRanges<Size> ranges{{}, bits};
  for (std::size_t i = 0; i < Size; ++i) {
    ranges.base[i] = first;
    first += std::uint32_t{1} << bits[i];
  }
  return ranges;
}

/// RFC 7932, section 5.
inline constexpr auto kInsertRanges =
    lengthRanges<24>(0, {0, 0, 0, 0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 7, 8, 9, 10, 12, 14, 24});
inline constexpr auto kCopyRanges =
    lengthRanges<24>(2, {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 7, 8, 9, 10, 24});

/// RFC 7932, section 6.
inline constexpr auto kBlockCountRanges =
    lengthRanges<26>(1, {2, 2, 2, 2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 6, 6, 7, 8, 9, 10, 11, 12, 13, 24});

/// The codes of small lengths, by table.
template <std::size_t TableSize, std::size_t Size>
[[nodiscard]] constexpr std::array<std::uint8_t, TableSize> smallCodes(const LengthRanges<Size>& ranges) {
  std::array<std::uint8_t, TableSize> table{};
  for (std::uint32_t length = 0; length < TableSize; ++length) {
    table[length] = static_cast<std::uint8_t>(length < ranges.base[0] ? 0 : ranges.codeOf(length));
  }
  return table;
}

inline constexpr auto kSmallInsertCodes = smallCodes<128>(kInsertRanges);
inline constexpr auto kSmallCopyCodes = smallCodes<128>(kCopyRanges);

[[nodiscard]] inline std::size_t insertCode(std::uint32_t length) {
  return length < kSmallInsertCodes.size() ? kSmallInsertCodes[length] : kInsertRanges.codeOf(length);
}

/// @param length  at least 2.
[[nodiscard]] inline std::size_t copyCode(std::uint32_t length) {
  return length < kSmallCopyCodes.size() ? kSmallCopyCodes[length] : kCopyRanges.codeOf(length);
}

/// The symbol of an insert and a copy code (RFC 7932, section 5).
/// @param lastDistance  the copy is from the last distance, without a symbol of its own; only for insert
/// codes
///                      below 8 and copy codes below 16.
[[nodiscard]] inline std::uint16_t commandSymbol(std::size_t insert, std::size_t copy, bool lastDistance) {
  const std::size_t low = (insert & 7U) << 3U | (copy & 7U);
  if (lastDistance) return static_cast<std::uint16_t>((copy >> 3U) << 6U | low);
  constexpr std::array<std::array<std::uint16_t, 3>, 3> kCells{
      {{128, 192, 384}, {256, 320, 512}, {448, 576, 640}}};
  return static_cast<std::uint16_t>(kCells[insert >> 3U][copy >> 3U] + low);
}

/// Distances in groups that share a symbol, distances of equal remainder by a power of two together (RFC
/// 7932, section 4; no direct codes).
struct DistanceCodes {
  static constexpr std::size_t kNumShort = 16;
  static constexpr unsigned kMostPostfixBits = 3;
  static constexpr std::size_t kMostSymbols = kNumShort + (std::size_t{48} << kMostPostfixBits);

  unsigned postfixBits = 0;

  [[nodiscard]] std::size_t numSymbols() const { return kNumShort + (std::size_t{48} << postfixBits); }

  struct Code {
    std::uint16_t symbol = 0;
    ExtraBits extra;
  };
  /// @param distance  at least 1.
  [[nodiscard]] Code codeOf(std::uint32_t distance) const {
    const std::uint32_t shifted = distance - 1 + (std::uint32_t{4} << postfixBits);
    const unsigned extraBits = static_cast<unsigned>(std::bit_width(shifted >> postfixBits)) - 2;
    const std::uint32_t half = (shifted >> (postfixBits + extraBits)) & 1U;
    const std::uint32_t postfix = shifted & ((1U << postfixBits) - 1);
    return {static_cast<std::uint16_t>(kNumShort + ((2 * (extraBits - 1) + half) << postfixBits) + postfix),
            {(shifted >> postfixBits) & ((1U << extraBits) - 1), extraBits}};
  }
};

}  // namespace Brotli
