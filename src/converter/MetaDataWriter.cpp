#include "converter/MetaDataWriter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <span>
#include <string_view>

#include "converter/HierarchyWriter.h"

namespace Converter {
namespace {

constexpr int kSignificantDigits = 17;

std::string number(double value) {
  std::array<char, 32> text{};
  const std::to_chars_result end = std::to_chars(text.data(), text.data() + text.size(), value,
                                                 std::chars_format::general, kSignificantDigits);
  return {text.data(), end.ptr};
}

std::string jsonString(std::string_view text) {
  return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

template <class T, class ToText>
std::string list(std::span<const T> values, const ToText& toText) {
  std::string text = "[";
  for (const T& value : values) {
    if (text.size() > 1) text += ", ";
    text += toText(value);
  }
  return text + "]";
}

std::string numbers(std::span<const double> values) { return list(values, number); }

std::string corner(const Math::Point<double, 3>& point) { return numbers(point.coordinates); }

/// The bounds of an attribute as viewers can use them: as many finite numbers as it has elements.
struct Bounds {
  std::vector<double> min;
  std::vector<double> max;
};

bool isNormalComponent(std::string_view name) {
  return name == "NormalX" || name == "NormalY" || name == "NormalZ";
}

Bounds viewerBounds(const PoTree::Attribute& attribute) {
  // Viewers hand doubles to their shaders as shares of the range, and normals like any other.
  if (attribute.type == "double" && isNormalComponent(attribute.name)) {
    const auto elements = static_cast<std::size_t>(attribute.numElements);
    return {std::vector<double>(elements, 0), std::vector<double>(elements, 1)};
  }
  const auto finite = [&](std::vector<double> values) {
    values.resize(static_cast<std::size_t>(attribute.numElements));
    std::replace_if(
        values.begin(), values.end(), [](double value) { return !std::isfinite(value); }, 0.0);
    return values;
  };
  Bounds bounds{finite(attribute.min), finite(attribute.max)};
  if (attribute.type == "double" && attribute.name != "gps-time") {
    for (std::size_t i = 0; i < bounds.min.size(); ++i) {
      if (bounds.max[i] > bounds.min[i]) continue;
      // From 2^53 on one more is the same number.
      bounds.max[i] =
          std::max(bounds.min[i] + 1, std::nextafter(bounds.min[i], std::numeric_limits<double>::max()));
    }
  }
  return bounds;
}

std::string attributeText(const PoTree::Attribute& attribute) {
  const auto numbersOr = [&](const std::vector<double>& values, double fallback) {
    const auto elements = static_cast<std::size_t>(attribute.numElements);
    return numbers(values.empty() ? std::vector<double>(elements, fallback) : values);
  };
  const Bounds bounds = viewerBounds(attribute);
  std::string text = "    {\n      \"name\": " + jsonString(attribute.name);
  const auto add = [&](std::string_view key, const std::string& value) {
    text.append(",\n      \"").append(key).append("\": ").append(value);
  };
  add("description", jsonString(attribute.description));
  add("size", std::to_string(attribute.size));
  add("numElements", std::to_string(attribute.numElements));
  add("elementSize", std::to_string(attribute.elementSize));
  add("type", jsonString(attribute.type));
  add("min", numbers(bounds.min));
  add("max", numbers(bounds.max));
  if (std::any_of(attribute.histogram.begin(), attribute.histogram.end(),
                  [](auto count) { return count != 0; })) {
    add("histogram",
        list<std::uint64_t>(attribute.histogram, [](std::uint64_t count) { return std::to_string(count); }));
  }
  add("scale", numbersOr(attribute.scale, 1));
  add("offset", numbersOr(attribute.offset, 0));
  return text + "\n    }";
}

}  // namespace

std::string metaDataText(const PoTree::MetaData& metaData, std::uint64_t hierarchyDepth) {
  std::string text = "{\n  \"version\": \"2.0\"";
  const auto add = [&](std::string_view key, const std::string& value) {
    text.append(",\n  \"").append(key).append("\": ").append(value);
  };
  add("name", jsonString(metaData.name));
  add("description", jsonString(metaData.description));
  add("points", std::to_string(metaData.points));
  add("projection", jsonString(metaData.projection));
  add("hierarchy", "{\"firstChunkSize\": " + std::to_string(metaData.firstChunkSize) +
                       ", \"stepSize\": " + std::to_string(kLevelsPerChunk) +
                       ", \"depth\": " + std::to_string(hierarchyDepth) + "}");
  add("offset", numbers(metaData.offset));
  add("scale", numbers(metaData.scale));
  add("spacing", number(metaData.spacing));
  add("boundingBox", "{\"min\": " + corner(metaData.boundingBox.minimum) +
                         ", \"max\": " + corner(metaData.boundingBox.maximum) + "}");
  add("encoding", jsonString(metaData.encoding == PoTree::Encoding::Brotli ? "BROTLI" : "DEFAULT"));
  add("attributes", "[\n");
  for (const PoTree::Attribute& attribute : metaData.attributes) {
    if (&attribute != &metaData.attributes.front()) text += ",\n";
    text += attributeText(attribute);
  }
  return text + "\n  ]\n}\n";
}

}  // namespace Converter
