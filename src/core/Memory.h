#pragma once

#include <cstdint>

namespace Core {

/// Bytes of memory that this process may use: the machine's, or its control group's limit where that is less.
[[nodiscard]] std::uint64_t usableMemory();

}  // namespace Core
