#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "formats/laz/BitModel.h"
#include "formats/laz/SymbolModel.h"

namespace Formats::Laz {

/// Writes one stream of the LAZ range coder: the counterpart of RangeDecoder, whose position is at the
/// stream's end after the last symbol. Owns the bytes. Not to be used by two threads at once.
///
/// Every write needs room (see makeRoom), which is not checked: a symbol, a bit or a number of up to 19 bits
/// takes at most 3 bytes.
class RangeEncoder {
 public:
  static constexpr std::size_t kLongestWrite = 3;

  /// See to it that @p writes further calls have room.
  void makeRoom(std::size_t writes) {
    if (static_cast<std::size_t>(end_ - out_) < writes * kLongestWrite) [[unlikely]]
      grow(writes);
  }

  template <std::size_t Capacity>
  void encode(SymbolModel<Capacity>& model, std::size_t symbol) {
    model.prepare();
    const std::uint32_t step = length_ >> kProbabilityBits;
    const std::uint32_t low = step * model.below(symbol);
    const std::uint32_t high = step * model.below(symbol + 1);
    // What the division leaves over belongs to the last symbol.
    length_ = (symbol + 1 == model.numSymbols() ? length_ : high) - low;
    add(low);
    shift();
    model.count(symbol);
  }

  void encode(BitModel& model, bool bit) {
    const std::uint32_t split = model.ofZero() * (length_ >> BitModel::kProbabilityBits);
    if (bit) {
      length_ -= split;
      add(split);
    } else {
      length_ = split;
    }
    shift();
    model.count(bit);
  }

  /// @param value  of @p count bits, at most 32.
  void encodeBits(std::uint32_t count, std::uint32_t value) {
    if (count > kMostBitsAtOnce) {
      encodeFewBits(16, value & 0xFFFFU);
      value >>= 16U;
      count -= 16;
    }
    encodeFewBits(count, value);
  }

  /// Ends the stream; nothing may be written behind.
  /// @return its bytes, which live as long as this object.
  [[nodiscard]] std::span<const std::byte> finish();

 private:
  static constexpr std::uint32_t kMostBitsAtOnce = 19;
  static constexpr std::size_t kWindowStart = 4;  // bytes of the window before out_

  void encodeFewBits(std::uint32_t count, std::uint32_t value) {
    length_ >>= count;
    add(length_ * value);
    shift();
  }

  void add(std::uint32_t low) {
    window_ += low;
    if (window_ < low) [[unlikely]]
      carry();
  }

  /// Writes the bytes that are settled, but for carries, until length_ is at least 2^24 again.
  void shift() {
    const auto bytes = static_cast<unsigned>(std::countl_zero(length_)) / 8U;
    storeWindow();
    out_ += bytes;
    window_ <<= 8U * bytes;
    length_ <<= 8U * bytes;
  }

  void storeWindow() {
    const std::uint64_t bigEndian = __builtin_bswap64(window_);
    std::memcpy(out_ - kWindowStart, &bigEndian, sizeof(bigEndian));
  }

  void carry();
  void grow(std::size_t writes);

  // The lower half is the base of the interval, the upper half the last four bytes before out_, so that
  // carries go no further but once in 2^32 times. In memory those four bytes are out of date.
  std::uint64_t window_ = 0;
  std::uint32_t length_ = UINT32_MAX;  // of the interval; at least 2^24 between calls
  std::byte* out_ = nullptr;
  std::byte* end_ = nullptr;      // of what may be written; the window reaches beyond it
  std::vector<std::byte> bytes_;  // the stream begins kWindowStart bytes behind the start
};

}  // namespace Formats::Laz
