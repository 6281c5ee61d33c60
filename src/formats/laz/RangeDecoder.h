#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "core/ByteReader.h"
#include "formats/laz/BitModel.h"
#include "formats/laz/SymbolModel.h"

namespace Formats::Laz {

/// Decoders look at up to this many bytes behind a stream. What stands there does not matter, but it must be
/// readable: buffers for compressed bytes are that much longer than these.
inline constexpr std::size_t kLookahead = 8;

/// A symbol model with a table that finds symbols by their place on the scale of probabilities.
template <std::size_t Capacity>
class DecodingModel {
 public:
  explicit DecodingModel(std::size_t numSymbols = Capacity) : model_(numSymbols) {}

  void reset() { model_.reset(); }

  void prepare() {
    if (model_.prepare()) [[unlikely]]
      fillTable();
  }
  void count(std::size_t symbol) { model_.count(symbol); }

  /// The last symbol that has at most @p place below it. Rounding takes places up to 63 beyond 2^15.
  [[nodiscard]] std::size_t find(std::uint32_t place) const {
    place = std::min(place, (1U << kProbabilityBits) - 1);
    std::size_t symbol = first_[place >> kShift];
    while (place >= model_.below(symbol + 1)) ++symbol;
    return symbol;
  }

  [[nodiscard]] std::uint32_t below(std::size_t symbol) const { return model_.below(symbol); }
  [[nodiscard]] bool isLast(std::size_t symbol) const { return symbol + 1 == model_.numSymbols(); }

 private:
  static constexpr unsigned kTableBits = Capacity <= 40 ? 7 : Capacity <= 128 ? 8 : 9;
  static constexpr unsigned kShift = kProbabilityBits - kTableBits;
  static constexpr std::size_t kCells = (std::size_t{1} << kTableBits) + 1;

  void fillTable() {
    std::size_t cell = 0;
    for (std::size_t symbol = 0; symbol < model_.numSymbols(); ++symbol) {
      // A cell holds the symbol in which it begins.
      const std::size_t end = (model_.below(symbol + 1) + (1U << kShift) - 1) >> kShift;
      for (; cell < end; ++cell) first_[cell] = static_cast<std::uint16_t>(symbol);
    }
    first_[kCells - 1] = static_cast<std::uint16_t>(model_.numSymbols() - 1);
  }

  SymbolModel<Capacity> model_;
  std::array<std::uint16_t, kCells> first_;
};

/// Reads symbols, bits and numbers out of a stream of the LAZ range coder. Never reads beyond the stream and
/// kLookahead bytes, whatever it is made of: beyond the end it makes something up, and overran() tells.
class RangeDecoder {
 public:
  /// A stream without bytes.
  RangeDecoder() = default;

  /// @param stream  outlives this; followed by kLookahead readable bytes.
  explicit RangeDecoder(std::span<const std::byte> stream)
      : begin_(stream.data()), next_(begin_), end_(begin_ + stream.size()) {
    for (std::size_t i = 0; i < 4; ++i) value_ = value_ << 8U | std::to_integer<std::uint32_t>(next_[i]);
    value_ = std::min(value_, kStartLength - 1);  // only a damaged stream begins with the length itself
    next_ += 4;
  }

  /// Goes on with other bytes of the same stream: those that follow the position() bytes that were used.
  void continueIn(std::span<const std::byte> stream) {
    begin_ = next_ = stream.data();
    end_ = begin_ + stream.size();
  }

  /// Behaves from now on as if the stream had ended: what it holds makes no sense.
  void giveUp() { next_ = mostNext(); }

  /// Whether more bytes were used than there are.
  [[nodiscard]] bool overran() const { return next_ > end_; }
  /// Bytes used so far: after a stream's last symbol exactly those that its encoder wrote.
  [[nodiscard]] std::size_t position() const { return static_cast<std::size_t>(next_ - begin_); }

  template <std::size_t Capacity>
  std::size_t symbol(DecodingModel<Capacity>& model) {
    model.prepare();
    const std::uint32_t unit = length_ >> kProbabilityBits;
    const std::size_t symbol = model.find(value_ / unit);
    const std::uint32_t low = model.below(symbol) * unit;
    const std::uint32_t high = model.isLast(symbol) ? length_ : model.below(symbol + 1) * unit;
    model.count(symbol);
    value_ -= low;
    length_ = high - low;
    renormalise();
    return symbol;
  }

  std::uint32_t bit(BitModel& model) {
    const std::uint32_t split = model.ofZero() * (length_ >> BitModel::kProbabilityBits);
    const bool isOne = value_ >= split;
    value_ -= isOne ? split : 0;
    length_ = isOne ? length_ - split : split;
    model.count(isOne);
    renormalise();
    return isOne ? 1 : 0;
  }

  /// 1 to 32 bits that no model knows anything about.
  std::uint32_t bits(unsigned count) {
    if (count <= kMostBitsAtOnce) return bitsAtOnce(count);
    const std::uint32_t low = bitsAtOnce(16);
    return low | bitsAtOnce(count - 16) << 16U;
  }

  std::uint64_t bits64() {
    const std::uint64_t low = bits(32);
    return low | std::uint64_t{bits(32)} << 32U;
  }

 private:
  static constexpr std::array<std::byte, kLookahead> kNothing{};
  static constexpr std::uint32_t kStartLength = 0xFFFFFFFF;
  static constexpr unsigned kMostBitsAtOnce = 19;

  std::uint32_t bitsAtOnce(unsigned count) {
    length_ >>= count;
    const std::uint32_t number = value_ / length_;
    value_ -= number * length_;
    renormalise();
    return number & ((1U << count) - 1);
  }

  /// Brings the length back to 2^24 or more, byte by byte of the stream.
  void renormalise() {
    const auto shift = static_cast<unsigned>(std::countl_zero(length_ | 1U)) & 24U;
    const std::uint32_t coming = __builtin_bswap32(Core::loadLittleEndian<std::uint32_t>(next_));
    length_ <<= shift;
    value_ = static_cast<std::uint32_t>((std::uint64_t{value_} << 32U | coming) << shift >> 32U);
    next_ = std::min(next_ + shift / 8, mostNext());
  }

  /// The last place from which 4 bytes can be read.
  [[nodiscard]] const std::byte* mostNext() const { return end_ + kLookahead - sizeof(std::uint32_t); }

  std::uint32_t value_ = 0;
  std::uint32_t length_ = kStartLength;
  const std::byte* begin_ = kNothing.data();
  const std::byte* next_ = begin_;
  const std::byte* end_ = begin_;
};

}  // namespace Formats::Laz
