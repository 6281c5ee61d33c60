#include <gmock/gmock.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

#include "core/Parallel.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::ThrowsMessage;
using Blocks = std::set<std::pair<std::size_t, std::size_t>>;

/// The blocks that a call cuts, and fails the test when one comes twice.
Blocks blocksOf(std::size_t count, std::size_t blockSize) {
  std::mutex mutex;
  Blocks blocks;
  Core::parallelBlocks(count, blockSize, [&](std::size_t first, std::size_t last) {
    const std::lock_guard lock(mutex);
    EXPECT_TRUE(blocks.emplace(first, last).second) << first;
  });
  return blocks;
}

TEST(ParallelFor, CallsEveryIndexOnce) {
  for (const std::size_t count : {0U, 1U, 2U, 7U, 10'000U}) {
    std::vector<int> calls(count);  // plain numbers: a data race if two calls shared one
    Core::parallelFor(count, [&](std::size_t i) { ++calls[i]; });
    EXPECT_THAT(calls, Each(1)) << count;
  }
}

TEST(ParallelFor, ReturnsWhenAllCallsHaveEnded) {
  std::vector<std::uint64_t> squares(1'000);  // plain numbers: a data race if a call were still running
  Core::parallelFor(squares.size(), [&](std::size_t i) { squares[i] = i * i; });
  for (std::size_t i = 0; i < squares.size(); ++i) ASSERT_EQ(squares[i], i * i);
}

TEST(ParallelFor, PassesAnExceptionOn) {
  const auto fail = [] {
    Core::parallelFor(1'000, [](std::size_t i) {
      if (i == 777) throw std::out_of_range("index 777");
    });
  };
  EXPECT_THAT(fail, ThrowsMessage<std::out_of_range>("index 777"));
}

TEST(ParallelFor, PassesOneExceptionOnWhenAllCallsThrowAndWorksAfterwards) {
  EXPECT_THROW(Core::parallelFor(100, [](std::size_t) { throw std::runtime_error("all"); }),
               std::runtime_error);
  std::atomic<int> calls{0};
  Core::parallelFor(100, [&](std::size_t) { ++calls; });
  EXPECT_EQ(calls, 100);
}

TEST(ParallelFor, MayBeCalledFromACall) {
  std::vector<int> calls(16);
  Core::parallelFor(4,
                    [&](std::size_t i) { Core::parallelFor(4, [&](std::size_t k) { ++calls[4 * i + k]; }); });
  EXPECT_THAT(calls, Each(1));
}

TEST(ParallelBlocks, AreCutByIndexAloneAndOnlyTheLastIsShorter) {
  EXPECT_THAT(blocksOf(10, 4), ElementsAre(std::pair(0, 4), std::pair(4, 8), std::pair(8, 10)));
  EXPECT_THAT(blocksOf(8, 4), ElementsAre(std::pair(0, 4), std::pair(4, 8)));
  EXPECT_THAT(blocksOf(3, 4), ElementsAre(std::pair(0, 3)));
  EXPECT_THAT(blocksOf(1, 1), ElementsAre(std::pair(0, 1)));
  EXPECT_THAT(blocksOf(0, 4), ElementsAre());
}

TEST(ParallelBlocks, EndAtTheCountHoweverLargeItIs) {
  constexpr std::size_t half = SIZE_MAX / 2;
  EXPECT_THAT(
      blocksOf(SIZE_MAX, half),
      ElementsAre(std::pair(std::size_t{0}, half), std::pair(half, 2 * half), std::pair(2 * half, SIZE_MAX)));
}

TEST(ParallelBlocks, PassAnExceptionOn) {
  EXPECT_THROW(Core::parallelBlocks(10, 3, [](std::size_t, std::size_t) { throw std::bad_alloc(); }),
               std::bad_alloc);
}

}  // namespace
