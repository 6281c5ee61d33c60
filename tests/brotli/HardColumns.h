#pragma once

#include <string>
#include <vector>

#include "brotli/TestColumns.h"

namespace Testing {

/// Columns that an encoder may get wrong, and the name of what is hard in them.
struct HardColumns {
  std::string name;  ///< letters and digits
  Columns (*make)();
};

[[nodiscard]] std::vector<HardColumns> hardColumns();

/// Columns of one width each: a single column of @p stride bytes an element.
[[nodiscard]] Columns columnOfStride(std::size_t stride);
inline constexpr std::size_t kWidestTried = 64;

}  // namespace Testing
