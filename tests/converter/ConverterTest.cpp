#include <gmock/gmock.h>

#include <latch>
#include <new>
#include <stdexcept>
#include <thread>

#include "converter/ConversionError.h"
#include "converter/Converter.h"
#include "converter/FakeEngine.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

namespace fs = std::filesystem;
using Converter::ConversionError;
using Converter::ConversionReport;
using Converter::ConverterOptions;
using Converter::Progress;
using Converter::Result;
using Converter::Stage;
using Core::JobState;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Optional;

/// A folder of two scan files, and an engine that pretends to convert them.
class ConverterJob : public testing::Test {
 protected:
  [[nodiscard]] Converter::Converter converter(const ConverterOptions& options = {}) {
    return {in(), folder_.path() / "out", options, engine.parts()};
  }
  [[nodiscard]] fs::path in() const { return folder_.path() / "in"; }
  [[nodiscard]] fs::path write(const fs::path& name) const { return folder_.write(name, "x"); }

  /// Runs a converter that is to fail, with nothing left behind.
  void expectFailure(Result result, const std::string& text, const ConverterOptions& options = {}) {
    Converter::Converter job = converter(options);
    EXPECT_EQ(job.run(), JobState::Failed);
    EXPECT_EQ(job.resultCode(), static_cast<int>(result));
    EXPECT_THAT(job.failedReason(), HasSubstr(text));
    EXPECT_EQ(job.report().numPoints, 0U);
    EXPECT_FALSE(engine.committed);
  }

  FakeEngine engine;

 private:
  TempFolder folder_;

 protected:
  const fs::path a = write("in/a.las");
  const fs::path b = write("in/b.las");
};

TEST_F(ConverterJob, ConvertsTheFilesOfAFolderAndCommitsTheOutput) {
  Converter::Converter job = converter();
  EXPECT_EQ(job.run(), JobState::Completed);
  EXPECT_THAT(engine.converted, ElementsAre(a, b));
  EXPECT_EQ(engine.output.filename(), "out");
  EXPECT_TRUE(engine.committed && engine.released);
  EXPECT_EQ(job.report().numPoints, 100U);
  EXPECT_EQ(job.numInputPoints(), 200U);
  EXPECT_GT(job.report().seconds, 0);
  EXPECT_EQ(job.resultCode(), 0);
}

TEST_F(ConverterJob, ConvertsTheChosenFilesOnly) {
  Converter::Converter job = converter();
  EXPECT_TRUE(job.setFilesToConvert({"a.las", b}));
  EXPECT_TRUE(job.setFileToConvert("b.las"));
  EXPECT_EQ(job.run(), JobState::Completed);
  EXPECT_THAT(engine.converted, ElementsAre(b));
}

TEST_F(ConverterJob, ConvertsFurtherInputsToo) {
  const fs::path c = write("more/c.las");
  Converter::Converter job = converter();
  EXPECT_TRUE(job.addInput(c.parent_path()));
  EXPECT_EQ(job.run(), JobState::Completed);
  EXPECT_THAT(engine.converted, ElementsAre(a, b, c));
}

TEST_F(ConverterJob, TakesNoInputOnceItHasStartedAndNoEmptyList) {
  Converter::Converter job = converter();
  EXPECT_FALSE(job.setFilesToConvert({}));
  job.run();
  EXPECT_FALSE(job.setFileToConvert(a));
  EXPECT_FALSE(job.setFilesToConvert({a}));
  EXPECT_FALSE(job.addInput(a));
}

TEST_F(ConverterJob, HandsItsOptionsOn) {
  ConverterOptions options;
  options.conversion.compression = Converter::NodeCompression::Search;
  options.overwrite = true;
  options.temporaryFolder = "/elsewhere";
  options.allowTruncated = true;
  Converter::Converter job = converter(options);
  job.run();
  EXPECT_EQ(engine.settings.compression, Converter::NodeCompression::Search);
  EXPECT_EQ(engine.settings.name, "out");
  EXPECT_TRUE(engine.placeOptions.overwrite);
  EXPECT_THAT(engine.placeOptions.inputs, ElementsAre(a, b));
  EXPECT_THAT(engine.placeOptions.temporaryFolder, Optional(fs::path("/elsewhere")));
  EXPECT_TRUE(engine.scanOptions.allowTruncated);
}

TEST_F(ConverterJob, CollectsTheRemarksOfEveryStep) {
  fs::create_symlink(a, in() / "c.las");
  engine.open = [](const fs::path& file) {
    Converter::ScanInfo info = scanInfo(file);
    info.warnings = {"odd header"};
    return std::make_unique<FakeScan>(info, false, std::vector<std::string>{"points left out"});
  };
  engine.convert = [](Progress&, const std::stop_token&) { return ConversionReport{7, 3, {"scale raised"}}; };
  Converter::Converter job = converter();
  EXPECT_THAT(job.report().remarks, IsEmpty());
  job.run();
  EXPECT_THAT(
      job.report().remarks,
      ElementsAre(HasSubstr("is the same file"), a.string() + ": odd header", b.string() + ": odd header",
                  "the place was cleaned up", a.string() + ": points left out",
                  b.string() + ": points left out", "scale raised", "the old octree stays"));
  EXPECT_EQ(job.report().duplicates, 3U);
}

TEST_F(ConverterJob, LeavesOutInputsWithoutPointsAndSaysSo) {
  engine.open = [&](const fs::path& file) -> std::unique_ptr<Converter::ScanReader> {
    if (file == a) throw ConversionError(Result::InputEmpty, "0 bytes");
    return std::make_unique<FakeScan>(scanInfo(file));
  };
  Converter::Converter job = converter();
  EXPECT_EQ(job.run(), JobState::Completed);
  EXPECT_THAT(engine.converted, ElementsAre(b));
  EXPECT_THAT(job.report().remarks, Contains(a.string() + " holds no points and was left out"));
}

