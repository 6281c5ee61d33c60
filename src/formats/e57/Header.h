#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace Formats::E57 {

inline constexpr std::size_t kHeaderSize = 48;
// Many scans and pictures make tens of megabytes; the parsed tree takes up to 16 times as much.
inline constexpr std::uint64_t kLongestXml = std::uint64_t{256} << 20U;

/// What the first bytes of a file tell (ASTM E2807, file header).
struct Header {
  std::uint64_t fileLength = 0;  ///< physical, of the whole file
  std::uint64_t xmlOffset = 0;   ///< logical
  std::uint64_t xmlLength = 0;   ///< logical, at most kLongestXml, inside the file

  bool operator==(const Header&) const = default;
};

/// @param bytes  the first kHeaderSize bytes of the file @p name, or all that there are.
/// @throws UnsupportedFormat for what is no E57 file, of another major version or page size;
/// Core::FormatError
///         for an XML section that cannot be.
[[nodiscard]] Header readHeader(std::span<const std::byte> bytes, std::string_view name);

/// Holds the stated length against the true one.
/// @throws Core::FormatError when they differ or are no whole pages: the file is truncated or was added to.
void checkFileLength(const Header& header, std::uint64_t fileSize, std::string_view name);

}  // namespace Formats::E57
