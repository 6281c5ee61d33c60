#pragma once

#include <filesystem>
#include <memory>

#include "Sorvik/ScanReaderPlugin.h"
#include "converter/ScanReader.h"
#include "core/FileSystem.h"

namespace Sorvik {

/// Opens a file by a plug-in. Its points are read in blocks of OpenedScan::kPointsPerRead, and are in memory
/// only as long as a block is taken; those whose coordinates are not finite are dropped and counted.
/// @param file  the same file, to see whether it changes.
/// @throws ConversionError (InputCannotRead) for what the plug-in tells and cannot be, and what it throws.
[[nodiscard]] std::unique_ptr<::Converter::ScanReader> openPluginScan(
    std::shared_ptr<const ScanReaderPlugin> plugin, std::unique_ptr<::Core::ReadableFile> file,
    const std::filesystem::path& path);

}  // namespace Sorvik
