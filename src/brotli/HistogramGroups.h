#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Brotli {

/// Counts of the symbols of one alphabet, for several parts of a stream, and which of them share a code.
class HistogramGroups {
 public:
  /// Begins anew with @p numParts empty histograms.
  void reset(std::size_t numParts, std::size_t alphabetSize);

  [[nodiscard]] std::span<std::uint32_t> counts(std::size_t part) {
    return std::span(counts_).subspan(part * alphabetSize_, alphabetSize_);
  }

  /// Puts each part that has symbols into a group: the one where it costs least, or one of its own. The first
  /// such part is in group 0, and new groups have rising numbers.
  /// @param mostGroups     at least 1.
  /// @param separateBits   what a group of its own takes beside the description of its code.
  void group(std::size_t mostGroups, std::size_t separateBits);

  [[nodiscard]] std::size_t numGroups() const { return numGroups_; }
  /// 0 for parts without symbols.
  [[nodiscard]] std::size_t groupOf(std::size_t part) const { return groupOf_[part]; }
  [[nodiscard]] std::span<const std::uint32_t> groupCounts(std::size_t group) const {
    return std::span(groupCounts_).subspan(group * alphabetSize_, alphabetSize_);
  }

 private:
  void addTo(std::size_t group, std::span<const std::uint32_t> counts);

  std::size_t alphabetSize_ = 0;
  std::size_t numParts_ = 0;
  std::size_t numGroups_ = 0;
  std::vector<std::uint32_t> counts_;
  std::vector<std::uint32_t> groupCounts_;
  std::vector<std::uint32_t> groupTotals_;
  std::vector<std::uint16_t> groupOf_;
  std::vector<std::uint16_t> used_;
};

}  // namespace Brotli
