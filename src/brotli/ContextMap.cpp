#include "brotli/ContextMap.h"

#include <algorithm>
#include <array>
#include <bit>
#include <numeric>
#include <vector>

#include "brotli/BlockTypes.h"
#include "brotli/PrefixCode.h"

namespace Brotli {
namespace {

constexpr unsigned kRunBits = 6;  // rows of up to 127 zeros take one symbol
constexpr std::size_t kMostSymbols = 256 + kRunBits;

/// What stands at the front of a list of all values, to which each value that was used moves.
std::vector<std::uint8_t> movedToFront(std::span<const std::uint8_t> values) {
  std::array<std::uint8_t, 256> list;
  std::iota(list.begin(), list.end(), std::uint8_t{0});
  std::vector<std::uint8_t> places;
  places.reserve(values.size());
  for (const std::uint8_t value : values) {
    const auto found = std::find(list.begin(), list.end(), value);
    places.push_back(static_cast<std::uint8_t>(found - list.begin()));
    std::rotate(list.begin(), found, found + 1);
  }
  return places;
}

struct Token {
  std::uint16_t symbol;
  std::uint16_t extra;
};

/// Zeros in rows: symbol n stands for 2^n and the number in the n bits behind it; other values come after.
std::vector<Token> tokensOf(std::span<const std::uint8_t> values) {
  std::vector<Token> tokens;
  for (std::size_t i = 0; i < values.size();) {
    if (values[i] != 0) {
      tokens.push_back({static_cast<std::uint16_t>(values[i++] + kRunBits), 0});
      continue;
    }
    std::size_t run = 0;
    while (i + run < values.size() && values[i + run] == 0) ++run;
    i += run;
    while (run > 0) {
      const std::size_t taken = std::min(run, (std::size_t{2} << kRunBits) - 1);
      const auto bits = static_cast<unsigned>(std::bit_width(taken)) - 1;
      tokens.push_back(
          {static_cast<std::uint16_t>(bits), static_cast<std::uint16_t>(taken - (std::size_t{1} << bits))});
      run -= taken;
    }
  }
  return tokens;
}

}  // namespace

void writeContextMap(std::span<const std::uint8_t> map, std::size_t numCodes, BitWriter& out) {
  writeSmallNumber(numCodes, out);
  if (numCodes < 2) return;
  const std::vector<Token> tokens = tokensOf(movedToFront(map));
  std::array<std::uint32_t, kMostSymbols> counts{};
  for (const Token& token : tokens) ++counts[token.symbol];
  out.write(1, 1);
  out.write(kRunBits - 1, 4);
  PrefixCode code;
  code.describe(std::span(counts).first(numCodes + kRunBits), out);
  for (const Token& token : tokens) {
    code.write(out, token.symbol);
    if (token.symbol <= kRunBits) out.write(token.extra, token.symbol);
  }
  out.write(1, 1);  // the values were moved to front
}

std::uint64_t mostContextMapBits(std::size_t numContexts, std::size_t numCodes) {
  return 32 + PrefixCode::mostDescriptionBits(numCodes + kRunBits) +
         std::uint64_t{numContexts} * (PrefixCode::kLongest + kRunBits);
}

}  // namespace Brotli
