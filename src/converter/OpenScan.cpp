#include "converter/OpenScan.h"

#include <algorithm>
#include <string>

#include "converter/ClosedFormats.h"
#include "converter/ConversionError.h"
#include "converter/LasScanReader.h"
#include "converter/ScanFormats.h"

namespace Converter {
namespace {

[[noreturn]] void refuse(const std::filesystem::path& file, const std::string& why) {
  throw ConversionError(Result::InputPointCloudFormatUnsupported, file.string() + ": " + why);
}

}  // namespace

std::unique_ptr<ScanReader> openScan(Core::FileSystem& files, const std::filesystem::path& file,
                                     const ScanOptions& options) {
  const std::string extension = extensionOf(file);
  // One family: a bit in the file says whether its points are compressed.
  if (extension == ".las" || extension == ".laz") {
    return openLas(files, file, LasReadOptions{.allowTruncated = options.allowTruncated});
  }
  if (const auto reason = closedFormatReason(extension)) refuse(file, *reason);
  const auto formats = scanFormats();
  const auto known = std::find_if(formats.begin(), formats.end(),
                                  [&](const ScanFormat& format) { return format.extension == extension; });
  if (known == formats.end()) refuse(file, "is no scan file: its name should end in .las");
  refuse(file, "files of the format " + std::string(known->name) + " cannot be read yet: export them as LAS");
}

}  // namespace Converter
