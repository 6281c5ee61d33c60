#pragma once

#include <cstddef>

#include "formats/e57/Scan.h"

namespace Formats::E57 {

/// Unpacks the values number @p first to first + count - 1 of a column to @p out, as double: integers beyond
/// 2^53 lose their last digits.
/// @param column  bit-packed values from the first record on, and Columns::kPadding bytes behind them.
void decodeValues(const PointField& field, const std::byte* column, std::size_t first, std::size_t count,
                  double* out);

}  // namespace Formats::E57
