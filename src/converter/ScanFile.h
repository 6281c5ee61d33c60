#pragma once

#include <filesystem>
#include <memory>

#include "core/FileSystem.h"

namespace Converter {

/// Opens a scan file for reading.
/// @throws ConversionError: InputFileNotFound, InputNotFile, InputCannotRead.
[[nodiscard]] std::unique_ptr<Core::ReadableFile> openScanFile(Core::FileSystem& files,
                                                               const std::filesystem::path& path);

}  // namespace Converter
