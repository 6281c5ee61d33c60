#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "brotli/LaneCosts.h"

namespace Brotli {

/// Where a parser looks for bytes that were there before.
struct ColumnPlan {
  LaneCosts costs;
  bool copies = false;  ///< of the element before
  /// Lanes, rising, from which the rest of an element is looked up among all elements before; then the last
  /// distance is tried, too.
  std::vector<std::uint32_t> lookupLanes;
};

}  // namespace Brotli
