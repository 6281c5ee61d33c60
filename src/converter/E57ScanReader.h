#pragma once

#include <filesystem>
#include <memory>

#include "converter/ScanReader.h"
#include "core/FileSystem.h"

namespace Converter {

/// Opens an E57 file: all of its scans as one, each in its pose, in world coordinates (metres). Attributes:
/// those of Formats::E57::PointAttribute that at least one scan has. Every page that is read is held against
/// its checksum. Points that are flagged invalid or have no finite coordinates are left out, and counted in
/// remarks(). A file without points opens, too.
/// @param files  must outlive the scan.
/// @throws ConversionError naming file, place and cause: InputFileNotFound, InputNotFile, InputCannotRead
/// (also
///         for truncated files and damaged pages), InputEmpty for a file of no bytes,
///         InputPointCloudFormatUnsupported for what is no E57 file or of a kind that is not read,
///         InputGetInfoError for a header or XML section that cannot be, InputNoPositions for a scan whose
///         points have no coordinates.
[[nodiscard]] std::unique_ptr<ScanReader> openE57(Core::FileSystem& files, const std::filesystem::path& path);

}  // namespace Converter
