#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace Program {

/// One number as users write it: digits, sign, point and exponent, whatever the locale, nothing before or
/// after.
/// @param option  what the number was given for, as messages name it: "--min-spacing".
/// @throws CallError for anything else, and for numbers that are not finite or too large for a float.
[[nodiscard]] double parseNumber(std::string_view option, std::string_view text);

/// Numbers with a comma between each two. An empty text is one empty number, which is refused.
[[nodiscard]] std::vector<double> parseNumbers(std::string_view option, std::string_view text);

/// A whole number from 1 to @p most.
/// @throws CallError for anything else.
[[nodiscard]] std::uint64_t parseCount(std::string_view option, std::string_view text, std::uint64_t most);

/// A number of bytes, with K, M or G behind it for 2^10, 2^20 or 2^30 of them; it may have a fraction.
/// @throws CallError for anything else, and for more than 2^60.
[[nodiscard]] std::uint64_t parseByteCount(std::string_view option, std::string_view text);

}  // namespace Program