TEST_F(ConverterJob, FailsWhenNoInputHasPoints) {
  engine.open = [](const fs::path& file) {
    Converter::ScanInfo info = scanInfo(file);
    info.numPoints = 0;
    return std::make_unique<FakeScan>(info);
  };
  expectFailure(Result::InputEmpty, "a.las and 1 more: no input holds points");
}

TEST_F(ConverterJob, FailsForInputsWithoutColourAndIntensityOnlyWhenAsked) {
  engine.open = [](const fs::path& file) {
    return std::make_unique<FakeScan>(scanInfo(file, file.filename() == "b.las" ? "gps-time" : "rgb"));
  };
  ConverterOptions options;
  options.requireColorOrIntensity = true;
  expectFailure(Result::InputNoColorIntensity, "b.las: its points have neither colours nor intensities",
                options);
  EXPECT_EQ(converter().run(), JobState::Completed);
}

TEST_F(ConverterJob, FailsWithWhatTheReaderSays) {
  engine.open = [](const fs::path&) -> std::unique_ptr<Converter::ScanReader> {
    throw ConversionError(Result::InputGetInfoError, "a.las, byte 94: header size");
  };
  expectFailure(Result::InputGetInfoError, "a.las, byte 94: header size");
}

TEST_F(ConverterJob, FailsWithWhatTheOutputSays) {
  engine.prepareOutput = [] { throw ConversionError(Result::OutputPathExists, "out exists"); };
  expectFailure(Result::OutputPathExists, "out exists");
}

TEST_F(ConverterJob, FailsWithWhatTheConversionSaysAndLeavesTheOutputsPlace) {
  engine.convert = [](Progress&, const std::stop_token&) -> ConversionReport {
    throw ConversionError(Result::OutputDiskFull, "octree.bin: no space left");
  };
  expectFailure(Result::OutputDiskFull, "octree.bin: no space left");
  EXPECT_TRUE(engine.released);
}

TEST_F(ConverterJob, FailsBeforeItStartsWhenTheDiskIsTooSmall) {
  engine.freeBytes = 100;
  expectFailure(Result::OutputDiskFull, "the conversion needs about");
  EXPECT_THAT(engine.converted, IsEmpty());
}

TEST_F(ConverterJob, FailsWhenAnInputHasChangedMeanwhile) {
  engine.open = [](const fs::path& file) { return std::make_unique<FakeScan>(scanInfo(file), true); };
  expectFailure(Result::InputCannotRead, "a.las: has changed");
}

TEST_F(ConverterJob, FailsWithAnInternalErrorForAnythingElse) {
  engine.convert = [](Progress&, const std::stop_token&) -> ConversionReport { throw std::bad_alloc(); };
  expectFailure(Result::ConvertInternalError, "out of memory");
  engine.convert = [](Progress&, const std::stop_token&) -> ConversionReport {
    throw std::logic_error("bug");
  };
  expectFailure(Result::ConvertInternalError, "bug");
}

TEST_F(ConverterJob, FailsForAnInputThatDoesNotExist) {
  fs::remove_all(in());
  expectFailure(Result::InputFileNotFound, "does not exist");
}

TEST_F(ConverterJob, TellsStageAndProgressWhileItRuns) {
  std::latch told(1);
  engine.convert = [&](Progress& progress, const std::stop_token& stopToken) {
    progress.begin(Stage::Index, 2);
    progress.advance(1);
    told.count_down();
    while (!stopToken.stop_requested()) std::this_thread::yield();
    throw Converter::ConversionCancelled();
    return ConversionReport{};
  };
  Converter::Converter job = converter();
  EXPECT_EQ(job.stage(), std::nullopt);
  job.runAsync();
  told.wait();
  EXPECT_THAT(job.stage(), Optional(Stage::Index));
  EXPECT_THAT(job.progress(), Optional(testing::AllOf(testing::Gt(0.1), testing::Lt(1))));
  EXPECT_THAT(job.report().remarks, IsEmpty());
  job.requestCancellation();
  while (!job.isStopped()) std::this_thread::yield();
  EXPECT_TRUE(job.isCancelled());
  EXPECT_TRUE(engine.released && !engine.committed);
}

TEST_F(ConverterJob, CancelledInItsLastMomentLeavesNoOutput) {
  Converter::Converter* self = nullptr;
  engine.convert = [&](Progress&, const std::stop_token&) {
    self->requestCancellation();
    return ConversionReport{100, 0, {}};
  };
  Converter::Converter job = converter();
  self = &job;
  EXPECT_EQ(job.run(), JobState::Cancelled);
  EXPECT_FALSE(engine.committed);
}

TEST_F(ConverterJob, CancelledWhileItOpensInputsOpensNoMore) {
  Converter::Converter* self = nullptr;
  int opened = 0;
  engine.open = [&](const fs::path& file) {
    ++opened;
    self->requestCancellation();
    return std::make_unique<FakeScan>(scanInfo(file));
  };
  Converter::Converter job = converter();
  self = &job;
  EXPECT_EQ(job.run(), JobState::Cancelled);
  EXPECT_EQ(opened, 1);
}

TEST_F(ConverterJob, IsCancelledByItsDestructor) {
  engine.convert = [](Progress&, const std::stop_token& stopToken) -> ConversionReport {
    while (!stopToken.stop_requested()) std::this_thread::yield();
    throw Converter::ConversionCancelled();
  };
  converter().runAsync();
  EXPECT_FALSE(engine.committed);
}

}  // namespace
}  // namespace Testing
