#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace Formats {

/// Whether @p text is well-formed UTF-8.
[[nodiscard]] bool isUtf8(std::string_view text);

/// The text in a field of bytes: up to its first zero, without the blanks at its end, as UTF-8. Bytes that
/// are not UTF-8 are taken as Latin-1, which is what older programs write; control characters become blanks.
[[nodiscard]] std::string textOfField(std::span<const std::byte> field);

}  // namespace Formats
