#include "brotli/HistogramGroups.h"

#include <algorithm>
#include <limits>

#include "brotli/BitCost.h"

namespace Brotli {
namespace {

// What the description of a code takes, about: a start, and so much for each symbol.
constexpr Cost kDescriptionCost = 24 * kBitCost;
constexpr Cost kSymbolCost = 5 * kBitCost;
// Parts of more symbols than so many times the alphabet have a code of their own: descriptions hardly count.
constexpr std::size_t kManyTimes = 100;

}  // namespace

void HistogramGroups::reset(std::size_t numParts, std::size_t alphabetSize) {
  alphabetSize_ = alphabetSize;
  numParts_ = numParts;
  counts_.assign(numParts * alphabetSize, 0);
}

void HistogramGroups::addTo(std::size_t group, std::span<const std::uint32_t> counts) {
  std::uint32_t* const sums = groupCounts_.data() + group * alphabetSize_;
  for (const std::uint16_t symbol : used_) {
    sums[symbol] += counts[symbol];
    groupTotals_[group] += counts[symbol];
  }
}

void HistogramGroups::group(std::size_t mostGroups, std::size_t separateBits) {
  groupOf_.assign(numParts_, 0);
  groupCounts_.clear();
  groupTotals_.clear();
  numGroups_ = 0;
  for (std::size_t part = 0; part < numParts_; ++part) {
    const std::span<const std::uint32_t> own = counts(part);
    used_.clear();
    std::uint32_t total = 0;
    Cost ownTerms = 0;
    for (std::size_t s = 0; s < alphabetSize_; ++s) {
      if (own[s] == 0) continue;
      used_.push_back(static_cast<std::uint16_t>(s));
      total += own[s];
      ownTerms += nLog2Cost(own[s]);
    }
    if (total == 0) continue;
    std::size_t best = numGroups_;
    Cost least = kDescriptionCost + static_cast<Cost>(used_.size()) * kSymbolCost +
                 static_cast<Cost>(separateBits) * kBitCost;
    const bool tryOthers = total < kManyTimes * alphabetSize_ || numGroups_ == mostGroups;
    if (numGroups_ == mostGroups) least = std::numeric_limits<Cost>::max();
    for (std::size_t g = 0; tryOthers && g < numGroups_; ++g) {
      const std::uint32_t* const sums = groupCounts_.data() + g * alphabetSize_;
      Cost increase =
          nLog2Cost(groupTotals_[g] + total) - nLog2Cost(groupTotals_[g]) - nLog2Cost(total) + ownTerms;
      for (const std::uint16_t s : used_) {
        increase -= nLog2Cost(sums[s] + own[s]) - nLog2Cost(sums[s]);
        if (sums[s] == 0) increase += kSymbolCost;
      }
      if (increase < least) {
        least = increase;
        best = g;
      }
    }
    if (best == numGroups_) {
      ++numGroups_;
      groupCounts_.resize(numGroups_ * alphabetSize_, 0);
      groupTotals_.push_back(0);
    }
    addTo(best, own);
    groupOf_[part] = static_cast<std::uint16_t>(best);
  }
  if (numGroups_ == 0) {
    numGroups_ = 1;
    groupCounts_.resize(alphabetSize_, 0);
    groupTotals_.push_back(0);
  }
}

}  // namespace Brotli
