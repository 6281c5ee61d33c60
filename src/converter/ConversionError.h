#pragma once

#include <stdexcept>
#include <string>

namespace Converter {

/// How a conversion ended, by the numbers of the public ConverterResult. 6 is not in use.
enum class Result {
  Success = 0,
  InputUnknownAttributeType = 1,
  InputPointCloudFormatUnsupported = 2,
  InputDegeneratedBBox = 3,
  InputNoColorIntensity = 4,
  InputNoPositions = 5,
  InputLazDecodeError = 7,
  InputGetInfoError = 8,
  InputFileNotFound = 9,
  InputNotFile = 10,
  InputEmpty = 11,
  InputCannotRead = 12,
  ConvertTempDirInvalid = 13,
  ConvertIOError = 14,
  ConvertFileTooBig = 15,
  ConvertTempFull = 16,
  ConvertTempPathNotFound = 17,
  ConvertInternalError = 18,
  OutputPathExists = 19,
  OutputProcessedFileGone = 20,
  OutputCannotWrite = 21,
  OutputDiskFull = 22,
  OutputCannotCreateDirs = 23,
  OutputDescriptorDamaged = 24,
  OutputDataFilesMissing = 25
};

/// What ends a conversion: the result, and a text for the user that names file, place and cause.
class ConversionError : public std::runtime_error {
 public:
  ConversionError(Result result, const std::string& reason) : std::runtime_error(reason), result_(result) {}

  [[nodiscard]] Result result() const { return result_; }

 private:
  Result result_;
};

/// What ends a conversion whose stop was requested.
class ConversionCancelled : public std::exception {
 public:
  [[nodiscard]] const char* what() const noexcept override { return "the conversion was cancelled"; }
};

}  // namespace Converter
