#include "brotli/PrefixCode.h"

#include <algorithm>
#include <bit>

namespace Brotli {
namespace {

constexpr std::size_t kNumLengthSymbols = 18;  // 0 to 15, and the two that repeat
constexpr unsigned kRepeatPrevious = 16;
constexpr unsigned kRepeatZero = 17;
constexpr unsigned kLongestLengthCode = 5;
constexpr std::size_t kMostSimpleSymbols = 4;
constexpr std::size_t kNumBytes = 256;

using Lengths = std::array<std::uint8_t, kLargestAlphabet>;

/// Symbols that occur, rarest first: the count above the symbol.
struct Leaves {
  std::array<std::uint64_t, kLargestAlphabet + 1>
      entries;  // one more, so that each can be put before it is kept
  std::size_t size = 0;

  [[nodiscard]] std::uint32_t count(std::size_t i) const {
    return static_cast<std::uint32_t>(entries[i] >> 32U);
  }
  [[nodiscard]] std::size_t symbol(std::size_t i) const { return entries[i] & 0xFFFFFFFFU; }
};

void sortLeaves(std::span<const std::uint32_t> counts, Leaves& leaves) {
  leaves.size = 0;
  for (std::size_t s = 0; s < counts.size(); ++s) {
    leaves.entries[leaves.size] = std::uint64_t{counts[s]} << 32U | s;
    leaves.size += counts[s] != 0 ? 1 : 0;
  }
  std::sort(leaves.entries.begin(), leaves.entries.begin() + static_cast<std::ptrdiff_t>(leaves.size));
}

/// The tree over at least two leaves by the two-queue method (van Leeuwen 1976), with no count below @p
/// least. Fills the leaves' depths, in their order, and returns the largest.
unsigned treeDepths(const Leaves& leaves, std::uint32_t least, Lengths& depths) {
  constexpr std::size_t kMostNodes = 2 * kLargestAlphabet;
  std::array<std::uint32_t, kMostNodes> count;
  std::array<std::uint16_t, kMostNodes> parent;
  std::array<std::uint8_t, kMostNodes> depth;
  const std::size_t numLeaves = leaves.size;
  const std::size_t root = 2 * numLeaves - 2;
  for (std::size_t i = 0; i < numLeaves; ++i) count[i] = std::max(leaves.count(i), least);
  std::size_t leaf = 0;
  std::size_t inner = numLeaves;
  for (std::size_t next = numLeaves; next <= root; ++next) {
    count[next] = 0;
    for (int child = 0; child < 2; ++child) {
      const bool takeLeaf = leaf < numLeaves && (inner == next || count[leaf] <= count[inner]);
      const std::size_t taken = takeLeaf ? leaf++ : inner++;
      count[next] += count[taken];
      parent[taken] = static_cast<std::uint16_t>(next);
    }
  }
  depth[root] = 0;
  unsigned deepest = 0;
  for (std::size_t i = root; i-- > 0;) depth[i] = static_cast<std::uint8_t>(depth[parent[i]] + 1);
  for (std::size_t i = 0; i < numLeaves; ++i) {
    depths[i] = depth[i];
    deepest = std::max<unsigned>(deepest, depth[i]);
  }
  return deepest;
}

/// Code lengths of at most @p longest bits for at least two leaves; 0 for symbols that do not occur.
void codeLengths(const Leaves& leaves, unsigned longest, std::span<std::uint8_t> lengths) {
  Lengths depths;
  std::uint32_t least = 1;
  while (treeDepths(leaves, least, depths) > longest) least *= 2;
  std::fill(lengths.begin(), lengths.end(), std::uint8_t{0});
  for (std::size_t i = 0; i < leaves.size; ++i) lengths[leaves.symbol(i)] = depths[i];
}

/// Gives all bytes codes of 8 bits where the shortest code is hardly shorter: its description takes a few
/// bytes, and decoders find all symbols in one step.
void levelIfLevel(std::span<const std::uint32_t> counts, std::span<std::uint8_t> lengths) {
  constexpr std::uint64_t kDescriptionBits = 600;  // of lengths that differ, about
  constexpr std::uint64_t kTolerance = 64;         // one in so many bits is given for decoding time
  std::uint64_t total = 0;
  std::uint64_t shortest = kDescriptionBits;
  for (std::size_t s = 0; s < counts.size(); ++s) {
    total += counts[s];
    shortest += std::uint64_t{counts[s]} * lengths[s];
  }
  if (total * 8 <= shortest + shortest / kTolerance)
    std::fill(lengths.begin(), lengths.end(), std::uint8_t{8});
}

/// Two to four symbols by their names (RFC 7932, section 3.4).
void describeSimple(const Leaves& leaves, std::size_t alphabetSize, std::span<const std::uint8_t> lengths,
                    BitWriter& out) {
  std::array<std::size_t, kMostSimpleSymbols> symbols{};
  for (std::size_t i = 0; i < leaves.size; ++i) symbols[i] = leaves.symbol(i);
  std::sort(symbols.begin(), symbols.begin() + static_cast<std::ptrdiff_t>(leaves.size),
            [&](std::size_t a, std::size_t b) {
              return lengths[a] != lengths[b] ? lengths[a] < lengths[b] : a < b;
            });
  const auto symbolBits = static_cast<unsigned>(std::bit_width(alphabetSize - 1));
  out.write(1, 2);
  out.write(std::max<std::size_t>(leaves.size, 1) - 1, 2);
  for (std::size_t i = 0; i < std::max<std::size_t>(leaves.size, 1); ++i) out.write(symbols[i], symbolBits);
  if (leaves.size == kMostSimpleSymbols) out.write(lengths[symbols[0]] == 1 ? 1 : 0, 1);
}

/// Code lengths as symbols of their own alphabet, runs shortened (section 3.5).
struct LengthTokens {
  struct Token {
    std::uint8_t symbol;
    std::uint8_t extra;
  };
  std::array<Token, kLargestAlphabet> tokens;
  std::size_t size = 0;
  std::array<std::uint32_t, kNumLengthSymbols> counts{};

