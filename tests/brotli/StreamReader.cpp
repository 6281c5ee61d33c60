#include "brotli/StreamReader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <stdexcept>

namespace Testing {
namespace {

constexpr unsigned kLongest = 15;

/// A length of a length's code, by the fixed code of section 3.5, whose first bit stands rightmost there.
unsigned takeLengthOfLength(BitReader& bits) {
  if (bits.take(1) == 0) return bits.take(1) == 0 ? 0 : 3;
  if (bits.take(1) == 0) return 4;
  if (bits.take(1) == 0) return 2;
  return bits.take(1) == 0 ? 1 : 5;
}

}  // namespace

std::uint64_t BitReader::take(unsigned count) {
  std::uint64_t value = 0;
  for (unsigned i = 0; i < count; ++i, ++position_) {
    if (position_ / 8 >= bytes_.size()) throw std::out_of_range("the bits end early");
    const std::uint64_t bit = std::to_integer<std::uint64_t>(bytes_[position_ / 8]) >> (position_ % 8) & 1U;
    value |= bit << i;
  }
  return value;
}

StreamCode::StreamCode(BitReader& bits, std::size_t alphabetSize) : lengths_(alphabetSize) {
  const auto skip = static_cast<unsigned>(bits.take(2));
  if (skip == 1) {
    readSimple(bits);
  } else {
    readComplex(bits, skip);
  }
  index();
}

StreamCode::StreamCode(std::vector<unsigned> lengths) : lengths_(std::move(lengths)) { index(); }

void StreamCode::readSimple(BitReader& bits) {
  const std::size_t count = bits.take(2) + 1;
  const auto symbolBits = static_cast<unsigned>(std::bit_width(lengths_.size() - 1));
  std::vector<std::size_t> symbols;
  for (std::size_t i = 0; i < count; ++i) symbols.push_back(bits.take(symbolBits));
  onlySymbol_ = symbols[0];
  if (count == 1) return;
  constexpr std::array<std::array<unsigned, 4>, 4> kLengths{{{1, 1}, {1, 2, 2}, {2, 2, 2, 2}, {1, 2, 3, 3}}};
  const std::size_t shape = count < 4 ? count - 2 : 2 + bits.take(1);
  for (std::size_t i = 0; i < count; ++i) lengths_.at(symbols[i]) = kLengths[shape][i];
}

void StreamCode::readComplex(BitReader& bits, unsigned skip) {
  constexpr std::array kOrder{1, 2, 3, 4, 0, 5, 17, 6, 16, 7, 8, 9, 10, 11, 12, 13, 14, 15};
  std::vector<unsigned> lengthLengths(kOrder.size());
  unsigned used = 0;  // of 32 codes
  for (std::size_t i = skip; i < kOrder.size() && used < 32; ++i) {
    const unsigned length = takeLengthOfLength(bits);
    lengthLengths[static_cast<std::size_t>(kOrder[i])] = length;
    if (length != 0) used += 32U >> length;
  }
  std::size_t onlyLength = 0;
  if (std::count(lengthLengths.begin(), lengthLengths.end(), 0U) + 1 == std::ssize(lengthLengths)) {
    // A length that stands alone takes no bits.
    const auto only = std::max_element(lengthLengths.begin(), lengthLengths.end());
    onlyLength = static_cast<std::size_t>(only - lengthLengths.begin());
    *only = 0;
  }
  StreamCode lengthCode(lengthLengths);
  lengthCode.onlySymbol_ = onlyLength;
  readLengths(bits, lengthCode);
}

void StreamCode::readLengths(BitReader& bits, const StreamCode& lengthCode) {
  unsigned space = 0;  // taken of 2^15 codes
  std::size_t symbol = 0;
  unsigned previous = 8;
  std::size_t lastToken = 0;
  std::size_t repeated = 0;
  while (space < 1U << kLongest) {
    const std::size_t token = lengthCode.take(bits);
    std::size_t times = 1;
    auto length = static_cast<unsigned>(token);
    if (token >= 16) {
      const unsigned extraBits = token == 16 ? 2 : 3;
      const std::size_t before = lastToken == token ? repeated : 0;
      repeated = (before == 0 ? 0 : (before - 2) << extraBits) + 3 + bits.take(extraBits);
      times = repeated - before;
      length = token == 16 ? previous : 0;
    }
    lastToken = token;
    if (length != 0) previous = length;
    for (; times > 0; --times) {
      lengths_.at(symbol++) = length;
      if (length != 0) space += (1U << kLongest) >> length;
    }
  }
}

void StreamCode::index() {
  unsigned code = 0;
  std::uint64_t space = 0;
  for (unsigned length = 1; length <= kLongest; ++length, code <<= 1U) {
    for (std::size_t symbol = 0; symbol < lengths_.size(); ++symbol) {
      if (lengths_[symbol] != length) continue;
      symbols_[{length, code++}] = symbol;
      space += (1U << kLongest) >> length;
    }
  }
  if (!symbols_.empty() && space != 1U << kLongest) throw std::runtime_error("the code is not complete");
}

std::size_t StreamCode::take(BitReader& bits) const {
  if (symbols_.empty()) return onlySymbol_;
  unsigned code = 0;
  for (unsigned length = 1; length <= kLongest; ++length) {
    code = code << 1U | static_cast<unsigned>(bits.take(1));
    const auto found = symbols_.find({length, code});
    if (found != symbols_.end()) return found->second;
  }
  throw std::runtime_error("no symbol has this code");
}

std::size_t takeSmallNumber(BitReader& bits) {
  if (bits.take(1) == 0) return 1;
  const auto count = static_cast<unsigned>(bits.take(3));
  return 1 + (std::size_t{1} << count) + bits.take(count);
}

std::pair<std::size_t, std::vector<std::uint8_t>> takeContextMap(BitReader& bits, std::size_t size) {
  const std::size_t numCodes = takeSmallNumber(bits);
  std::vector<std::uint8_t> map;
  if (numCodes < 2) return {numCodes, std::vector<std::uint8_t>(size)};
  const std::size_t mostRunBits = bits.take(1) == 0 ? 0 : bits.take(4) + 1;
  const StreamCode code(bits, numCodes + mostRunBits);
  while (map.size() < size) {
    const std::size_t symbol = code.take(bits);
    if (symbol > mostRunBits) {
      map.push_back(static_cast<std::uint8_t>(symbol - mostRunBits));
    } else {
      map.resize(map.size() + (std::size_t{1} << symbol) + bits.take(static_cast<unsigned>(symbol)));
    }
  }
  if (map.size() > size) throw std::runtime_error("a run leaves the context map");
  if (bits.take(1) == 0) return {numCodes, map};
  std::vector<std::uint8_t> list(256);
  for (std::size_t i = 0; i < list.size(); ++i) list[i] = static_cast<std::uint8_t>(i);
  for (std::uint8_t& value : map) {
    const std::uint8_t place = value;
    value = list[place];
    list.erase(list.begin() + place);
    list.insert(list.begin(), value);
  }
  return {numCodes, map};
}

}  // namespace Testing
