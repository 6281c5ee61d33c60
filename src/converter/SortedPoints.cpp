#include "converter/SortedPoints.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

#include "converter/RecordCopy.h"

namespace Converter {
namespace {

/// A point on its way through the sort.
struct Entry {
  std::uint64_t key;
  std::uint32_t index;
};
using Entries = std::vector<Entry, Math::UninitialisedAllocator<Entry>>;

constexpr unsigned kDigitBits = 11;
constexpr unsigned kPasses = 3;

/// One pass of a radix sort, least significant digit first: stable.
void sortByDigit(const Entries& from, Entries& to, unsigned shift) {
  constexpr std::uint64_t kMask = (1U << kDigitBits) - 1;
  std::array<std::uint32_t, kMask + 1> starts{};
  for (const Entry& entry : from) ++starts[entry.key >> shift & kMask];
  std::uint32_t next = 0;
  for (std::uint32_t& start : starts) next += std::exchange(start, next);
  for (const Entry& entry : from) to[starts[entry.key >> shift & kMask]++] = entry;
}

/// Mixes the bits of a place (the finaliser of MurmurHash3, public domain, over a sum of multiples).
std::uint32_t priorityOf(const CubePoint& p) {
  std::uint32_t h =
      p.x * 0x9E37'79B1U + std::rotl(p.y * 0x85EB'CA77U, 13) + std::rotl(p.z * 0xC2B2'AE3DU, 21);
  h ^= h >> 16U;
  h *= 0x85EB'CA6BU;
  h ^= h >> 13U;
  h *= 0xC2B2'AE35U;
  return h ^ h >> 16U;
}

/// Sorts by the highest bits in which keys differ, then each run of those by everything else.
void sortEntries(Entries& entries, const RawBytes& records, std::size_t stride, const OutputGrid& grid) {
  if (entries.empty()) return;
  std::uint64_t differing = 0;
  for (const Entry& entry : entries) differing |= entry.key ^ entries.front().key;
  const auto bits = static_cast<unsigned>(std::bit_width(differing));
  const unsigned shift = bits > kPasses * kDigitBits ? bits - kPasses * kDigitBits : 0;
  {
    Entries other(entries.size());
    for (unsigned pass = 0; pass < kPasses; ++pass) {
      sortByDigit(entries, other, shift + pass * kDigitBits);
      entries.swap(other);
    }
  }
  const auto less = [&](const Entry& a, const Entry& b) {
    if (a.key != b.key) return a.key < b.key;
    const std::byte* const ra = records.data() + a.index * stride;
    const std::byte* const rb = records.data() + b.index * stride;
    const auto order = compareAlongCurve(grid.cubePoint(positionOf(ra)), grid.cubePoint(positionOf(rb)));
    return order != 0 ? order < 0 : std::memcmp(ra, rb, stride) < 0;
  };
  for (auto begin = entries.begin(); begin != entries.end();) {
    auto end = begin + 1;
    while (end != entries.end() && end->key >> shift == begin->key >> shift) ++end;
    if (end - begin > 1) std::sort(begin, end, less);
    begin = end;
  }
}

}  // namespace

SortedPoints::SortedPoints(RawBytes records, std::size_t stride, const OutputGrid& grid, unsigned level,
                           const std::function<void()>& whenOrdered)
    : stride_(stride), grid_(grid) {
  Entries entries(records.size() / stride);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const CubePoint p = grid.cubePoint(positionOf(records.data() + i * stride));
    entries[i] = {cellKey(p, level), static_cast<std::uint32_t>(i)};
  }
  sortEntries(entries, records, stride, grid);
  if (whenOrdered) whenOrdered();

  records_.resize(records.size());
  keys_.resize(entries.size());
  priorities_.resize(entries.size());
  for (std::size_t i = 0; i < entries.size(); ++i) {
    copyRecord(records_.data() + i * stride, records.data() + entries[i].index * stride, stride);
    keys_[i] = entries[i].key;
    priorities_[i] = priorityOf(cubePoint(i));
  }
}

bool SortedPoints::equal(std::size_t a, std::size_t b) const {
  return std::memcmp(record(a), record(b), stride_) == 0;
}

void SortedPoints::move(std::size_t from, std::size_t to) {
  if (from == to) return;
  copyRecord(records_.data() + to * stride_, record(from), stride_);
  keys_[to] = keys_[from];
  priorities_[to] = priorities_[from];
}

void SortedPoints::shorten(std::size_t size) {
  records_.resize(size * stride_);
  keys_.resize(size);
  priorities_.resize(size);
}

}  // namespace Converter
