#include <gmock/gmock.h>

#include <optional>
#include <sstream>
#include <stdexcept>
#include <type_traits>

#include "Sorvik/Converter.h"
#include "support/TempFolder.h"

namespace {

using Sorvik::ConversionStage;
using Sorvik::ConversionState;
using Sorvik::Converter;
using Sorvik::ConverterOptions;
using Sorvik::ConverterResult;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::ThrowsMessage;

std::string nameOf(int result) {
  std::ostringstream text;
  text << static_cast<ConverterResult>(result);
  return text.str();
}

/// A converter of an input that does not exist, which fails at once.
class FailingConverter : public testing::Test {
 protected:
  [[nodiscard]] std::wstring in() const { return (folder_.path() / "none.las").wstring(); }
  [[nodiscard]] std::wstring out() const { return (folder_.path() / "out").wstring(); }
  [[nodiscard]] std::filesystem::path write(const char* name) const { return folder_.write(name, "x"); }

 private:
  Testing::TempFolder folder_;

 protected:
  Converter converter{in(), out()};
};

TEST(ConverterResults, HaveTheNamesOfTheirNumbers) {
  const std::vector<std::string> names{"Success",
                                       "InputUnknownAttributeType",
                                       "InputPointCloudFormatUnsupported",
                                       "InputDegeneratedBBox",
                                       "InputNoColorIntensity",
                                       "InputNoPositions",
                                       "",
                                       "InputLazDecodeError",
                                       "InputGetInfoError",
                                       "InputFileNotFound",
                                       "InputNotFile",
                                       "InputEmpty",
                                       "InputCannotRead",
                                       "ConvertTempDirInvalid",
                                       "ConvertIOError",
                                       "ConvertFileTooBig",
                                       "ConvertTempFull",
                                       "ConvertTempPathNotFound",
                                       "ConvertInternalError",
                                       "OutputPathExists",
                                       "OutputProcessedFileGone",
                                       "OutputCannotWrite",
                                       "OutputDiskFull",
                                       "OutputCannotCreateDirs",
                                       "OutputDescriptorDamaged",
                                       "OutputDataFilesMissing"};
  for (int i = 0; i < 26; ++i) EXPECT_EQ(nameOf(i), names[static_cast<std::size_t>(i)]) << i;
  EXPECT_EQ(nameOf(static_cast<int>(ConverterResult::OutputPathExists)), "OutputPathExists");
}

TEST(ConverterResults, OfOtherNumbersWriteNothing) {
  for (const int number : {-1, 6, 26, 1'000'000, INT32_MIN, INT32_MAX})
    EXPECT_EQ(nameOf(number), "") << number;
  std::ostringstream text;
  text << "a" << static_cast<ConverterResult>(6) << "b";
  EXPECT_EQ(text.str(), "ab");
  static_assert(sizeof(ConverterResult) == 4);
}

TEST(ConverterFileTypes, AreListedInAFixedOrder) {
  EXPECT_THAT(Converter::supportedFileExtensions(),
              ElementsAre(L".e57", L".las", L".laz", L".rsp", L".rpp", L".rcp", L".rcs", L".zfs", L".zfprj"));
}

TEST(ConverterFileTypes, AreSeenByTheExtensionInLettersOfAnyCase) {
  for (const wchar_t* const path :
       {L"scan.E57", L"/data/project.ZFPRJ", L"C:\\data\\project.ZFPRJ", L"a.LaZ", L"a.txt.las", L"..las",
        L"a.b/c.rcs", L"\xE4\xF6.rcp", L"scan.las:stream", L"a:b/c.las"}) {
    EXPECT_TRUE(Converter::isSupportedFileType(path)) << std::filesystem::path(path);
  }
}

TEST(ConverterFileTypes, AreNotSeenInNamesWithoutSuchAnExtension) {
  for (const wchar_t* const path :
       {L"", L".", L"..", L"scan.txt", L"e57", L"scane57", L".e57", L"a/.las", L"a.las/", L"a.las/b",
        L"a.las.", L"a.las ", L"a.l\xE4s", L"a:b.las", L"a.txt:b.las", L"/", L"a.e57x"}) {
    EXPECT_FALSE(Converter::isSupportedFileType(path)) << std::filesystem::path(path);
  }
}

TEST(Converter, IsNeitherCopiedNorMoved) {
  static_assert(!std::is_copy_constructible_v<Converter> && !std::is_copy_assignable_v<Converter>);
  static_assert(!std::is_move_constructible_v<Converter> && !std::is_move_assignable_v<Converter>);
}

TEST_F(FailingConverter, IsPendingBeforeItsStart) {
  EXPECT_EQ(converter.state(), ConversionState::Pending);
  EXPECT_TRUE(converter.isStopped());
  EXPECT_FALSE(converter.isRunning() || converter.isCompleted() || converter.isCancelled() ||
               converter.isFailed());
  EXPECT_EQ(converter.resultCode(), ConverterResult::Success);
  EXPECT_EQ(converter.failedReason(), "");
  EXPECT_EQ(converter.stage(), ConversionStage::Open);
}

TEST_F(FailingConverter, CannotTellItsProgressBeforeItsStart) {
  double progress = -7;
  const std::chrono::system_clock::time_point before{};
  auto eta = before;
  EXPECT_FALSE(converter.getProgress(progress));
  EXPECT_FALSE(converter.getEta(eta));
  EXPECT_EQ(progress, -7);
  EXPECT_EQ(eta, before);
}

TEST_F(FailingConverter, ThatNeverStartedNeedNotBeWaitedFor) {
  EXPECT_EQ(converter.waitForCompletion(), ConversionState::Pending);
}

TEST_F(FailingConverter, TellsWhyItFailed) {
  EXPECT_EQ(converter.run(), ConversionState::Failed);
  EXPECT_TRUE(converter.isFailed() && converter.isStopped());
  EXPECT_EQ(converter.resultCode(), ConverterResult::InputFileNotFound);
  EXPECT_THAT(converter.failedReason(), HasSubstr("none.las: does not exist"));
  EXPECT_EQ(converter.numPoints(), 0U);
  EXPECT_GT(converter.seconds(), 0);
  EXPECT_EQ(converter.run(), ConversionState::Failed);
}

TEST_F(FailingConverter, FailsInTheBackgroundToo) {
  converter.runAsync();
  EXPECT_EQ(converter.waitForCompletion(), ConversionState::Failed);
  EXPECT_EQ(converter.resultCode(), ConverterResult::InputFileNotFound);
}

TEST_F(FailingConverter, CancelledBeforeItsStartStaysCancelled) {
  converter.requestCancellation();
  EXPECT_TRUE(converter.isCancelled());
  EXPECT_EQ(converter.run(), ConversionState::Cancelled);
  EXPECT_EQ(converter.resultCode(), ConverterResult::Success);
}

TEST_F(FailingConverter, TakesWideNamesOfAnyLetters) {
  Converter japanese(L"/no/\x70B9\x7FA4.las", out());
  EXPECT_EQ(japanese.run(), ConversionState::Failed);
  EXPECT_THAT(japanese.failedReason(), HasSubstr("/no/\xE7\x82\xB9\xE7\xBE\xA4.las"));
}

TEST_F(FailingConverter, ConvertsTheFilesThatAreSet) {
  converter.setFilesToConvert({in(), L"other.las"});
  converter.setFilesToConvert({});
  converter.setFileToConvert(write("scan.zfs").wstring());
  EXPECT_EQ(converter.run(), ConversionState::Failed);
  EXPECT_EQ(converter.resultCode(), ConverterResult::InputPointCloudFormatUnsupported);
  EXPECT_THAT(converter.failedReason(), HasSubstr("scan.zfs: is a Zoller+Froehlich scan (.zfs)"));
}

TEST_F(FailingConverter, ConvertsAddedInputsToo) {
  Converter several(write("a.e57").wstring(), out(), ConverterOptions());
  several.addInput(in());
  EXPECT_EQ(several.run(), ConversionState::Failed);
  EXPECT_EQ(several.resultCode(), ConverterResult::InputFileNotFound);
}

TEST_F(FailingConverter, RefusesOptionsThatMeanNothing) {
  const auto make = [&](const ConverterOptions& options) {
    return [=, this] { Converter(in(), out(), options); };
  };
  for (const double scale : {0.0, -0.001, double(NAN), double(INFINITY)}) {
    ConverterOptions options;
    options.scale = scale;
    EXPECT_THAT(make(options), ThrowsMessage<std::invalid_argument>("Error: scale <= 0"));
  }
  ConverterOptions options;
  options.memoryBudget = ConverterOptions::kLeastMemoryBudget - 1;
  EXPECT_THAT(make(options),
              ThrowsMessage<std::invalid_argument>("Error: memoryBudget < kLeastMemoryBudget"));
  options.memoryBudget = ConverterOptions::kLeastMemoryBudget;
  EXPECT_NO_THROW(make(options)());
}

}  // namespace
