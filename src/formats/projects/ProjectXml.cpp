#include "formats/projects/ProjectXml.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

#include "formats/FieldText.h"
#include "formats/projects/Windows1252.h"

namespace Formats {
namespace {

/// Whether a document's first bytes say that its characters take more than one byte: a byte-order mark, or a
/// zero beside the first character.
bool isWide(std::span<const std::byte> bytes) {
  if (bytes.size() < 2) return false;
  const auto first = std::to_integer<unsigned>(bytes[0]);
  const auto second = std::to_integer<unsigned>(bytes[1]);
  return (first == 0xFE && second == 0xFF) || (first == 0xFF && second == 0xFE) || first == 0 || second == 0;
}

pugi::xml_parse_result parse(std::span<const std::byte> bytes, pugi::xml_document& document) {
  constexpr unsigned kOptions = pugi::parse_default | pugi::parse_doctype;
  if (isWide(bytes)) return document.load_buffer(bytes.data(), bytes.size(), kOptions);
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (isUtf8(text)) return document.load_buffer(text.data(), text.size(), kOptions, pugi::encoding_utf8);
  const std::string converted = utf8FromWindows1252(text);
  return document.load_buffer(converted.data(), converted.size(), kOptions, pugi::encoding_utf8);
}

}  // namespace

bool startsAsXml(std::span<const std::byte> bytes) {
  // Byte-order marks, the zero bytes of wide characters, and blanks.
  constexpr std::array<unsigned char, 10> kPassedOver{0xEF, 0xBB, 0xBF, 0xFE, 0xFF, 0, ' ', '\t', '\r', '\n'};
  for (const std::byte byte : bytes) {
    if (byte == std::byte{'<'}) return true;
    if (std::find(kPassedOver.begin(), kPassedOver.end(), std::to_integer<unsigned char>(byte)) ==
        kPassedOver.end()) {
      return false;
    }
  }
  return false;
}

void parseProjectXml(std::span<const std::byte> bytes, const Core::Source& source,
                     pugi::xml_document& document) {
  if (bytes.size() > kLongestProjectXml) {
    throw Core::FormatError(source, "XML", "at most " + std::to_string(kLongestProjectXml) + " bytes",
                            std::to_string(bytes.size()));
  }
  const pugi::xml_parse_result result = parse(bytes, document);
  if (!result) {
    const Core::Source at{source.name, source.offset + static_cast<std::uint64_t>(result.offset)};
    throw Core::FormatError(at, "XML", "a whole document", result.description());
  }
  for (const pugi::xml_node& node : document.children()) {
    if (node.type() != pugi::node_doctype) continue;
    if (std::string_view(node.value()).find("<!ENTITY") == std::string_view::npos) continue;
    throw Core::FormatError(source, "DOCTYPE", "no entities", "a declaration of an entity");
  }
}

}  // namespace Formats
