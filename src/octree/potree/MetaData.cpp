#include "octree/potree/MetaData.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <nlohmann/json.hpp>

#include "core/BoundedJson.h"
#include "core/FormatError.h"

namespace PoTree {
namespace {

using nlohmann::json;

// No metadata document nests deeper than a handful. Writers in the wild may repeat a name.
constexpr Core::JsonLimits kLimits{.numBytes = 64 << 20, .numLevels = 32, .repeatedNames = true};
constexpr std::int32_t kMaxAttributeSize = 65'536;
constexpr std::size_t kMaxAttributes = 4'096;

/// What an error says it has found: the value itself, cut when it is long.
std::string shown(const json& value) {
  constexpr std::size_t kMost = 40;
  std::string text = value.dump(-1, ' ', false, json::error_handler_t::replace);
  if (text.size() > kMost) text = text.substr(0, kMost) + "...";
  return text;
}

/// Reads the members of one JSON object by key and names the key when one is missing or wrong.
class ObjectReader {
 public:
  ObjectReader(const json& object, std::string_view source, std::string path)
      : object_(object), source_(source), path_(std::move(path)) {
    if (!object.is_object()) fail(path_.empty() ? "document" : path_, "an object", shown(object));
  }

  [[nodiscard]] bool has(const char* key) const { return object_.contains(key); }

  [[nodiscard]] const json& member(const char* key) const {
    const auto found = object_.find(key);
    if (found == object_.end()) fail(pathOf(key), "a value", "no such key");
    return *found;
  }

  [[nodiscard]] std::string text(const char* key) const {
    const json& value = member(key);
    if (!value.is_string()) fail(pathOf(key), "a text", shown(value));
    return value.get<std::string>();
  }
  [[nodiscard]] std::string textOr(const char* key, std::string fallback) const {
    return has(key) ? text(key) : std::move(fallback);
  }

  [[nodiscard]] std::uint64_t count(const char* key) const { return countOf(member(key), pathOf(key)); }

  [[nodiscard]] std::int32_t sizeInBytes(const char* key) const {
    const std::uint64_t value = count(key);
    if (value == 0 || value > static_cast<std::uint64_t>(kMaxAttributeSize)) {
      fail(pathOf(key), "1 to " + std::to_string(kMaxAttributeSize), std::to_string(value));
    }
    return static_cast<std::int32_t>(value);
  }

  [[nodiscard]] double number(const char* key) const { return numberOf(member(key), pathOf(key)); }

  [[nodiscard]] std::vector<double> numbers(const char* key) const {
    std::vector<double> values;
    for (const json& value : array(key)) values.push_back(numberOf(value, pathOf(key)));
    return values;
  }

  [[nodiscard]] std::array<double, 3> threeNumbers(const char* key) const {
    const std::vector<double> values = numbers(key);
    if (values.size() != 3) fail(pathOf(key), "3 numbers", std::to_string(values.size()));
    return {values[0], values[1], values[2]};
  }

  [[nodiscard]] std::vector<std::uint64_t> counts(const char* key) const {
    std::vector<std::uint64_t> values;
    for (const json& value : array(key)) values.push_back(countOf(value, pathOf(key)));
    return values;
  }

  [[nodiscard]] const json& array(const char* key) const {
    const json& value = member(key);
    if (!value.is_array()) fail(pathOf(key), "an array", shown(value));
    return value;
  }

  [[nodiscard]] ObjectReader object(const char* key) const { return {member(key), source_, pathOf(key)}; }

  [[nodiscard]] std::string pathOf(const char* key) const { return path_.empty() ? key : path_ + '.' + key; }

  [[noreturn]] void fail(std::string_view path, std::string_view expected, std::string_view found) const {
    throw Core::FormatError(source_, path, expected, found);
  }

