#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "brotli/BitWriter.h"
#include "brotli/PrefixCode.h"

namespace Brotli {

/// The rows of symbols of one kind that share a block type (RFC 7932, section 6): literals, commands or
/// distances. First all rows are added, then described, then passed through in order.
class BlockTypes {
 public:
  static constexpr std::size_t kMostTypes = 256;

  void clear();

  /// Adds @p count symbols of @p type, which is 0 at first and then at most one larger than all before.
  void add(std::size_t type, std::uint32_t count);

  [[nodiscard]] std::size_t numTypes() const { return numTypes_; }

  /// Writes the number of types and, where there are several, their codes and the length of the first row.
  void describe(BitWriter& out);

  /// What the changes from row to row take; known once described.
  [[nodiscard]] std::uint64_t switchBits() const { return switchBits_; }

  /// How many symbols the row that was entered last still has.
  [[nodiscard]] std::uint32_t left() const { return left_; }
  /// Takes symbols of the row.
  void take(std::uint32_t count) { left_ -= count; }
  /// Writes the change to the next row, which there is.
  void enterNext(BitWriter& out);

  /// Of the row that was entered last.
  [[nodiscard]] std::size_t type() const { return rows_.empty() ? 0 : rows_[current_].type; }

 private:
  struct Row {
    std::size_t type;
    std::uint32_t count;
    std::size_t typeSymbol;
  };

  std::vector<Row> rows_;
  std::size_t numTypes_ = 1;
  std::size_t current_ = 0;
  std::uint32_t left_ = 0;
  std::uint64_t switchBits_ = 0;
  PrefixCode typeCode_;
  PrefixCode countCode_;
};

/// Writes a number from 1 to 256 (RFC 7932, section 9.2, the code of NBLTYPESL).
void writeSmallNumber(std::size_t number, BitWriter& out);

}  // namespace Brotli
