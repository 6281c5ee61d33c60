#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "core/FileSystem.h"

namespace Converter {

/// Reads an E57 file by logical offsets, page by page, each held against its checksum. Keeps the pages that
/// it read last, so reading forwards is fast. Views the file and its name. Threads: one at a time.
class E57Pages {
 public:
  /// @param fileSize      whole pages.
  /// @param pagesPerRead  at least 1.
  E57Pages(const Core::ReadableFile& file, std::uint64_t fileSize, std::string_view name,
           std::size_t pagesPerRead);

  /// @throws Formats::E57::DamagedPage; Core::FormatError beyond the end of the file; what the file throws.
  void read(std::uint64_t logicalOffset, std::span<std::byte> out);

 private:
  void load(std::uint64_t page);

  const Core::ReadableFile& file_;
  std::uint64_t numPages_;
  std::string_view name_;
  std::size_t pagesPerRead_;
  std::unique_ptr<std::byte[]> pages_;
  std::uint64_t first_ = 0;  // page that is there
  std::size_t loaded_ = 0;
};

}  // namespace Converter
