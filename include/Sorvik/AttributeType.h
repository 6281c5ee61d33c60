#pragma once

#include <concepts>
#include <type_traits>

namespace Sorvik {

/// The type of an attribute's values, as files store them.
enum class AttributeType : unsigned char {
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

/// The type of values that programs hold as a T: an integer of 8 to 64 bits, a float or a double.
template <class T>
requires(std::integral<T> && !std::same_as<T, bool> && sizeof(T) <= 8) || std::same_as<T, float> ||
    std::same_as<T, double> [[nodiscard]] constexpr AttributeType attributeTypeOf() {
  if constexpr (std::same_as<T, float>) {
    return AttributeType::Float;
  } else if constexpr (std::same_as<T, double>) {
    return AttributeType::Double;
  } else {
    constexpr int kSizeIndex = sizeof(T) == 1 ? 0 : sizeof(T) == 2 ? 1 : sizeof(T) == 4 ? 2 : 3;
    return static_cast<AttributeType>(kSizeIndex + (std::is_signed_v<T> ? 0 : 4));
  }
}

}  // namespace Sorvik
