#include "brotli/ColumnParser.h"

#include <algorithm>
#include <bit>

#include "core/ByteReader.h"

namespace Brotli {
namespace {

constexpr std::size_t kLeastCopy = 2;
constexpr unsigned kMostTableBits = 16;
constexpr std::size_t kKeyBytes = 8;
constexpr std::size_t kLeastKeyBytes = 4;
constexpr std::uint8_t kNoLookup = 0xFF;

// What a copy takes, about, beside the bits of its distance; decoding time is in it.
constexpr Cost kLastDistanceCost = 4 * kBitCost;
constexpr Cost kShortDistanceCost = 7 * kBitCost;
constexpr Cost kDistanceCost = 6 * kBitCost;

std::uint64_t load(const std::byte* from) { return Core::loadLittleEndian<std::uint64_t>(from); }

std::size_t matchLength(const std::byte* a, const std::byte* b, std::size_t most) {
  std::size_t length = 0;
  while (length + 8 <= most) {
    const std::uint64_t difference = load(a + length) ^ load(b + length);
    if (difference != 0) return length + static_cast<std::size_t>(std::countr_zero(difference)) / 8;
    length += 8;
  }
  while (length < most && a[length] == b[length]) ++length;
  return length;
}

/// How many bytes from @p a on differ from those from @p b on before the first that is equal.
std::size_t mismatchLength(const std::byte* a, const std::byte* b, std::size_t most) {
  constexpr std::uint64_t kLowBits = 0x7F7F7F7F7F7F7F7F;
  std::size_t length = 0;
  while (length + 8 <= most) {
    const std::uint64_t difference = load(a + length) ^ load(b + length);
    const std::uint64_t equal = ~(((difference & kLowBits) + kLowBits) | difference | kLowBits);
    if (equal != 0) return length + static_cast<std::size_t>(std::countr_zero(equal)) / 8;
    length += 8;
  }
  while (length < most && a[length] != b[length]) ++length;
  return length;
}

}  // namespace

void ColumnParser::begin(std::span<const std::byte> data, const ColumnRange& column, const ColumnPlan& plan) {
  data_ = data;
  column_ = column;
  plan_ = &plan;
  position_ = column.begin;
  lane_ = 0;
  element_ = 0;
  last_ = 0;
  secondLast_ = 0;
  saved_ = 0;
  if (plan.lookupLanes.empty()) return;
  strideCost_ = log2Cost(static_cast<std::uint32_t>(column.stride));
  savedBy_.assign(plan.lookupLanes.size(), 0);
  lookupOfLane_.assign(column.stride, kNoLookup);
  keyShifts_.clear();
  for (std::size_t i = 0; i < plan.lookupLanes.size(); ++i) {
    lookupOfLane_[plan.lookupLanes[i]] = static_cast<std::uint8_t>(i);
    const std::size_t keyBytes = std::clamp(column.stride - plan.lookupLanes[i], kLeastKeyBytes, kKeyBytes);
    keyShifts_.push_back(static_cast<std::uint8_t>(64 - 8 * keyBytes));
  }
  tableBits_ = std::min(
      kMostTableBits, static_cast<unsigned>(std::bit_width(column.numElements() * plan.lookupLanes.size())));
  table_.assign(std::size_t{1} << tableBits_, 0);
}

Cost ColumnParser::copyCost(std::size_t distance) const {
  if (distance == last_) return kLastDistanceCost;
  if (distance == secondLast_) return kShortDistanceCost;
  return kDistanceCost + std::max<Cost>(0, log2Cost(static_cast<std::uint32_t>(distance)) - strideCost_);
}

inline void ColumnParser::consider(std::size_t position, std::size_t end, std::uint64_t here,
                                   std::size_t distance, Match& best) const {
  const std::byte* const bytes = data_.data() + position;
  const std::uint64_t difference = here ^ load(bytes - distance);
  if ((difference & 0xFFFFU) != 0) return;  // shorter than kLeastCopy
  const std::size_t most = end - position;
  const std::size_t length =
      difference == 0 && most > kKeyBytes
          ? kKeyBytes + matchLength(bytes + kKeyBytes, bytes + kKeyBytes - distance, most - kKeyBytes)
          : std::min(most, static_cast<std::size_t>(std::countr_zero(difference)) / 8);
  if (length < kLeastCopy) return;
  const Cost gain = plan_->costs.of(lane_, length) - copyCost(distance);
  if (gain > best.gain) best = {length, distance, gain};
}

inline std::uint16_t& ColumnParser::entry(std::uint64_t here, std::size_t lookup) {
  constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15;  // 2^64 / golden ratio (Knuth)
  return table_[((here << keyShifts_[lookup]) * kMultiplier + lookup * kMultiplier) >> (64 - tableBits_)];
}

inline ColumnParser::Match ColumnParser::bestMatch(std::size_t position, std::size_t end) {
  Match best;
  const std::uint64_t here = load(data_.data() + position);
  const std::size_t done = position - column_.begin;
  const std::size_t lookup = lookupOfLane_[lane_];
  if (lookup != kNoLookup) {
    // Numbers of elements lose their high bits in the table, and an entry may be of other bytes: what is
    // found is compared like any other place.
    std::uint16_t& place = entry(here, lookup);
    const auto elements = static_cast<std::uint16_t>(element_ - place);
    place = static_cast<std::uint16_t>(element_);
    const std::size_t distance = elements * column_.stride;
    if (distance != 0 && distance <= std::min(done, kFarthest)) {
      consider(position, end, here, distance, best);
      savedBy_[lookup] += best.gain;
      if (best.gain > 0) return best;
    }
  }
  if (done >= column_.stride) consider(position, end, here, column_.stride, best);
  if (last_ != column_.stride && last_ != 0 && done >= last_) consider(position, end, here, last_, best);
  return best;
}

void ColumnParser::enterCopied(std::size_t begin, std::size_t end) {
  constexpr std::size_t kMostEntered = 16;  // elements
  std::size_t element = element_;
  if (end > begin + kMostEntered * column_.stride) {
    element += (end - begin) / column_.stride - kMostEntered;
  }
  for (;; ++element) {
    for (std::size_t i = 0; i < plan_->lookupLanes.size(); ++i) {
      const std::size_t place = column_.begin + element * column_.stride + plan_->lookupLanes[i];
      if (place >= end) return;
      if (place >= begin) entry(load(data_.data() + place), i) = static_cast<std::uint16_t>(element);
    }
  }
}

void ColumnParser::parse(std::size_t end, std::uint32_t& carried, std::vector<Command>& commands) {
  if (!plan_->copies) {
    carried += static_cast<std::uint32_t>(end - position_);
    position_ = end;
    return;
  }
  if (plan_->lookupLanes.empty()) {
    parseRepetitions(end, carried, commands);
  } else {
    parseLookups(end, carried, commands);
  }
}

void ColumnParser::parseRepetitions(std::size_t end, std::uint32_t& carried, std::vector<Command>& commands) {
  const std::size_t stride = column_.stride;
  const auto distance = static_cast<std::uint32_t>(stride);
  const std::byte* const bytes = data_.data();
  std::size_t position = position_;
  std::size_t lane = lane_;
  std::size_t literals = carried;
  if (position < column_.begin + stride) {  // the first element, or the part of it in this piece
    const std::size_t first = std::min(column_.begin + stride, end) - position;
    position += first;
    literals += first;
    lane = (lane + first) % stride;
  }
  while (position < end) {
    const std::size_t different = mismatchLength(bytes + position, bytes + position - stride, end - position);
    position += different;
    literals += different;
    lane += different;
    if (lane >= stride) lane %= stride;
    const std::size_t equal = matchLength(bytes + position, bytes + position - stride, end - position);
    const Cost gain = plan_->costs.of(lane, equal) - kLastDistanceCost;
    position += equal;
    lane += equal;
    if (lane >= stride) lane %= stride;
    if (gain <= 0 || equal < kLeastCopy) {
      literals += equal;
      continue;
    }
    commands.push_back({static_cast<std::uint32_t>(literals), static_cast<std::uint32_t>(equal), distance});
    literals = 0;
    saved_ += gain;
  }
  position_ = position;
  lane_ = lane;
  carried = static_cast<std::uint32_t>(literals);
}

inline void ColumnParser::advance(std::size_t length) {
  position_ += length;
  lane_ += length;
  if (lane_ < column_.stride) return;
  if (lane_ < 2 * column_.stride) {
    lane_ -= column_.stride;
    ++element_;
    return;
  }
  element_ += lane_ / column_.stride;
  lane_ %= column_.stride;
}

void ColumnParser::parseLookups(std::size_t end, std::uint32_t& carried, std::vector<Command>& commands) {
  // A word can be read from all positions before.
  const std::size_t readable = data_.size() < kKeyBytes ? 0 : data_.size() - kKeyBytes + 1;
  const std::size_t stop = std::min(end, readable);
  while (position_ < stop) {
    const Match match = bestMatch(position_, end);
    if (match.gain <= 0) {
      ++carried;
      advance(1);
      continue;
    }
    commands.push_back(
        {carried, static_cast<std::uint32_t>(match.length), static_cast<std::uint32_t>(match.distance)});
    carried = 0;
    saved_ += match.gain;
    if (match.distance != last_) {
      secondLast_ = last_;
      last_ = match.distance;
    }
    // Not for the rest of an element: that it would be found again is not worth the time.
    if (match.length > column_.stride) {
      enterCopied(position_ + 1, std::min(position_ + match.length, readable));
    }
    advance(match.length);
  }
  if (position_ < end) {
    carried += static_cast<std::uint32_t>(end - position_);
    advance(end - position_);
  }
}

}  // namespace Brotli
