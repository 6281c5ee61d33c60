#include "core/FormatError.h"

namespace Core {
namespace {

std::string fieldText(std::string_view field, std::string_view expected, std::string_view found) {
  std::string text(field);
  text.append(": expected ").append(expected).append(", found ").append(found);
  return text;
}

}  // namespace

FormatError::FormatError(const Source& at, std::string_view field, std::string_view expected,
                         std::string_view found)
    : std::runtime_error(std::string(at.name) + ", byte " + std::to_string(at.offset) + ": " +
                         fieldText(field, expected, found)) {}

FormatError::FormatError(std::string_view document, std::string_view field, std::string_view expected,
                         std::string_view found)
    : std::runtime_error(std::string(document) + ": " + fieldText(field, expected, found)) {}

}  // namespace Core
