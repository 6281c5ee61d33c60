#pragma once

#include <filesystem>
#include <memory>

#include "converter/ScanReader.h"
#include "core/FileSystem.h"

namespace Converter {

struct LasReadOptions {
  /// Take the whole records of a file that ends before its points do, with a warning; else it is refused. Of
  /// layered chunks the whole ones are taken.
  bool allowTruncated = false;
};

/// Opens a LAS or LAZ file: 1.0 to 1.5, point formats 0 to 10. A file without points opens, too. Reading the
/// blocks of a LAZ file once, in about their order, decodes each point once.
/// @param files  must outlive the scan.
/// @throws ConversionError naming file, place and cause: InputFileNotFound, InputNotFile, InputCannotRead
/// (also
///         for truncated files), InputEmpty for a file of no bytes, InputPointCloudFormatUnsupported for what
///         is no LAS file or of a kind that is not read, InputGetInfoError for a header that cannot be;
///         InputLazDecodeError, also from reading, for compressed points that are damaged or compressed in a
///         way that is not known.
[[nodiscard]] std::unique_ptr<ScanReader> openLas(Core::FileSystem& files, const std::filesystem::path& path,
                                                  const LasReadOptions& options);

}  // namespace Converter
