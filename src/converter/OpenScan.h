#pragma once

#include <filesystem>
#include <memory>

#include "converter/ScanReader.h"
#include "core/FileSystem.h"

namespace Converter {

/// What to accept in scan files.
struct ScanOptions {
  bool allowTruncated = false;  ///< keep the whole points of files that end early
};

/// Opens a scan file by the reader for its format. The extension says the format; the reader looks whether
/// the content agrees.
/// @param files  must outlive the reader.
/// @throws ConversionError: InputPointCloudFormatUnsupported for a format that has no reader, with what to do
///         instead; and what the reader throws.
[[nodiscard]] std::unique_ptr<ScanReader> openScan(Core::FileSystem& files, const std::filesystem::path& file,
                                                   const ScanOptions& options);

}  // namespace Converter
