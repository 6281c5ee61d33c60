#include "converter/FileRole.h"

#include <cerrno>
#include <string>

#include "converter/ConversionError.h"

namespace Converter {
namespace {

/// What went wrong, apart from the role of the file.
enum class Cause { DiskFull, FileTooBig, Gone, Other };

Cause causeOf(const std::error_code& code) {
  switch (code.value()) {
    case ENOSPC:
    case EDQUOT:
      return Cause::DiskFull;
    case EFBIG:
      return Cause::FileTooBig;
    case ENOENT:
    case ESTALE:
      return Cause::Gone;
    default:
      return Cause::Other;
  }
}

[[noreturn]] void failInput(const char* what) {
  throw ConversionError(
      Result::InputCannotRead,
      "An input file cannot be read: " + std::string(what) +
          ". Check that the file is whole, that its disk is connected and that you may read it.");
}

[[noreturn]] void fail(FileRole role, Cause cause, const std::string& what) {
  const bool temporary = role == FileRole::Temporary;
  const std::string folder = temporary ? "temporary folder" : "output folder";
  switch (cause) {
    case Cause::DiskFull:
      throw ConversionError(temporary ? Result::ConvertTempFull : Result::OutputDiskFull,
                            "The disk of the " + folder + " is full: " + what +
                                ". Free some space there, or choose another " + folder + ".");
    case Cause::FileTooBig:
      throw ConversionError(Result::ConvertFileTooBig,
                            "A file would become larger than its disk or your account allows: " + what +
                                ". Choose another " + folder + ", or have the limit raised.");
    case Cause::Gone:
      throw ConversionError(
          Result::OutputProcessedFileGone,
          "A file of the running conversion is gone: " + what +
              ". Somebody or something (a cleaner of temporary files?) removed it; start again.");
    case Cause::Other:
      break;
  }
  throw ConversionError(temporary ? Result::ConvertIOError : Result::OutputCannotWrite,
                        (temporary ? "A temporary file cannot be used: " : "The output cannot be written: ") +
                            what + ". Check the disk and your permissions, or choose another " + folder +
                            ".");
}

}  // namespace

void failWithRole(FileRole role, const std::system_error& error) {
  if (role == FileRole::Input) failInput(error.what());
  fail(role, causeOf(error.code()), error.what());
}

void failWithRole(FileRole role, const Core::FormatError& error) {
  if (role == FileRole::Input) failInput(error.what());
  fail(role, Cause::Other, error.what());
}

}  // namespace Converter
