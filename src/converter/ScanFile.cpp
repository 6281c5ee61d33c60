#include "converter/ScanFile.h"

#include <system_error>

#include "converter/ConversionError.h"

namespace Converter {

std::unique_ptr<Core::ReadableFile> openScanFile(Core::FileSystem& files, const std::filesystem::path& path) {
  try {
    return files.open(path);
  } catch (const std::system_error& error) {
    const std::error_code code = error.code();
    const bool isMissing = code == std::errc::no_such_file_or_directory || code == std::errc::not_a_directory;
    const bool isNoFile = code == std::errc::is_a_directory || code == std::errc::invalid_argument;
    throw ConversionError(isMissing  ? Result::InputFileNotFound
                          : isNoFile ? Result::InputNotFile
                                     : Result::InputCannotRead,
                          error.what());
  }
}

}  // namespace Converter
