#pragma once

#include <memory>
#include <span>

#include "converter/Conversion.h"
#include "converter/ScanReader.h"
#include "core/FileSystem.h"

namespace Converter {

/// Bytes that a conversion will write, about.
struct SpaceNeed {
  double temporary = 0;
  double output = 0;
};

/// Estimates low rather than high, so that no conversion is refused that would have fitted.
[[nodiscard]] SpaceNeed spaceNeed(std::span<const std::unique_ptr<ScanReader>> scans,
                                  PoTree::Encoding encoding);

/// Compares the need with what is free; two folders on one file system are counted together.
/// @throws ConversionError: OutputDiskFull or ConvertTempFull, naming folder, need and free space.
void checkDiskSpace(const SpaceNeed& need, const ConversionFolders& folders, Core::FileSystem& files);

}  // namespace Converter
