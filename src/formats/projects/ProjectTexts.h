#pragma once

#include <cstddef>
#include <set>
#include <span>
#include <string>

#include "core/FormatError.h"

namespace Formats {

/// Texts of a project that may be names of files: their last part has an extension. Trimmed, UTF-8, with '/'
/// for '\'. Nothing else is known of them.
using ProjectTexts = std::set<std::string>;

/// The longest text that is taken for a name.
inline constexpr std::size_t kLongestProjectText = 4096;

/// Adds the texts and attribute values of an XML document that may be names of files.
/// @throws Core::FormatError when the XML is damaged.
void addXmlTexts(std::span<const std::byte> bytes, const Core::Source& source, ProjectTexts& texts);

/// Adds the lines of a text that may be names of files.
void addLines(std::span<const std::byte> bytes, ProjectTexts& texts);

/// The texts of a RIEGL RiPROCESS project (.rpp), an XML document of which no description is public.
/// @throws UnsupportedFormat when it is no XML; Core::FormatError when the XML is damaged.
[[nodiscard]] ProjectTexts readRppTexts(std::span<const std::byte> bytes, const Core::Source& source);

}  // namespace Formats
