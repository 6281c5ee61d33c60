#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "converter/E57Pages.h"
#include "core/FileSystem.h"
#include "formats/e57/PacketIndex.h"
#include "formats/e57/PointDecoder.h"
#include "formats/e57/Scan.h"

namespace Converter {

/// An open E57 file and what is known of it as a whole.
struct E57File {
  std::unique_ptr<Core::ReadableFile> file;
  std::uint64_t size = 0;
  std::int64_t modificationTime = 0;
  std::string name;

  /// Views the file.
  [[nodiscard]] E57Pages pages(std::size_t pagesPerRead) const { return {*file, size, name, pagesPerRead}; }
};

// Packets take up to 64 pages.
inline constexpr std::size_t kPagesForPoints = 64;

/// Hands out the logical bytes of pages, which it views.
[[nodiscard]] inline Formats::E57::Fetch fetchFrom(E57Pages& pages) {
  return [&pages](std::uint64_t offset, std::span<std::byte> out) { pages.read(offset, out); };
}

/// One scan with points, and where it stands among the steps (PacketIndex) and blocks (ScanReader) of its
/// file. Immutable. Threads: calls are safe together.
struct E57Part {
  Formats::E57::Scan scan;
  Formats::E57::PacketIndex index;
  Formats::E57::PointDecoder decoder;
  std::uint64_t firstStep = 0;
  std::uint64_t firstBlock = 0;

  /// The number of records in up to @p wanted whole steps from the scan's step @p step on.
  [[nodiscard]] std::size_t recordsIn(std::uint64_t step, std::uint64_t wanted) const;
  /// What stands behind the last ones of this scan.
  [[nodiscard]] std::uint64_t endStep() const;
  [[nodiscard]] std::uint64_t endBlock() const;
};

inline constexpr std::uint64_t kStepsPerE57Block = 16;

/// Finds the points of the scans that have some.
/// @throws ConversionError (InputNoPositions) for points without coordinates; Core::FormatError for sections
///         and packets that cannot be, and for scans that share their bytes.
[[nodiscard]] std::vector<E57Part> findE57Parts(const E57File& file,
                                                const std::vector<Formats::E57::Scan>& scans);

}  // namespace Converter
