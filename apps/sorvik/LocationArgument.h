#pragma once

#include <string>
#include <string_view>

#include "Sorvik/Location.h"

namespace Program {

/// What a LOCATION argument names: the folder of a cloud, or its metadata file, as a path of any bytes or as
/// an https address. Nothing is opened here.
/// @throws CallError for an empty text and for other schemes ("http://...", "file://...").
[[nodiscard]] Sorvik::Location parseLocation(std::string_view text);

/// The wide text that the library takes for a path: a character for each code point of UTF-8, and U+DC80 to
/// U+DCFF for each byte 0x80 to 0xFF that is not UTF-8, from which it makes the same bytes again.
[[nodiscard]] std::wstring widePath(std::string_view path);

}  // namespace Program
