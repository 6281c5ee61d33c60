#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "formats/laz/RangeEncoder.h"

namespace Formats::Laz {

/// Codes colours of three 16-bit numbers byte by byte: those of green and blue by how red has changed.
class RgbEncoder {
 public:
  static constexpr std::size_t kSize = 6;
  static constexpr std::size_t kWrites = 7;  // that one colour takes at most

  /// @param last  the colour before.
  void encode(const std::byte* color, const std::byte* last, RangeEncoder& stream);

 private:
  SymbolModel<128> changed_;
  std::array<SymbolModel<256>, kSize> bytes_;  // in the record's order
};

/// Codes a 16-bit number byte by byte.
class NirEncoder {
 public:
  static constexpr std::size_t kSize = 2;
  static constexpr std::size_t kWrites = 3;

  /// @param last  the number before.
  void encode(const std::byte* nir, const std::byte* last, RangeEncoder& stream);

 private:
  SymbolModel<4> changed_;
  std::array<SymbolModel<256>, kSize> bytes_;
};

}  // namespace Formats::Laz
