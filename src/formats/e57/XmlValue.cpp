#include "formats/e57/XmlValue.h"

#include <charconv>
#include <cmath>

namespace Formats::E57 {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

template <class Number>
std::optional<Number> parse(std::string_view text) {
  text = trimmed(text);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

}  // namespace

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::optional<std::int64_t> parseInteger(std::string_view text) { return parse<std::int64_t>(text); }

std::optional<double> parseNumber(std::string_view text) { return parse<double>(text); }

std::optional<double> valueOf(const pugi::xml_node& element) {
  if (!element) return std::nullopt;
  const std::string_view text = trimmed(element.text().get());
  std::optional<double> value = text.empty() ? 0 : parseNumber(text);
  if (value && std::string_view(element.attribute("type").value()) == "ScaledInteger") {
    const std::optional<double> scale = parseNumber(element.attribute("scale").as_string("1"));
    const std::optional<double> offset = parseNumber(element.attribute("offset").as_string("0"));
    if (!scale || !offset) return std::nullopt;
    value = *value * *scale + *offset;
  }
  if (value && !std::isfinite(*value)) return std::nullopt;
  return value;
}

}  // namespace Formats::E57
