#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "core/FormatError.h"

namespace Formats::E57 {

// A file is a row of pages, each of content and a checksum. Physical offsets count all bytes, logical ones
// those of the contents.
inline constexpr std::size_t kPageSize = 1024;
inline constexpr std::size_t kPageContent = 1020;

/// A page whose bytes are not those that were written.
class DamagedPage : public Core::FormatError {
 public:
  using FormatError::FormatError;
};

/// The logical offset of a physical one; nothing is checked. One that points into a checksum gives that of
/// the next page's content.
[[nodiscard]] constexpr std::uint64_t logicalOffset(std::uint64_t physical) {
  const std::uint64_t inside = physical % kPageSize;
  return physical / kPageSize * kPageContent + (inside < kPageContent ? inside : kPageContent);
}

[[nodiscard]] constexpr std::uint64_t physicalOffset(std::uint64_t logical) {
  return logical / kPageContent * kPageSize + logical % kPageContent;
}

/// Whether a physical offset points at content.
[[nodiscard]] constexpr bool pointsAtContent(std::uint64_t physical) {
  return physical % kPageSize < kPageContent;
}

/// Holds the checksums of whole pages (CRC-32C of the content, stored most significant byte first) against
/// their contents.
/// @param firstPage  the number of the first one in the file @p name.
/// @throws DamagedPage naming the page.
void verifyPages(std::span<const std::byte> pages, std::uint64_t firstPage, std::string_view name);

}  // namespace Formats::E57
