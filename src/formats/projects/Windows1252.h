#pragma once

#include <string>
#include <string_view>

namespace Formats {

/// UTF-8 of a text in Windows-1252; its five unassigned bytes are the control characters of their numbers, as
/// in the WHATWG's encoding standard.
[[nodiscard]] std::string utf8FromWindows1252(std::string_view text);

}  // namespace Formats
