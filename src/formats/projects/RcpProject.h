#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "core/FormatError.h"
#include "formats/projects/ProjectTexts.h"

namespace Formats {

/// What is asked of the ZIP archive of a project before anything in it is decompressed.
struct ArchiveLimits {
  std::uint64_t entries = 10'000;
  std::uint64_t nameBytes = 1024;
  std::uint64_t entryBytes = std::uint64_t{64} << 20U;  ///< of one entry, decompressed
  /// Of an entry of XML, which takes far more memory while it is looked at.
  std::uint64_t xmlBytes = std::uint64_t{16} << 20U;
  std::uint64_t totalBytes = std::uint64_t{256} << 20U;  ///< of all entries, decompressed
  /// Decompressed to compressed bytes of an entry; small ones may exceed it.
  std::uint64_t ratio = 200;
  std::uint64_t smallEntryBytes = std::uint64_t{1} << 20U;
};

/// The texts in an Autodesk ReCap project (.rcp), a ZIP archive of which no description is public: those of
/// its XML entries, and the lines of its other text entries. Every entry is decompressed and its checksum
/// compared, one after the other; nothing is written.
/// @throws UnsupportedFormat when it is no ZIP archive.
/// @throws Core::FormatError when the archive or XML in it is damaged, encrypted or beyond the limits, or
///         names an entry that would lie outside of a folder.
[[nodiscard]] ProjectTexts readRcpTexts(std::span<const std::byte> bytes, const Core::Source& source,
                                        const ArchiveLimits& limits = {});

}  // namespace Formats
