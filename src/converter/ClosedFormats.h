#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Converter {

/// What to tell users of a file whose points only its vendor's software can read: the kind of the file, its
/// vendor, and what to do instead. A sentence without its subject, "is a RIEGL scan (.rxp), whose ...".
/// Nothing for other extensions.
/// @param extension  small letters, with the dot.
[[nodiscard]] std::optional<std::string> closedFormatReason(std::string_view extension);

}  // namespace Converter
