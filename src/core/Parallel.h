#pragma once

#include <cstddef>
#include <functional>

namespace Core {

/// Calls @p body(i) for every i in [0, count), on all processors, and returns when all calls have ended.
/// The order of the calls is not fixed. When calls throw, one of their exceptions is thrown here and calls
/// not yet begun may be left out. Never call it while holding a lock: a waiting thread may take up another
/// task that needs the same lock.
void parallelFor(std::size_t count, const std::function<void(std::size_t)>& body);

/// Cuts [0, count) into blocks of @p blockSize (the last may be shorter), fixed by index so that results
/// combined in block order never depend on the number of threads, and calls @p body(first, last) for each.
void parallelBlocks(std::size_t count, std::size_t blockSize,
                    const std::function<void(std::size_t first, std::size_t last)>& body);

}  // namespace Core
