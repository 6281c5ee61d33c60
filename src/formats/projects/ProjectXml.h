#pragma once

#include <cstddef>
#include <pugixml.hpp>
#include <span>

#include "core/FormatError.h"

namespace Formats {

/// The longest XML text of a scanner project that is read: far more than thousands of scans take. While it is
/// looked at, it takes up to 30 times its own size of memory.
inline constexpr std::size_t kLongestProjectXml = std::size_t{64} << 20U;

/// Whether the first character is that of an XML document, in an encoding that parseProjectXml() reads.
[[nodiscard]] bool startsAsXml(std::span<const std::byte> bytes);

/// Parses the XML of a scanner project. Texts are UTF-8 in the result: those of UTF-16 documents are
/// converted, and 8-bit documents that are no UTF-8 are read as Windows-1252. A DOCTYPE is passed over: no
/// DTD is loaded and no entity expanded, and one that declares entities is refused.
/// @throws Core::FormatError naming the byte: too long, damaged, cut off, or with entities of its own.
void parseProjectXml(std::span<const std::byte> bytes, const Core::Source& source,
                     pugi::xml_document& document);

}  // namespace Formats
