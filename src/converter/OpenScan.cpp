#include "converter/OpenScan.h"

#include <algorithm>
#include <string>

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
  const auto formats = scanFormats();
  const auto known = std::find_if(formats.begin(), formats.end(),
                                  [&](const ScanFormat& format) { return format.extension == extension; });
  if (known == formats.end()) refuse(file, "is no scan file: its name should end in .las, .laz or .e57");
  refuse(file, "files of the format " + std::string(known->name) +
                   " cannot be read yet: export them as LAS or E57");
}

}  // namespace Converter
