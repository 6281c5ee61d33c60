#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "formats/laz/BitModel.h"
#include "formats/laz/SymbolModel.h"

namespace Testing {

/// Writes symbols, bits and numbers as a stream of the LAZ range coder, in the plainest way.
class RangeEncoder {
 public:
  template <std::size_t Capacity>
  void symbol(Formats::Laz::SymbolModel<Capacity>& model, std::size_t symbol) {
    model.prepare();
    const std::uint32_t unit = length_ >> Formats::Laz::kProbabilityBits;
    const std::uint32_t low = model.below(symbol) * unit;
    const bool isLast = symbol + 1 == model.numSymbols();
    narrow(low, isLast ? length_ - low : model.below(symbol + 1) * unit - low);
    model.count(symbol);
  }
  void bit(Formats::Laz::BitModel& model, bool bit);
  void bits(unsigned count, std::uint32_t value);
  /// The whole stream. Nothing may follow.
  [[nodiscard]] std::string finish();

 private:
  void narrow(std::uint32_t low, std::uint32_t length);

  std::string bytes_;
  std::uint32_t base_ = 0;
  std::uint32_t length_ = UINT32_MAX;
};

/// Encodes integers of some bits as their differences from predictions.
template <unsigned Bits, std::size_t Contexts>
class IntegerEncoder {
 public:
  IntegerEncoder() {
    for (unsigned k = 1; k <= Bits; ++k) differences_.emplace_back(std::size_t{1} << std::min(k, 8U));
  }

  void encode(RangeEncoder& out, std::uint32_t prediction, std::uint32_t value, std::size_t context = 0) {
    auto difference = static_cast<std::int64_t>((value - prediction) & kMask);
    if (difference >= std::int64_t{1} << (Bits - 1)) difference -= std::int64_t{1} << Bits;
    k_ = 0;
    for (std::int64_t rest = difference <= 0 ? -difference : difference - 1; rest != 0; rest /= 2) ++k_;
    out.symbol(sizes_[context], k_);
    if (k_ == 0) return out.bit(zeroOrOne_, difference == 1);
    if (k_ == 32) return;
    const std::int64_t number = difference > 0 ? difference - 1 : difference + (std::int64_t{1} << k_) - 1;
    if (k_ <= 8) return out.symbol(differences_[k_ - 1], static_cast<std::size_t>(number));
    out.symbol(differences_[k_ - 1], static_cast<std::size_t>(number >> (k_ - 8)));
    out.bits(k_ - 8, static_cast<std::uint32_t>(number & ((std::int64_t{1} << (k_ - 8)) - 1)));
  }
  [[nodiscard]] unsigned k() const { return k_; }

 private:
  static constexpr std::uint32_t kMask = Bits == 32 ? ~0U : (1U << Bits % 32U) - 1;

  std::array<Formats::Laz::SymbolModel<Bits + 1>, Contexts> sizes_;
  Formats::Laz::BitModel zeroOrOne_;
  std::vector<Formats::Laz::SymbolModel<256>> differences_;
  unsigned k_ = 0;
};

/// A chunk of point-wise compressed records, whose items are of version 1: POINT10, then GPSTIME11 and RGB12
/// as the point format of 0 to 3 says, then extra bytes.
[[nodiscard]] std::string encodeVersion1(std::uint8_t pointFormat, const std::vector<std::string>& records);

/// A layered chunk of records of point format 6 whose points differ in x, y, z, scanner channel and extra
/// bytes alone, each the only return of its pulse. @p byteVersion is that of BYTE14, from 3 on.
[[nodiscard]] std::string encodeLayered(const std::vector<std::string>& records, std::uint16_t byteVersion);

/// A chunk table without point counts.
[[nodiscard]] std::string encodeChunkTable(const std::vector<std::string>& chunks);
/// One with them, for chunks of any sizes.
[[nodiscard]] std::string encodeChunkTable(const std::vector<std::string>& chunks,
                                           const std::vector<std::uint32_t>& counts);

}  // namespace Testing
