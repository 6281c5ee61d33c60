#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <utility>
#include <vector>

// Parts of brotli streams, read as RFC 7932 says and in the plainest way: an oracle apart from the encoder.
namespace Testing {

/// Takes bits from bytes, the lowest of a byte first (section 1.5.1). Views the bytes.
class BitReader {
 public:
  explicit BitReader(std::span<const std::byte> bytes) : bytes_(bytes) {}

  /// The next @p count bits, the first one lowest.
  /// @throws std::out_of_range behind the last byte.
  [[nodiscard]] std::uint64_t take(unsigned count);

  [[nodiscard]] std::size_t position() const { return position_; }

 private:
  std::span<const std::byte> bytes_;
  std::size_t position_ = 0;  // in bits
};

/// A prefix code by its description (sections 3.2 to 3.5).
class StreamCode {
 public:
  /// @throws std::runtime_error when the lengths leave codes without a symbol or symbols without a code.
  StreamCode(BitReader& bits, std::size_t alphabetSize);

  [[nodiscard]] std::size_t take(BitReader& bits) const;
  /// By symbol; 0 for all where one symbol stands alone.
  [[nodiscard]] const std::vector<unsigned>& lengths() const { return lengths_; }

 private:
  explicit StreamCode(std::vector<unsigned> lengths);
  void readSimple(BitReader& bits);
  void readComplex(BitReader& bits, unsigned skip);
  void readLengths(BitReader& bits, const StreamCode& lengthCode);
  void index();

  std::vector<unsigned> lengths_;
  std::size_t onlySymbol_ = 0;
  std::map<std::pair<unsigned, unsigned>, std::size_t> symbols_;  // by length and code
};

/// A number from 1 to 256, as of block types (section 9.2).
[[nodiscard]] std::size_t takeSmallNumber(BitReader& bits);

/// Number of codes and code of each context (section 7.3); one code: all 0.
[[nodiscard]] std::pair<std::size_t, std::vector<std::uint8_t>> takeContextMap(BitReader& bits,
                                                                               std::size_t size);

}  // namespace Testing
