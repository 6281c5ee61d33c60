#pragma once

#include <string>
#include <string_view>

namespace Core {

/// UTF-8 of a wide text, code point by code point, whatever the locale. Surrogate pairs are joined; what is
/// no code point becomes U+FFFD. On Linux, whose paths are bytes, U+DC80 to U+DCFF stand for the bytes 0x80
/// to 0xFF that were not UTF-8, as Python's "surrogateescape" makes them (PEP 383), so that every path can be
/// named.
[[nodiscard]] std::string utf8FromWide(std::wstring_view text);

}  // namespace Core
