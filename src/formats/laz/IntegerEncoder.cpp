#include "formats/laz/IntegerEncoder.h"

#include <algorithm>
#include <bit>

namespace Formats::Laz {

IntegerEncoder::IntegerEncoder(unsigned bits, std::size_t contexts) : unusedBits_(kMostBits - bits) {
  classes_.assign(contexts, SymbolModel<kMostBits + 1>(bits + 1));
  const unsigned classesOfMany = std::min(bits, kMostBits - 1);  // class 32 holds a single number
  places_.reserve(classesOfMany);
  for (unsigned k = 1; k <= classesOfMany; ++k) places_.emplace_back(1U << std::min(k, kHighBits));
}

std::uint32_t IntegerEncoder::encode(std::int32_t predicted, std::int32_t real, std::size_t context,
                                     RangeEncoder& stream) {
  const std::uint32_t wrapped = (static_cast<std::uint32_t>(real) - static_cast<std::uint32_t>(predicted))
                                << unusedBits_;
  const std::int32_t correction = static_cast<std::int32_t>(wrapped) >> unusedBits_;
  // Class k holds -(2^k - 1) to -2^(k-1), and 2^(k-1) + 1 to 2^k.
  const auto bits = static_cast<std::uint32_t>(correction);
  const auto k = static_cast<std::uint32_t>(std::bit_width(correction <= 0 ? 0U - bits : bits - 1));
  stream.encode(classes_[context], k);
  if (k == 0) {
    stream.encode(smallest_, correction != 0);
  } else if (k < kMostBits) {
    const std::uint32_t place = bits + (correction < 0 ? (1U << k) : 0U) - 1;
    if (k <= kHighBits) {
      stream.encode(places_[k - 1], place);
    } else {
      const std::uint32_t lowBits = k - kHighBits;
      stream.encode(places_[k - 1], place >> lowBits);
      stream.encodeBits(lowBits, place & ((1U << lowBits) - 1));
    }
  }
  return k;
}

}  // namespace Formats::Laz
