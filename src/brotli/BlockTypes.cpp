#include "brotli/BlockTypes.h"

#include <algorithm>
#include <array>
#include <bit>

#include "brotli/LengthCodes.h"

namespace Brotli {
namespace {

/// What stands for a type: the one before the last, the last plus one, or itself (RFC 7932, section 6).
std::size_t symbolOf(std::size_t type, std::size_t last, std::size_t secondLast) {
  if (type == last + 1) return 1;
  if (type == secondLast) return 0;
  return type + 2;
}

}  // namespace

void BlockTypes::clear() {
  rows_.clear();
  numTypes_ = 1;
  current_ = 0;
  left_ = 0;
  switchBits_ = 0;
}

void BlockTypes::add(std::size_t type, std::uint32_t count) {
  if (count == 0) return;
  numTypes_ = std::max(numTypes_, type + 1);
  if (!rows_.empty() && rows_.back().type == type) {
    rows_.back().count += count;
    return;
  }
  const std::size_t last = rows_.empty() ? 0 : rows_.back().type;
  const std::size_t secondLast = rows_.size() < 2 ? 1 : rows_[rows_.size() - 2].type;
  rows_.push_back({type, count, symbolOf(type, last, secondLast)});
}

void BlockTypes::describe(BitWriter& out) {
  if (!rows_.empty()) left_ = rows_[0].count;
  writeSmallNumber(numTypes_, out);
  if (numTypes_ < 2) return;
  std::array<std::uint32_t, kMostTypes + 2> typeCounts{};
  std::array<std::uint32_t, kBlockCountRanges.base.size()> countCounts{};
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    if (i > 0) ++typeCounts[rows_[i].typeSymbol];
    const std::size_t code = kBlockCountRanges.codeOf(rows_[i].count);
    ++countCounts[code];
    if (i > 0) switchBits_ += kBlockCountRanges.bits[code];
  }
  typeCode_.describe(std::span(typeCounts).first(numTypes_ + 2), out);
  countCode_.describe(countCounts, out);
  for (std::size_t i = 1; i < rows_.size(); ++i) {
    switchBits_ +=
        typeCode_.length(rows_[i].typeSymbol) + countCode_.length(kBlockCountRanges.codeOf(rows_[i].count));
  }
  const std::size_t first = kBlockCountRanges.codeOf(rows_[0].count);
  countCode_.write(out, first);
  const ExtraBits extra = kBlockCountRanges.extra(first, rows_[0].count);
  out.write(extra.value, extra.count);
}

void BlockTypes::enterNext(BitWriter& out) {
  const Row& row = rows_[++current_];
  typeCode_.write(out, row.typeSymbol);
  const std::size_t code = kBlockCountRanges.codeOf(row.count);
  countCode_.write(out, code);
  const ExtraBits extra = kBlockCountRanges.extra(code, row.count);
  out.write(extra.value, extra.count);
  left_ = row.count;
}

void writeSmallNumber(std::size_t number, BitWriter& out) {
  if (number == 1) {
    out.write(0, 1);
    return;
  }
  const auto bits = static_cast<unsigned>(std::bit_width(number - 1)) - 1;
  out.write(1, 1);
  out.write(bits, 3);
  out.write((number - 1) - (std::size_t{1} << bits), bits);
}

}  // namespace Brotli
