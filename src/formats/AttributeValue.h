#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "math/Attribute.h"

namespace Formats {

/// Calls @p visit with a zero of the C++ type of the values.
template <class Visit>
auto withValueType(Math::AttributeType type, const Visit& visit) {
  switch (type) {
    case Math::AttributeType::Int8:
      return visit(std::int8_t{});
    case Math::AttributeType::Int16:
      return visit(std::int16_t{});
    case Math::AttributeType::Int32:
      return visit(std::int32_t{});
    case Math::AttributeType::Int64:
      return visit(std::int64_t{});
    case Math::AttributeType::UInt8:
      return visit(std::uint8_t{});
    case Math::AttributeType::UInt16:
      return visit(std::uint16_t{});
    case Math::AttributeType::UInt32:
      return visit(std::uint32_t{});
    case Math::AttributeType::UInt64:
      return visit(std::uint64_t{});
    case Math::AttributeType::Float:
      return visit(float{});
    case Math::AttributeType::Double:
      return visit(double{});
  }
  throw std::invalid_argument("no such attribute type");
}

/// The value that stands at @p bytes, wherever that is.
template <class T>
[[nodiscard]] T loadValue(const std::byte* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof(T));
  return value;
}

/// What makes values out of the stored numbers of one element: value = stored * scale + offset.
struct ElementScale {
  bool stored = true;  ///< stored numbers are the values
  double scale = 1;
  double offset = 0;

  ElementScale(const Math::Attribute& attribute, std::size_t element)
      : stored(attribute.scale.empty() && attribute.offset.empty()) {
    if (!attribute.scale.empty()) scale = attribute.scale[element];
    if (!attribute.offset.empty()) offset = attribute.offset[element];
  }
};

}  // namespace Formats
