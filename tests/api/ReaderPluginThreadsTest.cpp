// A reader plug-in whose scan is read on many threads.

#include <gmock/gmock.h>

#include <atomic>

#include "Sorvik/Converter.h"
#include "api/FakePlugin.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

/// Converts a scan of several reads on six threads, and hands out how many reads were seen at once at most.
int mostReadsAtOnce(bool inParallel) {
  const TempFolder folder;
  folder.write("in/scan.fake", "FAKE");
  std::atomic<int> inside = 0;
  std::atomic<int> most = 0;
  FakeFormat format;
  format.readsInParallel = inParallel;
  format.description.numPoints = 3 * Sorvik::OpenedScan::kPointsPerRead;
  format.read = [&](std::uint64_t first, std::uint64_t count, Sorvik::ScanPointSink& sink) {
    const int now = ++inside;
    int before = most;
    while (before < now && !most.compare_exchange_weak(before, now)) {
    }
    givePoints(first, count, sink);
    --inside;
  };
  Sorvik::ConverterOptions options;
  options.threads = 6;
  options.syncToDisk = false;
  options.readers = {std::make_shared<FakePlugin>(format)};
  Sorvik::Converter converter((folder.path() / "in").wstring(), (folder.path() / "out").wstring(), options);
  EXPECT_EQ(converter.run(), Sorvik::ConversionState::Completed) << converter.failedReason();
  EXPECT_EQ(converter.numPoints(), format.description.numPoints);
  return most;
}

TEST(ReaderPluginThreads, AScanThatMayBeReadInParallelGivesAllItsPoints) {
  EXPECT_LE(mostReadsAtOnce(true), 6);
}

TEST(ReaderPluginThreads, AScanThatMayNotIsReadByOneThreadAtATime) { EXPECT_EQ(mostReadsAtOnce(false), 1); }

}  // namespace
}  // namespace Testing
