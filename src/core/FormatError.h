#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Core {

/// Where a span of bytes came from: a file or URL, and the offset at which the span begins in it.
struct Source {
  std::string_view name;
  std::uint64_t offset = 0;
};

/// Bytes that are not what their format promises: the one way in which a reader refuses input.
/// The text reads "a.bin, byte 105: record length: expected at least 34, found 12".
class FormatError : public std::runtime_error {
 public:
  FormatError(const Source& at, std::string_view field, std::string_view expected, std::string_view found);

  /// For documents whose fields have names rather than places: "metadata.json: spacing: expected ..., found
  /// ...".
  FormatError(std::string_view document, std::string_view field, std::string_view expected,
              std::string_view found);
};

}  // namespace Core
