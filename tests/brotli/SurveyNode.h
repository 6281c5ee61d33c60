#pragma once

#include <cstddef>
#include <cstdint>

#include "brotli/TestColumns.h"

namespace Testing {

/// The columns of a brotli node that holds a whole synthetic survey, points along the Morton curve.
[[nodiscard]] Columns surveyNode(std::uint64_t points);

/// One column of them: positions (16 bytes) are 0, gps times (8) 9 and colours (8) 10.
[[nodiscard]] Columns columnAlone(const Columns& columns, std::size_t index);

}  // namespace Testing
