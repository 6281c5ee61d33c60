#include "core/Memory.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>

namespace Core {
namespace {

/// The number in a control group's file; "max" or a missing file set no limit.
std::uint64_t limitIn(const char* path) {
  std::ifstream file(path);
  std::uint64_t bytes = 0;
  return file >> bytes ? bytes : UINT64_MAX;
}

}  // namespace

std::uint64_t usableMemory() {
  const auto physical = static_cast<std::uint64_t>(std::max(0L, sysconf(_SC_PHYS_PAGES))) *
                        static_cast<std::uint64_t>(std::max(0L, sysconf(_SC_PAGE_SIZE)));
  return std::min({physical, limitIn("/sys/fs/cgroup/memory.max"),
                   limitIn("/sys/fs/cgroup/memory/memory.limit_in_bytes")});
}

}  // namespace Core
