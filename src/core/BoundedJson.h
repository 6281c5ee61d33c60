#pragma once

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string_view>

namespace Core {

/// What a JSON text from outside may ask of us. The value takes up to 30 times the memory of its text.
struct JsonLimits {
  std::size_t numBytes;   ///< longest text
  std::size_t numLevels;  ///< arrays and objects within each other: 1 for a list of numbers
  /// Whether an object may have two members of one name; the last one counts.
  bool repeatedNames = false;
};

/// Parses a JSON text within limits. Depth is held against its limit before a value of that depth is built:
/// copying or printing a deeply nested value overflows the stack.
/// @param source the file, URL or kind of text, for the message.
/// @throws FormatError when @p text is longer, nests deeper, is no JSON (RFC 8259) in UTF-8, or holds a
/// number beyond the range of double precision.
[[nodiscard]] nlohmann::json parseBoundedJson(std::string_view text, const JsonLimits& limits,
                                              std::string_view source);

}  // namespace Core
