#include "brotli/ColumnEncoder.h"

#include <algorithm>
#include <bit>
#include <numeric>
#include <stdexcept>
#include <string>

namespace Brotli {
namespace {

// A window of 22 bits, which every decoder accepts (RFC 7932, section 9.1).
constexpr std::uint64_t kWindowCode = 0b1011;
constexpr unsigned kWindowCodeBits = 4;
static_assert(ColumnParser::kFarthest == (std::size_t{1} << 22U) - 16);

constexpr std::uint64_t kEmptyLastBlock = 0b11;
constexpr unsigned kEmptyLastBlockBits = 2;

// Shorter columns go on in the segment before: codes of their own do not pay, and hundreds of them must not
// end block after block.
constexpr std::size_t kLeastSegment = 48;

void checkSizes(std::size_t size, std::size_t numElements, std::span<const std::size_t> strides) {
  const std::size_t stride = std::accumulate(strides.begin(), strides.end(), std::size_t{0});
  const bool empty = numElements == 0 || stride == 0;
  const bool fits = empty ? size == 0 : size % stride == 0 && size / stride == numElements;
  // A sum of strides of which one is larger than the data has wrapped.
  const bool sound = std::all_of(strides.begin(), strides.end(),
                                 [&](std::size_t s) { return s != 0 && (s <= size || numElements == 0); });
  if (!fits || !sound) {
    throw std::invalid_argument("brotli columns: " + std::to_string(numElements) + " elements of " +
                                std::to_string(stride) + " bytes are not " + std::to_string(size) + " bytes");
  }
}

/// Distances are multiples of the strides: of a power of two where most bytes are in columns that have it.
unsigned postfixBits(std::span<const std::size_t> strides) {
  std::array<std::size_t, DistanceCodes::kMostPostfixBits + 1> bytes{};
  for (const std::size_t stride : strides) {
    const auto zeros = static_cast<unsigned>(std::countr_zero(stride));
    bytes[std::min(zeros, DistanceCodes::kMostPostfixBits)] += stride;
  }
  return static_cast<unsigned>(std::max_element(bytes.begin(), bytes.end()) - bytes.begin());
}

}  // namespace

std::size_t ColumnEncoder::room() const {
  if (block_.segments.size() == MetaBlockWriter::kMostSegments) return 0;
  return kBlockBytes - (block_.segments.empty() ? 0 : block_.size());
}

void ColumnEncoder::finishBlock(std::span<const std::byte> data) {
  if (block_.segments.empty()) return;
  if (carried_ > 0) {
    block_.commands.push_back({carried_, 0, 0});
    ++block_.segments.back().endCommand;
    carried_ = 0;
  }
  writer_.write(data, block_, distances_, out_);
  block_.clear();
}

void ColumnEncoder::encodeColumn(std::span<const std::byte> data, const ColumnRange& column) {
  const ColumnPlan plan = planner_.plan(data, column);
  parser_.begin(data, column, plan);
  if (column.end - column.begin > room()) finishBlock(data);
  for (std::size_t begin = column.begin; begin < column.end;) {
    const std::size_t end = std::min(column.end, begin + room());
    if (block_.segments.empty() || end - begin >= kLeastSegment) {
      block_.segments.push_back({begin, begin, block_.commands.size(), 0, carried_});
    }
    parser_.parse(end, carried_, block_.commands);
    block_.segments.back().end = end;
    block_.segments.back().endCommand = block_.commands.size();
    if (room() == 0) finishBlock(data);
    begin = end;
  }
}

std::span<const std::byte> ColumnEncoder::encode(std::span<const std::byte> data, std::size_t numElements,
                                                 std::span<const std::size_t> strides) {
  checkSizes(data.size(), numElements, strides);
  out_.clear();
  out_.reserve(kWindowCodeBits);
  out_.write(kWindowCode, kWindowCodeBits);
  distances_ = kFirstLastDistances;
  block_.clear();
  block_.postfixBits = postfixBits(strides);
  std::size_t begin = 0;
  for (const std::size_t stride : strides) {
    const ColumnRange column{begin, begin + numElements * stride, stride};
    begin = column.end;
    if (numElements > 0) encodeColumn(data.first(column.end), column);
  }
  finishBlock(data);
  out_.reserve(kEmptyLastBlockBits);
  out_.write(kEmptyLastBlock, kEmptyLastBlockBits);
  out_.alignToByte();
  return out_.bytes();
}

}  // namespace Brotli
