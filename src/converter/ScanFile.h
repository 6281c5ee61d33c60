#pragma once

#include <filesystem>
#include <memory>
#include <system_error>

#include "converter/ConversionError.h"
#include "core/FileSystem.h"
#include "formats/UnsupportedFormat.h"

namespace Converter {

/// Opens a scan file for reading.
/// @throws ConversionError: InputFileNotFound, InputNotFile, InputCannotRead.
[[nodiscard]] std::unique_ptr<Core::ReadableFile> openScanFile(Core::FileSystem& files,
                                                               const std::filesystem::path& path);

/// Runs @p work; what readers of bytes throw becomes a ConversionError: bytes that make no sense one of
/// @p damage, those of a kind that is not read InputPointCloudFormatUnsupported, and those that cannot be had
/// InputCannotRead.
template <class Work>
auto withResults(Result damage, const Work& work) {
  try {
    return work();
  } catch (const Formats::UnsupportedFormat& error) {
    throw ConversionError(Result::InputPointCloudFormatUnsupported, error.what());
  } catch (const Core::FormatError& error) {
    throw ConversionError(damage, error.what());
  } catch (const std::system_error& error) {
    throw ConversionError(Result::InputCannotRead, error.what());
  }
}

}  // namespace Converter