 private:
  [[nodiscard]] std::uint64_t countOf(const json& value, std::string_view path) const {
    if (!value.is_number_unsigned()) fail(path, "a whole number that is not negative", shown(value));
    return value.get<std::uint64_t>();
  }
  [[nodiscard]] double numberOf(const json& value, std::string_view path) const {
    if (!value.is_number()) fail(path, "a number", shown(value));
    return value.get<double>();
  }

  const json& object_;
  std::string_view source_;
  std::string path_;
};

/// One number an element; none when the document holds anything else, since no position depends on them.
std::vector<double> numbersAnElement(const ObjectReader& object, const char* key, std::int32_t numElements) {
  if (!object.has(key)) return {};
  const json& list = object.member(key);
  const auto isNumber = [](const json& value) { return value.is_number(); };
  const bool fits = list.is_array() && list.size() == static_cast<std::size_t>(numElements) &&
                    std::all_of(list.begin(), list.end(), isNumber);
  return fits ? list.get<std::vector<double>>() : std::vector<double>();
}

Attribute readAttribute(const ObjectReader& object) {
  Attribute attribute;
  attribute.name = object.text("name");
  attribute.description = object.textOr("description", "");
  attribute.size = object.sizeInBytes("size");
  attribute.numElements = object.sizeInBytes("numElements");
  attribute.elementSize = object.sizeInBytes("elementSize");
  attribute.type = object.text("type");
  if (object.has("min")) attribute.min = object.numbers("min");
  if (object.has("max")) attribute.max = object.numbers("max");
  if (object.has("histogram")) attribute.histogram = object.counts("histogram");
  attribute.scale = numbersAnElement(object, "scale", attribute.numElements);
  attribute.offset = numbersAnElement(object, "offset", attribute.numElements);
  return attribute;
}

std::vector<Attribute> readAttributes(const ObjectReader& document, std::string_view source) {
  const json& list = document.array("attributes");
  if (list.size() > kMaxAttributes) {
    document.fail("attributes", "at most " + std::to_string(kMaxAttributes), std::to_string(list.size()));
  }
  std::vector<Attribute> attributes;
  for (const json& entry : list) {
    attributes.push_back(
        readAttribute({entry, source, "attributes[" + std::to_string(attributes.size()) + "]"}));
  }
  return attributes;
}

/// Whether the decoder knows the attribute's name and reads it in the form in which it is stored.
bool isReadable(const Attribute& attribute) {
  const auto is = [&](std::int32_t size, std::initializer_list<std::string_view> types) {
    return attribute.size == size && std::find(types.begin(), types.end(), attribute.type) != types.end();
  };
  const std::string_view name = attribute.name;
  if (name == "position")
    return attribute.size >= 12 && (attribute.type == "int32" || attribute.type == "uint32");
  if (name == "rgb") return is(6, {"uint16"});
  if (name == "intensity") return is(2, {"uint16"});
  if (name == "classification" || name == "visibility") return is(1, {"uint8"});
  if (name == "normal_oct16") return is(2, {"int16", "uint16", "int8", "uint8"});
  if (name == "NormalX" || name == "NormalY" || name == "NormalZ") return is(8, {"double"});
  return false;
}

/// An attribute that is decoded stands in the list once; others may share a name.
void checkNames(const MetaData& metaData, const ObjectReader& document) {
  for (const Attribute& attribute : metaData.attributes) {
    if (isReadable(attribute) && metaData.find(attribute.name) != &attribute) {
      document.fail("attributes", "names that differ", "two named " + attribute.name);
    }
  }
}

void checkPositions(const MetaData& metaData, const ObjectReader& document, MetaDataUse use) {
  const Attribute* const position = metaData.find("position");
  if (position == nullptr) {
    if (use == MetaDataUse::Main) document.fail("attributes", "an attribute position", "none");
    return;
  }
  if (position->size < 12) {
    document.fail("attributes: position.size", "at least 12", std::to_string(position->size));
  }
  if (position->type != "int32" && position->type != "uint32") {
    document.fail("attributes: position.type", "int32", position->type);
  }
}

StoredAttributes storedAttributes(const MetaData& metaData) {
  const auto stored = [&](std::string_view name) { return metaData.findReadable(name) != nullptr; };
  return {.positions = stored("position"),
          .colors = stored("rgb"),
          .intensities = stored("intensity"),
          .classification = stored("classification"),
          .visibility = stored("visibility"),
          .normals = stored("normal_oct16") || (stored("NormalX") && stored("NormalY") && stored("NormalZ"))};
}

std::array<std::uint16_t, 2> intensityRange(const MetaData& metaData) {
  const Attribute* const intensity = metaData.findReadable("intensity");
  if (intensity == nullptr || intensity->min.empty() || intensity->max.empty()) return {0, 65535};
  const auto clamped = [](double value) {
    return static_cast<std::uint16_t>(std::clamp(value, 0.0, 65535.0));
  };
  return {clamped(intensity->min[0]), clamped(intensity->max[0])};
}

void readFrame(MetaData& metaData, const ObjectReader& document) {
  metaData.offset = document.threeNumbers("offset");
  metaData.scale = document.threeNumbers("scale");
  for (const double scale : metaData.scale) {
    if (!(scale > 0)) document.fail("scale", "numbers above 0", std::to_string(scale));
  }
  metaData.spacing = document.number("spacing");
  if (!(metaData.spacing >= 0)) document.fail("spacing", "at least 0", std::to_string(metaData.spacing));

  const ObjectReader box = document.object("boundingBox");
  const std::array<double, 3> minimum = box.threeNumbers("min");
  const std::array<double, 3> maximum = box.threeNumbers("max");
  metaData.boundingBox = {{{minimum[0], minimum[1], minimum[2]}}, {{maximum[0], maximum[1], maximum[2]}}};
  if (metaData.boundingBox.empty()) {
    document.fail("boundingBox", "min at most max", shown(document.member("boundingBox")));
  }
}

Encoding readEncoding(const ObjectReader& document) {
  const std::string encoding = document.text("encoding");
  if (encoding == "BROTLI") return Encoding::Brotli;
  if (encoding != "DEFAULT" && encoding != "UNCOMPRESSED") {
    document.fail("encoding", "DEFAULT, UNCOMPRESSED or BROTLI", encoding);
  }
  return Encoding::Uncompressed;
}

}  // namespace

const Attribute* MetaData::find(std::string_view attributeName) const {
  const auto found = std::find_if(attributes.begin(), attributes.end(), [&](const Attribute& attribute) {
    return attribute.name == attributeName;
  });
  return found == attributes.end() ? nullptr : &*found;
}

const Attribute* MetaData::findReadable(std::string_view attributeName) const {
  const Attribute* const attribute = find(attributeName);
  return attribute != nullptr && isReadable(*attribute) ? attribute : nullptr;
}

MetaData parseMetaData(std::string_view text, std::string_view source, MetaDataUse use) {
  const json parsed = Core::parseBoundedJson(text, kLimits, source);
  const ObjectReader document(parsed, source, "");

  MetaData metaData;
  metaData.version = document.text("version");
  if (!metaData.version.starts_with("2.")) document.fail("version", "2.x", metaData.version);
  metaData.name = document.textOr("name", "");
  metaData.description = document.textOr("description", "");
  metaData.projection = document.textOr("projection", "");
  metaData.points = document.count("points");
  metaData.firstChunkSize = document.object("hierarchy").count("firstChunkSize");
  readFrame(metaData, document);
  metaData.encoding = readEncoding(document);
  metaData.attributes = readAttributes(document, source);
  checkNames(metaData, document);
  checkPositions(metaData, document, use);

  for (const Attribute& attribute : metaData.attributes) {
    metaData.bytesPerPoint += static_cast<std::uint64_t>(attribute.size);
  }
  metaData.stored = storedAttributes(metaData);
  metaData.intensityRange = intensityRange(metaData);
  return metaData;
}

}  // namespace PoTree
