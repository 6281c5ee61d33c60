// Conversions that are cancelled or fail: nothing is left that looks like a cloud.

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>

#include "converter/ConversionError.h"
#include "converter/ConversionRun.h"
#include "support/FaultyFileSystem.h"

namespace {

using Converter::ConversionCancelled;
using Testing::clusteredScan;
using Testing::ConversionRun;
using Testing::ScanContent;
using Testing::scansOf;
using Testing::smallSettings;

/// Requests a stop at the n-th call (from 1).
class StopAtCall final : public Converter::Progress {
 public:
  explicit StopAtCall(int n) : left_(n) {}

  void begin(Converter::Stage /*stage*/, std::uint64_t /*total*/) override { count(); }
  void advance(std::uint64_t /*units*/) override { count(); }

  [[nodiscard]] std::stop_token token() const { return stop_.get_token(); }

 private:
  void count() {
    if (--left_ == 0) stop_.request_stop();
  }

  std::atomic<int> left_;
  std::stop_source stop_;
};

/// A few chunks with nodes above them, with wrong boxes where points are to be measured, too.
ScanContent shortScan(bool measured) {
  ScanContent content = clusteredScan(400, 41);
  content.pointsPerBlock = 100;
  if (measured) content.statedBox = Math::NBoundingBox<double, 3>{};
  return content;
}

bool isEmpty(const ConversionRun& run) {
  return std::filesystem::is_empty(run.output()) && std::filesystem::is_empty(run.temporary());
}

/// Whether the conversion was cancelled when a stop was requested at the n-th call of the progress.
bool isCancelledAt(int n, bool measured, unsigned threads) {
  auto settings = smallSettings();
  settings.threads = threads;
  ConversionRun run;
  StopAtCall progress(n);
  Core::DiskFileSystem disk(Core::DiskFileSystem::Sync::No);
  try {
    run.convert(scansOf({shortScan(measured)}), settings, disk, progress, progress.token());
  } catch (const ConversionCancelled&) {
    EXPECT_TRUE(isEmpty(run)) << n;
    return true;
  }
  EXPECT_TRUE(std::filesystem::exists(run.output() / "metadata.json")) << n;
  return false;
}

TEST(ConversionFailure, ACancelledConversionLeavesNothingWheneverItIsStopped) {
  for (const unsigned threads : {1U, 3U}) {
    int n = 1;
    while (isCancelledAt(n, true, threads)) ASSERT_LT(++n, 1000);
    EXPECT_GT(n, 20) << "too few calls to tell";
    EXPECT_FALSE(isCancelledAt(n + 1, true, threads)) << "the last call comes when all is done";
  }
}

TEST(ConversionFailure, AStopThatWasRequestedBeforeCancelsAtOnce) {
  std::stop_source stop;
  stop.request_stop();
  ScanContent content = shortScan(false);
  content.beforeBlock = [](std::uint64_t) { FAIL() << "a block was read"; };
  ConversionRun run;
  Core::DiskFileSystem disk(Core::DiskFileSystem::Sync::No);
  Testing::ProgressLog progress;
  EXPECT_THROW(run.convert(scansOf({content}), smallSettings(), disk, progress, stop.get_token()),
               ConversionCancelled);
  EXPECT_TRUE(isEmpty(run));
}

TEST(ConversionFailure, AnErrorOfAScanEndsTheConversionAtWhateverBlock) {
  for (const bool measured : {false, true}) {
    for (int n = 1; n <= (measured ? 8 : 4); ++n) {
      ScanContent content = shortScan(measured);
      auto left = std::make_shared<std::atomic<int>>(n);
      content.beforeBlock = [left](std::uint64_t block) {
        if (--*left == 0) {
          throw Converter::ConversionError(Converter::Result::InputCannotRead,
                                           "block " + std::to_string(block));
        }
      };
      ConversionRun run;
      EXPECT_THROW(run.convert(scansOf({content})), Converter::ConversionError) << n;
      EXPECT_TRUE(isEmpty(run)) << n;
    }
  }
}

TEST(ConversionFailure, AnyExceptionOfAScanComesThrough) {
  ScanContent content = shortScan(false);
  content.beforeBlock = [](std::uint64_t) { throw std::bad_alloc(); };
  EXPECT_THROW(ConversionRun().convert(scansOf({content})), std::bad_alloc);
}

/// Whether the conversion failed when the n-th of the file layer's calls did.
bool failsAt(std::size_t n, unsigned threads) {
  Core::DiskFileSystem disk(Core::DiskFileSystem::Sync::No);
  Testing::FaultyFileSystem files(disk);
  files.failNth(n, Testing::allCalls(), ENOSPC);
  auto settings = smallSettings();
  settings.threads = threads;
  ConversionRun run;
  Testing::ProgressLog progress;
  try {
    run.convert(scansOf({shortScan(false)}), settings, files, progress);
  } catch (const Converter::ConversionError& error) {
    EXPECT_TRUE(files.hasFailed()) << n;
    EXPECT_THAT(error.result(),
                testing::AnyOf(Converter::Result::ConvertTempFull, Converter::Result::OutputDiskFull));
    EXPECT_THAT(error.what(), testing::HasSubstr(run.output().parent_path().string())) << "names the file";
    EXPECT_FALSE(std::filesystem::exists(run.output() / "metadata.json")) << n;
    EXPECT_TRUE(std::filesystem::is_empty(run.temporary())) << n;
    return true;
  }
  EXPECT_FALSE(files.hasFailed()) << "call " << n << " failed unseen";
  return false;
}

TEST(ConversionFailure, AnyFailingCallOfTheFileLayerEndsTheConversionWithoutACloud) {
  for (const unsigned threads : {1U, 3U}) {
    std::size_t n = 1;
    while (failsAt(n, threads)) ASSERT_LT(++n, 1000);
    EXPECT_GT(n, 30) << "too few calls to tell";
  }
}

TEST(ConversionFailure, DifferingCoordinateSystemsAreRefusedOnlyWhenTheyAreToBeEqual) {
  ScanContent a = shortScan(false);
  a.projection = "WKT A";
  ScanContent b = a;
  b.projection = "WKT B";
  ConversionRun run;
  EXPECT_EQ(run.convert(scansOf({a, b})).remarks.size(), 1);
  EXPECT_EQ(run.octree().metaData.at("projection"), "WKT A");
  auto settings = smallSettings();
  settings.strictCrs = true;
  EXPECT_THROW(ConversionRun().convert(scansOf({a, b}), settings), Converter::ConversionError);
}

}  // namespace
