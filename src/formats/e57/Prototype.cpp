#include "formats/e57/Prototype.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "core/FormatError.h"
#include "formats/e57/XmlValue.h"

namespace Formats::E57 {
namespace {

constexpr std::array<std::string_view, kNumRoles> kNames{"cartesianX",
                                                         "cartesianY",
                                                         "cartesianZ",
                                                         "cartesianInvalidState",
                                                         "sphericalRange",
                                                         "sphericalAzimuth",
                                                         "sphericalElevation",
                                                         "sphericalInvalidState",
                                                         "intensity",
                                                         "isIntensityInvalid",
                                                         "colorRed",
                                                         "colorGreen",
                                                         "colorBlue",
                                                         "isColorInvalid",
                                                         "rowIndex",
                                                         "columnIndex",
                                                         "returnIndex",
                                                         "returnCount",
                                                         "timeStamp",
                                                         "isTimeStampInvalid",
                                                         "normalX",
                                                         "normalY",
                                                         "normalZ"};
constexpr auto kFirstExtended = static_cast<std::size_t>(Role::NormalX);

/// Whether a prefix stands for the extension of surface normals; its address differs between writers.
bool meansNormals(std::string_view prefix, const pugi::xml_node& root) {
  if (prefix == "nor") return true;
  const std::string binding = "xmlns:" + std::string(prefix);
  const std::string_view address = root.attribute(binding.c_str()).value();
  return address.find("surface_normals") != std::string_view::npos;
}

/// The role of a field by its name as it stands.
std::optional<Role> roleOf(const pugi::xml_node& element) {
  std::string_view name = element.name();
  const std::size_t colon = name.find(':');
  auto from = kNames.begin();
  auto to = kNames.begin() + kFirstExtended;
  if (colon != std::string_view::npos) {
    if (!meansNormals(name.substr(0, colon), element.root().first_child())) return std::nullopt;
    name.remove_prefix(colon + 1);
    from = to;
    to = kNames.end();
  }
  const auto found = std::find(from, to, name);
  if (found == to) return std::nullopt;
  return static_cast<Role>(found - kNames.begin());
}

/// One leaf of a prototype.
class FieldReader {
 public:
  FieldReader(const pugi::xml_node& element, const XmlPlace& place)
      : element_(element), place_(place), type_(element.attribute("type").value()) {}

  PointField read() const {
    if (type_ == "Float") return readFloat();
    if (type_ == "Integer" || type_ == "ScaledInteger") return readInteger();
    refuse("type", "Float, Integer or ScaledInteger", std::string(type_));
  }

 private:
  [[noreturn]] void refuse(std::string_view what, std::string_view expected, const std::string& found) const {
    place_.refuse(element_.name() + std::string(", ") + std::string(what), expected, "'" + found + "'");
  }

  [[nodiscard]] PointField readFloat() const {
    PointField field;
    const std::string_view precision = element_.attribute("precision").as_string("double");
    if (precision != "single" && precision != "double") {
      refuse("precision", "single or double", std::string(precision));
    }
    const bool isSingle = precision == "single";
    field.type = isSingle ? FieldType::Single : FieldType::Double;
    field.bits = isSingle ? 32 : 64;
    const auto minimum = parseNumber(element_.attribute("minimum").value());
    const auto maximum = parseNumber(element_.attribute("maximum").value());
    if (minimum && maximum) field.statedRange = rangeUnlessOpen({*minimum, *maximum});
    return field;
  }

  /// Writers state the limits of the number format where they know no other.
  static std::optional<ValueRange> rangeUnlessOpen(const ValueRange& range) {
    constexpr double kOpen = std::numeric_limits<float>::max() / 2;
    if (!(range.minimum > -kOpen && range.maximum < kOpen)) return std::nullopt;
    return range;
  }

  [[nodiscard]] PointField readInteger() const {
    PointField field;
    const bool isScaled = type_ == "ScaledInteger";
    field.type = isScaled ? FieldType::ScaledInteger : FieldType::Integer;
    field.minimum = integer("minimum", INT64_MIN);
    const std::int64_t maximum = integer("maximum", INT64_MAX);
    if (field.minimum > maximum) {
      refuse("maximum", "at least the minimum " + std::to_string(field.minimum), std::to_string(maximum));
    }
    const std::uint64_t span =
        static_cast<std::uint64_t>(maximum) - static_cast<std::uint64_t>(field.minimum);
    field.bits = static_cast<unsigned>(std::bit_width(span));
    if (isScaled) {
      field.scale = number("scale", 1);
      field.offset = number("offset", 0);
      if (field.scale == 0) refuse("scale", "a number other than 0", "0");
    }
    if (field.bits < 64) {
      const double first = static_cast<double>(field.minimum) * field.scale + field.offset;
      const double last = static_cast<double>(maximum) * field.scale + field.offset;
      field.statedRange = {std::min(first, last), std::max(first, last)};
    }
    return field;
  }

  [[nodiscard]] std::int64_t integer(const char* name, std::int64_t absent) const {
    const pugi::xml_attribute attribute = element_.attribute(name);
    if (!attribute) return absent;
    const auto value = parseInteger(attribute.value());
    if (!value) refuse(name, "an integer of 64 bits", attribute.value());
    return *value;
  }

  [[nodiscard]] double number(const char* name, double absent) const {
    const pugi::xml_attribute attribute = element_.attribute(name);
    if (!attribute) return absent;
    const auto value = parseNumber(attribute.value());
    if (!value || !std::isfinite(*value)) refuse(name, "a finite number", attribute.value());
    return *value;
  }

  pugi::xml_node element_;
  const XmlPlace& place_;
  std::string_view type_;
};

void addLeaf(const pugi::xml_node& element, const XmlPlace& place, Scan& scan,
             std::set<std::string>& leftOut) {
  const std::optional<Role> role = roleOf(element);
  const std::size_t stream = scan.numStreams++;
  if (!role || scan.find(*role)) {
    leftOut.insert(element.name());
    return;
  }
  PointField field = FieldReader(element, place).read();
  field.role = *role;
  field.stream = stream;
  scan.fields.push_back(field);
}

}  // namespace

void XmlPlace::refuse(std::string_view what, std::string_view expected, std::string_view found) const {
  throw Core::FormatError(std::string(file) + ", XML section", part + ", " + std::string(what), expected,
                          found);
}

void readPrototype(const pugi::xml_node& prototype, const XmlPlace& place, Scan& scan,
                   std::set<std::string>& leftOut) {
  for (const pugi::xml_node& element : prototype.children()) {
    if (element.type() != pugi::node_element) continue;
    if (std::string_view(element.attribute("type").value()) == "Structure") {
      readPrototype(element, place, scan, leftOut);
    } else {
      addLeaf(element, place, scan, leftOut);
    }
  }
}

}  // namespace Formats::E57
