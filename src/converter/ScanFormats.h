#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <string_view>

namespace Converter {

/// A format of scan files, as users know it.
struct ScanFormat {
  std::string_view name;
  std::string_view extension;  ///< small letters, with the dot
};

/// The formats that are known, in the order in which they are listed to users.
[[nodiscard]] std::span<const ScanFormat> scanFormats();

/// Whether files of an extension (with the dot, letters of any case) are of one of these formats.
[[nodiscard]] bool isScanExtension(std::string_view extension);

/// The extension of a file with the dot, in small letters.
[[nodiscard]] std::string extensionOf(const std::filesystem::path& file);

}  // namespace Converter
