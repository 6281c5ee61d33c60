#pragma once

#include <concepts>
#include <cstdint>

namespace Sorvik {

/// The type of an attribute's values, as files store them.
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
[[nodiscard]] constexpr std::uint64_t sizeOf(AttributeType type) {
  switch (type) {
    case AttributeType::Int8:
    case AttributeType::UInt8:
      return 1;
    case AttributeType::Int16:
    case AttributeType::UInt16:
      return 2;
    case AttributeType::Int32:
    case AttributeType::UInt32:
    case AttributeType::Float:
      return 4;
    case AttributeType::Int64:
    case AttributeType::UInt64:
    case AttributeType::Double:
      break;
  }
  return 8;
}

/// What values of an attribute can be held as: integers of any name, by their width and sign; float, double.
template <class T>
concept AttributeValue = (std::integral<T> && !std::same_as<T, bool> && sizeof(T) <= 8) ||
                         std::same_as<T, float> || std::same_as<T, double>;

/// The type of attributes whose values are T.
template <AttributeValue T>
[[nodiscard]] constexpr AttributeType attributeTypeOf() {
  if constexpr (std::same_as<T, float>) return AttributeType::Float;
  if constexpr (std::same_as<T, double>) return AttributeType::Double;
  constexpr bool isSigned = std::signed_integral<T>;
  if constexpr (sizeof(T) == 1) return isSigned ? AttributeType::Int8 : AttributeType::UInt8;
  if constexpr (sizeof(T) == 2) return isSigned ? AttributeType::Int16 : AttributeType::UInt16;
  if constexpr (sizeof(T) == 4) return isSigned ? AttributeType::Int32 : AttributeType::UInt32;
  return isSigned ? AttributeType::Int64 : AttributeType::UInt64;
}

}  // namespace Sorvik
