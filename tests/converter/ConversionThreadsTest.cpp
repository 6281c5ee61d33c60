// Conversions on many threads.

#include <gmock/gmock.h>

#include <atomic>

#include "converter/ConversionError.h"
#include "converter/ConversionRun.h"

namespace {

using Testing::clusteredScan;
using Testing::ConversionRun;
using Testing::filesOf;
using Testing::ScanContent;
using Testing::scansOf;
using Testing::smallSettings;

TEST(ConversionThreads, ManyThreadsMakeTheOctreeOfOne) {
  ScanContent content = clusteredScan(2'000, 51);
  content.pointsPerBlock = 100;
  auto settings = smallSettings();
  settings.threads = 1;
  const Testing::OctreeFiles expected = filesOf({content}, settings);
  settings.threads = 6;
  for (std::uint64_t seed = 0; seed < 3; ++seed) {
    settings.shuffleSeed = seed;
    EXPECT_EQ(filesOf({content}, settings), expected) << seed;
  }
}

TEST(ConversionThreads, PointsAreMeasuredAndCompressedOnManyThreads) {
  ScanContent content = clusteredScan(2'000, 52);
  content.pointsPerBlock = 100;
  content.statedBox = Math::NBoundingBox<double, 3>{};
  auto settings = smallSettings();
  settings.encoding = PoTree::Encoding::Brotli;
  settings.threads = 6;
  ConversionRun run;
  EXPECT_EQ(run.convert(scansOf({content}), settings).numPoints, 2'000);
}

TEST(ConversionThreads, AThreadThatFailsStopsTheOthers) {
  for (int n = 1; n < 20; n += 3) {
    ScanContent content = clusteredScan(2'000, 53);
    content.pointsPerBlock = 100;
    auto left = std::make_shared<std::atomic<int>>(n);
    content.beforeBlock = [left](std::uint64_t) {
      if (--*left == 0) throw Converter::ConversionError(Converter::Result::InputCannotRead, "broken");
    };
    auto settings = smallSettings();
    settings.threads = 6;
    EXPECT_THROW(ConversionRun().convert(scansOf({content}), settings), Converter::ConversionError);
  }
}

TEST(ConversionThreads, AStopFromOutsideEndsTheConversion) {
  std::stop_source stop;
  ScanContent content = clusteredScan(2'000, 54);
  content.pointsPerBlock = 100;
  content.beforeBlock = [&](std::uint64_t block) {
    if (block == 7) stop.request_stop();
  };
  auto settings = smallSettings();
  settings.threads = 6;
  ConversionRun run;
  Core::DiskFileSystem disk(Core::DiskFileSystem::Sync::No);
  Testing::ProgressLog progress;
  EXPECT_THROW(run.convert(scansOf({content}), settings, disk, progress, stop.get_token()),
               Converter::ConversionCancelled);
}

}  // namespace
