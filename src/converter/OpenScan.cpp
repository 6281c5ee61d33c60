#include "converter/OpenScan.h"

#include <string>

#include "converter/ClosedFormats.h"
#include "converter/ConversionError.h"
#include "converter/E57ScanReader.h"
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
  if (extension == ".e57") return openE57(files, file);
  if (const auto reason = closedFormatReason(extension)) refuse(file, *reason);
  if (isScanExtension(extension)) refuse(file, "is a project; name it as an input of its own");
  refuse(file, "is no scan file: its name should end in .las, .laz or .e57");
}

}  // namespace Converter
