#pragma once

#include <cstdint>
#include <optional>

namespace Converter {

/// How the work of a conversion is shared out. The output does not depend on any of it.
struct WorkOrder {
  unsigned threads = 1;
  std::uint64_t memoryBudget = 0;            ///< bytes
  std::optional<std::uint64_t> shuffleSeed;  ///< for tests: take up work in an order drawn from this
};

}  // namespace Converter
