#include <gtest/gtest.h>
#include <sys/sysinfo.h>

#include <fstream>

#include "core/Memory.h"

namespace {

TEST(UsableMemory, IsAtMostThatOfTheMachine) {
  struct sysinfo machine = {};
  ASSERT_EQ(sysinfo(&machine), 0);
  EXPECT_LE(Core::usableMemory(), std::uint64_t{machine.totalram} * machine.mem_unit);
  EXPECT_GE(Core::usableMemory(), std::uint64_t{1} << 20U);
}

TEST(UsableMemory, IsAtMostTheLimitOfTheControlGroup) {
  bool limited = false;
  for (const char* path : {"/sys/fs/cgroup/memory.max", "/sys/fs/cgroup/memory/memory.limit_in_bytes"}) {
    std::ifstream file(path);
    std::uint64_t limit = 0;
    if (!(file >> limit)) continue;
    limited = true;
    EXPECT_LE(Core::usableMemory(), limit) << path;
  }
  if (!limited) GTEST_SKIP() << "no control group limits the memory here";
}

}  // namespace
