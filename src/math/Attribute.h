#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Math {

enum class AttributeType : std::uint8_t {
  Int8,
  Int16,
  Int32,
  Int64,
  UInt8,
  UInt16,
  UInt32,
  UInt64,
  Float,
  Double
};

/// Bytes of one value.
[[nodiscard]] std::size_t sizeOf(AttributeType type);
/// As metadata documents name it: "int8" to "uint64", "float", "double".
[[nodiscard]] std::string_view nameOf(AttributeType type);
/// The inverse of nameOf(); nothing for other texts.
[[nodiscard]] std::optional<AttributeType> attributeTypeOf(std::string_view name);

/// What points hold beside their position: a name, a type and the number of values a point.
struct Attribute {
  std::string name;  ///< UTF-8
  std::string description;
  AttributeType type = AttributeType::UInt8;
  std::uint32_t numElements = 1;
  /// value = stored * scale + offset: one number an element, or empty where stored values are the values.
  std::vector<double> scale;
  std::vector<double> offset;

  /// Bytes of one point.
  [[nodiscard]] std::size_t size() const { return sizeOf(type) * numElements; }
  bool operator==(const Attribute&) const = default;
};

/// Calls @p visit with a zero of the C++ type of the values.
template <class Visit>
auto withValueType(AttributeType type, const Visit& visit) {
  switch (type) {
    case AttributeType::Int8:
      return visit(std::int8_t{});
    case AttributeType::Int16:
      return visit(std::int16_t{});
    case AttributeType::Int32:
      return visit(std::int32_t{});
    case AttributeType::Int64:
      return visit(std::int64_t{});
    case AttributeType::UInt8:
      return visit(std::uint8_t{});
    case AttributeType::UInt16:
      return visit(std::uint16_t{});
    case AttributeType::UInt32:
      return visit(std::uint32_t{});
    case AttributeType::UInt64:
      return visit(std::uint64_t{});
    case AttributeType::Float:
      return visit(float{});
    case AttributeType::Double:
      return visit(double{});
  }
  throw std::invalid_argument("no such attribute type");
}

}  // namespace Math
