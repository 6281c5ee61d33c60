#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "brotli/BitWriter.h"

namespace Brotli {

/// The largest alphabet, that of insert-and-copy lengths.
inline constexpr std::size_t kLargestAlphabet = 704;

/// A prefix code of an alphabet (RFC 7932, section 3), ready for writing.
class PrefixCode {
 public:
  static constexpr unsigned kLongest = 15;

  /// Makes the shortest code of at most kLongest bits for symbols that occur as often as @p counts says, and
  /// writes its description (section 3.4 and 3.5). A symbol that occurs alone takes no bits. The code is
  /// Huffman's (1952); where that is too long, rare symbols count for more until it is not.
  /// @param counts  of the alphabet's symbols, at most kLargestAlphabet, their sum below 2^31.
  /// @param out     has room for mostDescriptionBits(counts.size()).
  void describe(std::span<const std::uint32_t> counts, BitWriter& out);

  /// Of a symbol that occurs.
  [[nodiscard]] unsigned length(std::size_t symbol) const { return entries_[symbol].length; }
  [[nodiscard]] std::uint32_t bits(std::size_t symbol) const { return entries_[symbol].bits; }

  void add(BitCursor& out, std::size_t symbol) const {
    out.add(entries_[symbol].bits, entries_[symbol].length);
  }
  void write(BitWriter& out, std::size_t symbol) const {
    out.write(entries_[symbol].bits, entries_[symbol].length);
  }

  /// The bits that symbols of these counts take.
  [[nodiscard]] std::uint64_t bitsFor(std::span<const std::uint32_t> counts) const;

  /// An upper bound of what describe() writes.
  [[nodiscard]] static constexpr std::uint64_t mostDescriptionBits(std::size_t alphabetSize) {
    return 128 + std::uint64_t{alphabetSize} * 8;
  }

 private:
  struct Entry {
    std::uint16_t bits = 0;  // first bit lowest
    std::uint16_t length = 0;
  };
  void assignCodes(std::span<const std::uint8_t> lengths);

  std::array<Entry, kLargestAlphabet> entries_{};
};

}  // namespace Brotli
