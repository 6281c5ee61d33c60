#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "brotli/ColumnParser.h"
#include "brotli/ColumnPlan.h"
#include "brotli/Commands.h"

namespace Brotli {

/// Chooses how a column is parsed, by parsing a small part of it in each way. Knows nothing of what columns
/// mean. Keeps memory for the next column. Not to be used by two threads at once.
class ColumnPlanner {
 public:
  /// @param data    the stream so far and the whole column.
  /// @param column  of at least one element.
  [[nodiscard]] ColumnPlan plan(std::span<const std::byte> data, const ColumnRange& column);

 private:
  [[nodiscard]] Cost saved(std::span<const std::byte> data, const ColumnRange& part, const ColumnPlan& plan);

  ColumnParser parser_;
  std::vector<Command> commands_;
};

}  // namespace Brotli
