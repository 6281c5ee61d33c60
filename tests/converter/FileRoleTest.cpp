#include <gmock/gmock.h>

#include <cerrno>
#include <stdexcept>

#include "converter/ConversionError.h"
#include "converter/FileRole.h"

namespace {

using Converter::ConversionError;
using Converter::FileRole;
using Converter::Result;
using testing::AllOf;
using testing::HasSubstr;

ConversionError errorOf(FileRole role, int number) {
  try {
    Converter::withRole(
        role, [&] { throw std::system_error(number, std::generic_category(), "/disk/octree.bin"); });
  } catch (const ConversionError& error) {
    return error;
  }
  return {Result::Success, ""};
}

Result resultOf(FileRole role, int number) { return errorOf(role, number).result(); }

TEST(FileRole, SaysWhichDiskIsFull) {
  for (const int full : {ENOSPC, EDQUOT}) {
    EXPECT_EQ(resultOf(FileRole::Temporary, full), Result::ConvertTempFull);
    EXPECT_EQ(resultOf(FileRole::Output, full), Result::OutputDiskFull);
  }
}

TEST(FileRole, SaysThatAFileIsTooBig) {
  EXPECT_EQ(resultOf(FileRole::Temporary, EFBIG), Result::ConvertFileTooBig);
  EXPECT_EQ(resultOf(FileRole::Output, EFBIG), Result::ConvertFileTooBig);
}

TEST(FileRole, SaysThatAFileOfTheConversionIsGone) {
  for (const int gone : {ENOENT, ESTALE}) {
    EXPECT_EQ(resultOf(FileRole::Temporary, gone), Result::OutputProcessedFileGone);
    EXPECT_EQ(resultOf(FileRole::Output, gone), Result::OutputProcessedFileGone);
  }
}

TEST(FileRole, HasAResultForEveryOtherFailure) {
  for (const int number : {EIO, EACCES, EROFS, EMFILE, ENOMEM}) {
    EXPECT_EQ(resultOf(FileRole::Temporary, number), Result::ConvertIOError);
    EXPECT_EQ(resultOf(FileRole::Output, number), Result::OutputCannotWrite);
  }
}

TEST(FileRole, BlamesNothingButTheInputForInputs) {
  for (const int number : {EIO, EACCES, ENOENT, EFBIG, ENOSPC}) {
    EXPECT_EQ(resultOf(FileRole::Input, number), Result::InputCannotRead);
  }
}

TEST(FileRole, TellsFileCauseAndWhatToDo) {
  EXPECT_THAT(
      errorOf(FileRole::Output, ENOSPC).what(),
      AllOf(HasSubstr("/disk/octree.bin: No space left on device"), HasSubstr("Free some space there")));
}

TEST(FileRole, TakesBytesThatAreNotThereForAFailureOfTheirFile) {
  const auto cutShort = [](FileRole role) {
    Converter::withRole(role, [] {
      throw Core::FormatError(Core::Source{"a.las", 7}, "bytes to read", "9", "2");
    });
  };
  const auto isResult = [](Result result) {
    return testing::Throws<ConversionError>(testing::Property(&ConversionError::result, result));
  };
  EXPECT_THAT([&] { cutShort(FileRole::Input); }, isResult(Result::InputCannotRead));
  EXPECT_THAT([&] { cutShort(FileRole::Temporary); }, isResult(Result::ConvertIOError));
  EXPECT_THAT([&] { cutShort(FileRole::Output); }, isResult(Result::OutputCannotWrite));
}

TEST(FileRole, HandsResultsAndOtherExceptionsThrough) {
  int value = 7;
  EXPECT_EQ(&Converter::withRole(FileRole::Output, [&]() -> int& { return value; }), &value);
  EXPECT_THROW(Converter::withRole(FileRole::Output, [] { throw std::logic_error("ours"); }),
               std::logic_error);
  EXPECT_THROW(Converter::withRole(FileRole::Output, [] { throw ConversionError(Result::InputEmpty, ""); }),
               ConversionError);
}

}  // namespace
