#pragma once

#include <cstdint>
#include <optional>
#include <pugixml.hpp>
#include <string_view>

namespace Formats::E57 {

/// @p text without blanks around it.
[[nodiscard]] std::string_view trimmed(std::string_view text);

/// Nothing for what is no integer of 64 bits. Independent of the locale, as the next.
[[nodiscard]] std::optional<std::int64_t> parseInteger(std::string_view text);

/// Nothing for what is no number, or beyond the doubles.
[[nodiscard]] std::optional<double> parseNumber(std::string_view text);

/// The value of an element of type Integer, ScaledInteger or Float; an empty one is 0. Nothing where there is
/// no such element, or its text or attributes are no finite numbers.
[[nodiscard]] std::optional<double> valueOf(const pugi::xml_node& element);

}  // namespace Formats::E57
