#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "brotli/ColumnPlan.h"
#include "brotli/Commands.h"

namespace Brotli {

/// Finds what to copy in a column, byte after byte: from the element before, and where the plan says so, from
/// the last distance and from the latest element that ends alike. Copies are taken where they cost less than
/// literals. Keeps a table of up to 2^16 places. Not to be used by two threads at once.
class ColumnParser {
 public:
  /// The largest distance, of a window of 22 bits (RFC 7932, section 9.1).
  static constexpr std::size_t kFarthest = (std::size_t{1} << 22U) - 16;

  /// Begins a column. @p data is the stream so far and the whole column; it and @p plan must outlive parsing.
  void begin(std::span<const std::byte> data, const ColumnRange& column, const ColumnPlan& plan);

  /// Appends commands for the column's bytes up to @p end.
  /// @param carried  literals since the last copy, before and after.
  void parse(std::size_t end, std::uint32_t& carried, std::vector<Command>& commands);

  /// What copies have saved since begin(), against literals.
  [[nodiscard]] Cost saved() const { return saved_; }
  /// What looking up from a lane of the plan has saved since begin(), against the other copies.
  [[nodiscard]] Cost savedBy(std::size_t lookup) const { return savedBy_[lookup]; }

 private:
  struct Match {
    std::size_t length = 0;
    std::size_t distance = 0;
    Cost gain = 0;
  };
  void parseRepetitions(std::size_t end, std::uint32_t& carried, std::vector<Command>& commands);
  void parseLookups(std::size_t end, std::uint32_t& carried, std::vector<Command>& commands);
  [[nodiscard]] Match bestMatch(std::size_t position, std::size_t end);
  void consider(std::size_t position, std::size_t end, std::uint64_t here, std::size_t distance,
                Match& best) const;
  [[nodiscard]] Cost copyCost(std::size_t distance) const;
  [[nodiscard]] std::uint16_t& entry(std::uint64_t here, std::size_t lookup);
  void enterCopied(std::size_t begin, std::size_t end);
  void advance(std::size_t length);

  std::span<const std::byte> data_;
  ColumnRange column_;
  const ColumnPlan* plan_ = nullptr;
  std::size_t position_ = 0;
  std::size_t lane_ = 0;
  std::size_t element_ = 0;
  std::size_t last_ = 0;  // the last distance, 0 at first
  std::size_t secondLast_ = 0;
  Cost strideCost_ = 0;
  Cost saved_ = 0;
  std::vector<Cost> savedBy_;               // by lookup lane of the plan
  std::vector<std::uint8_t> lookupOfLane_;  // place in the plan's list
  std::vector<std::uint8_t> keyShifts_;     // that leave the bytes of a key, by lookup
  std::vector<std::uint16_t> table_;        // low bits of the number of an element, by hash
  unsigned tableBits_ = 0;
};

}  // namespace Brotli
