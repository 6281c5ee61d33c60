#include <gmock/gmock.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "converter/ConversionError.h"
#include "converter/ScanBlocks.h"
#include "converter/WorkerThreads.h"
#include "support/ListScan.h"

namespace {

using Converter::runOnThreads;
using Converter::ScanBlocks;

/// Long enough for a thread that waits for it to be told.
void waitForStop(const std::stop_token& stop) {
  while (!stop.stop_requested()) std::this_thread::yield();
}

TEST(WorkerThreads, RunTheBodyOnceEach) {
  for (const unsigned count : {1U, 2U, 5U}) {
    std::atomic<unsigned> calls{0};
    runOnThreads(count, {}, [&](const std::stop_token&) { ++calls; });
    EXPECT_EQ(calls, count);
  }
}

TEST(WorkerThreads, TheCallersIsOneOfThem) {
  std::thread::id id;
  runOnThreads(1, {}, [&](const std::stop_token&) { id = std::this_thread::get_id(); });
  EXPECT_EQ(id, std::this_thread::get_id());
}

TEST(WorkerThreads, AnExceptionStopsTheOthersAndComesThrough) {
  std::atomic<int> number{0};
  EXPECT_THROW(runOnThreads(4, {},
                            [&](const std::stop_token& stop) {
                              if (number++ == 2) throw std::runtime_error("broken");
                              waitForStop(stop);
                            }),
               std::runtime_error);
}

TEST(WorkerThreads, AStopFromOutsideReachesAllAndIsACancellation) {
  std::stop_source source;
  std::atomic<int> number{0};
  EXPECT_THROW(runOnThreads(3, source.get_token(),
                            [&](const std::stop_token& stop) {
                              if (number++ == 1) source.request_stop();
                              waitForStop(stop);
                            }),
               Converter::ConversionCancelled);
}

TEST(WorkerThreads, AnExceptionCountsMoreThanAStop) {
  std::stop_source source;
  source.request_stop();
  EXPECT_THROW(
      runOnThreads(2, source.get_token(), [](const std::stop_token&) { throw std::runtime_error("broken"); }),
      std::runtime_error);
}

/// Scans of five, no and two blocks.
Testing::ListScans threeScans() {
  Testing::ScanContent five;
  five.points.resize(41);
  five.pointsPerBlock = 10;
  Testing::ScanContent two = five;
  two.points.resize(20);
  return Testing::scansOf({five, {}, two});
}

std::vector<std::pair<std::size_t, std::uint64_t>> allOf(ScanBlocks& blocks) {
  std::vector<std::pair<std::size_t, std::uint64_t>> all;
  while (const auto next = blocks.next()) all.emplace_back(next->scan, next->block);
  return all;
}

TEST(ScanBlocks, ComeInTheOrderOfTheFiles) {
  const auto scans = threeScans();
  ScanBlocks blocks(scans, {});
  EXPECT_THAT(allOf(blocks),
              testing::ElementsAre(std::pair(0, 0), std::pair(0, 1), std::pair(0, 2), std::pair(0, 3),
                                   std::pair(0, 4), std::pair(2, 0), std::pair(2, 1)));
  EXPECT_FALSE(blocks.next());
}

TEST(ScanBlocks, ComeOnceEachWhenShuffled) {
  const auto scans = threeScans();
  ScanBlocks inOrder(scans, {});
  ScanBlocks shuffled(scans, 5);
  const auto expected = allOf(inOrder);
  const auto all = allOf(shuffled);
  EXPECT_THAT(all, testing::UnorderedElementsAreArray(expected));
  EXPECT_NE(all, expected);
}

}  // namespace
