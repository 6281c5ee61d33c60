#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "formats/laz/RangeEncoder.h"

namespace Formats::Laz {

/// Codes whole numbers as a prediction and a correction: the class of the correction (its binary digits) by a
/// model of the context, the place inside the class by models that all contexts share, and of long
/// corrections the low bits as they are.
class IntegerEncoder {
 public:
  /// Writes that one number takes at most.
  static constexpr std::size_t kWrites = 4;

  /// @param bits      of the numbers, 8, 16 or 32: they wrap at 2^bits.
  /// @param contexts  how many there are.
  IntegerEncoder(unsigned bits, std::size_t contexts);

  /// @return the correction's class, 0 to bits: the binary digits that it takes.
  std::uint32_t encode(std::int32_t predicted, std::int32_t real, std::size_t context, RangeEncoder& stream);

 private:
  static constexpr unsigned kHighBits = 8;  // of a correction that are modelled

  static constexpr unsigned kMostBits = 32;
  unsigned unusedBits_;
  std::vector<SymbolModel<kMostBits + 1>> classes_;   // one a context
  BitModel smallest_;                                 // a correction of 0 or 1
  std::vector<SymbolModel<1U << kHighBits>> places_;  // of class k at k - 1
};

}  // namespace Formats::Laz