  void add(unsigned symbol, unsigned extra = 0) {
    tokens[size++] = {static_cast<std::uint8_t>(symbol), static_cast<std::uint8_t>(extra)};
    ++counts[symbol];
  }

  /// @param repetitions  at least 3; a row of repeating symbols is a number to the base 2^extraBits.
  void addRun(unsigned symbol, unsigned extraBits, std::size_t repetitions) {
    std::array<unsigned, 8> digits;
    std::size_t numDigits = 0;
    for (std::size_t rest = repetitions - 3;; rest = (rest >> extraBits) - 1) {
      digits[numDigits++] = static_cast<unsigned>(rest & ((1U << extraBits) - 1));
      if (rest >> extraBits == 0) break;
    }
    while (numDigits-- > 0) add(symbol, digits[numDigits]);
  }
};

void tokenise(std::span<const std::uint8_t> lengths, LengthTokens& tokens) {
  std::size_t end = lengths.size();
  while (lengths[end - 1] == 0) --end;  // the decoder stops at the code that is complete
  unsigned previous = 8;
  for (std::size_t begin = 0; begin < end;) {
    const unsigned length = lengths[begin];
    std::size_t run = 1;
    while (begin + run < end && lengths[begin + run] == length) ++run;
    begin += run;
    if (length != 0 && length != previous) {
      tokens.add(length);
      previous = length;
      --run;
    }
    if (run >= 3) {
      tokens.addRun(length == 0 ? kRepeatZero : kRepeatPrevious, length == 0 ? 3 : 2, run);
    } else {
      while (run-- > 0) tokens.add(length);
    }
  }
}

std::uint16_t reversed(unsigned code, unsigned length) {
  unsigned result = 0;
  for (unsigned i = 0; i < length; ++i) result |= ((code >> i) & 1U) << (length - 1 - i);
  return static_cast<std::uint16_t>(result);
}

/// Calls @p assign(symbol, bits): codes of a length follow each other in the order of symbols, shorter ones
/// first (section 3.2).
template <class Assign>
void canonicalCodes(std::span<const std::uint8_t> lengths, const Assign& assign) {
  std::array<unsigned, PrefixCode::kLongest + 1> numOfLength{};
  for (const std::uint8_t length : lengths) ++numOfLength[length];
  numOfLength[0] = 0;
  std::array<unsigned, PrefixCode::kLongest + 1> next{};
  for (unsigned length = 1; length <= PrefixCode::kLongest; ++length) {
    next[length] = (next[length - 1] + numOfLength[length - 1]) << 1U;
  }
  for (std::size_t s = 0; s < lengths.size(); ++s) {
    if (lengths[s] != 0) assign(s, reversed(next[lengths[s]]++, lengths[s]));
  }
}

/// The lengths of the length alphabet's code, in the order in which they are stored, each 0 to 5 by a fixed
/// code (section 3.5). A length symbol that occurs alone gets the length 5 and takes no bits.
void describeLengthCode(std::span<const std::uint8_t> lengths, bool single, BitWriter& out) {
  constexpr std::array<std::uint8_t, kNumLengthSymbols> kOrder{1, 2, 3, 4,  0,  5,  17, 6,  16,
                                                               7, 8, 9, 10, 11, 12, 13, 14, 15};
  constexpr std::array<std::uint8_t, kLongestLengthCode + 1> kCode{0b00, 0b0111, 0b011, 0b10, 0b01, 0b1111};
  constexpr std::array<std::uint8_t, kLongestLengthCode + 1> kCodeLength{2, 4, 3, 2, 2, 4};
  std::size_t skip = 0;
  if (lengths[kOrder[0]] == 0 && lengths[kOrder[1]] == 0) skip = lengths[kOrder[2]] == 0 ? 3 : 2;
  out.write(skip, 2);
  std::size_t end = kOrder.size();
  if (!single) {
    while (lengths[kOrder[end - 1]] == 0) --end;  // the decoder stops at the code that is complete
  }
  for (std::size_t i = skip; i < end; ++i)
    out.write(kCode[lengths[kOrder[i]]], kCodeLength[lengths[kOrder[i]]]);
}

void describeComplex(std::span<const std::uint8_t> lengths, BitWriter& out) {
  LengthTokens tokens;
  tokenise(lengths, tokens);
  Leaves leaves;
  sortLeaves(tokens.counts, leaves);
  std::array<std::uint8_t, kNumLengthSymbols> tokenLengths{};
  const bool single = leaves.size == 1;
  if (single) {
    tokenLengths[leaves.symbol(0)] = kLongestLengthCode;
  } else {
    codeLengths(leaves, kLongestLengthCode, tokenLengths);
  }
  describeLengthCode(tokenLengths, single, out);
  std::array<std::uint16_t, kNumLengthSymbols> codes{};
  canonicalCodes(tokenLengths, [&](std::size_t s, std::uint16_t bits) { codes[s] = bits; });
  for (std::size_t i = 0; i < tokens.size; ++i) {
    const LengthTokens::Token token = tokens.tokens[i];
    if (!single) out.write(codes[token.symbol], tokenLengths[token.symbol]);
    if (token.symbol == kRepeatPrevious) out.write(token.extra, 2);
    if (token.symbol == kRepeatZero) out.write(token.extra, 3);
  }
}

}  // namespace

void PrefixCode::describe(std::span<const std::uint32_t> counts, BitWriter& out) {
  Leaves leaves;
  sortLeaves(counts, leaves);
  Lengths all;
  const std::span lengths = std::span(all).first(counts.size());
  if (leaves.size < 2) {
    std::fill(lengths.begin(), lengths.end(), std::uint8_t{0});
  } else {
    codeLengths(leaves, kLongest, lengths);
  }
  if (leaves.size == kNumBytes && counts.size() == kNumBytes) levelIfLevel(counts, lengths);
  if (leaves.size <= kMostSimpleSymbols) {
    describeSimple(leaves, counts.size(), lengths, out);
  } else {
    describeComplex(lengths, out);
  }
  for (std::size_t s = 0; s < counts.size(); ++s) entries_[s] = {0, lengths[s]};
  canonicalCodes(lengths, [&](std::size_t s, std::uint16_t bits) { entries_[s].bits = bits; });
}

std::uint64_t PrefixCode::bitsFor(std::span<const std::uint32_t> counts) const {
  std::uint64_t sum = 0;
  for (std::size_t s = 0; s < counts.size(); ++s) sum += std::uint64_t{counts[s]} * entries_[s].length;
  return sum;
}

}  // namespace Brotli
