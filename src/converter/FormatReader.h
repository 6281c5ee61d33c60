#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "converter/ScanReader.h"
#include "core/FileSystem.h"

namespace Converter {

/// A reader for a further format of scan files, brought by who starts a conversion. Threads: const calls are
/// safe together.
class FormatReader {
 public:
  virtual ~FormatReader() = default;

  /// Of the files that it reads: small letters, with the dot.
  /// @throws ConversionError when the reader cannot be used.
  [[nodiscard]] virtual std::string extension() const = 0;

  /// Whether the first bytes of a file of that extension are of the format.
  /// @throws ConversionError naming file and cause.
  [[nodiscard]] virtual bool knows(Core::FileSystem& files, const std::filesystem::path& file) const = 0;

  /// Opens a file that it knows.
  /// @param files  must outlive the scan.
  /// @throws ConversionError naming file and cause.
  [[nodiscard]] virtual std::unique_ptr<ScanReader> open(Core::FileSystem& files,
                                                         const std::filesystem::path& file) const = 0;
};

}  // namespace Converter
