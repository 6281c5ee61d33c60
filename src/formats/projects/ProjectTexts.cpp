#include "formats/projects/ProjectTexts.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "formats/FieldText.h"
#include "formats/UnsupportedFormat.h"
#include "formats/projects/ProjectXml.h"
#include "formats/projects/Windows1252.h"

namespace Formats {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Whether the last part of a path has an extension: a few letters and digits, which begin with a letter.
bool hasExtension(std::string_view path) {
  constexpr std::size_t kLongest = 8;
  const std::string_view name = path.substr(path.find_last_of('/') + 1);
  const std::size_t dot = name.find_last_of('.');
  if (dot == std::string_view::npos || dot == 0) return false;
  const std::string_view extension = name.substr(dot + 1);
  return !extension.empty() && extension.size() <= kLongest && isLetter(extension.front()) &&
         std::all_of(extension.begin(), extension.end(), [](char c) { return isLetter(c) || isDigit(c); });
}

void addText(std::string_view text, ProjectTexts& texts) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return;
  text = text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
  if (text.size() > kLongestProjectText) return;
  const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
  if (std::any_of(text.begin(), text.end(), isControl)) return;
  std::string path(text);
  std::replace(path.begin(), path.end(), '\\', '/');
  if (hasExtension(path)) texts.insert(std::move(path));
}

class TextWalker final : public pugi::xml_tree_walker {
 public:
  explicit TextWalker(ProjectTexts& texts) : texts_(texts) {}

  bool for_each(pugi::xml_node& node) override {
    if (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata) addText(node.value(), texts_);
    for (const pugi::xml_attribute& attribute : node.attributes()) addText(attribute.value(), texts_);
    return true;
  }

 private:
  ProjectTexts& texts_;
};

}  // namespace

void addXmlTexts(std::span<const std::byte> bytes, const Core::Source& source, ProjectTexts& texts) {
  pugi::xml_document document;
  parseProjectXml(bytes, source, document);
  TextWalker walker(texts);
  document.traverse(walker);
}

void addLines(std::span<const std::byte> bytes, ProjectTexts& texts) {
  std::string text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (!isUtf8(text)) text = utf8FromWindows1252(text);
  std::string_view rest = text;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find_first_of("\r\n"), rest.size());
    addText(rest.substr(0, end), texts);
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
}

ProjectTexts readRppTexts(std::span<const std::byte> bytes, const Core::Source& source) {
  if (!startsAsXml(bytes)) {
    throw UnsupportedFormat(source, "first character of a RiPROCESS project", "'<' of XML", "something else");
  }
  ProjectTexts texts;
  addXmlTexts(bytes, source, texts);
  return texts;
}

}  // namespace Formats
