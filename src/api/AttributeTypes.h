#pragma once

#include "Sorvik/Attribute.h"
#include "math/Attribute.h"

namespace Sorvik {

/// Both enumerations list the same types in the same order.
[[nodiscard]] constexpr AttributeType toPublic(::Math::AttributeType type) {
  static_assert(static_cast<int>(AttributeType::Int64) == static_cast<int>(::Math::AttributeType::Int64));
  static_assert(static_cast<int>(AttributeType::UInt8) == static_cast<int>(::Math::AttributeType::UInt8));
  static_assert(static_cast<int>(AttributeType::UInt64) == static_cast<int>(::Math::AttributeType::UInt64));
  static_assert(static_cast<int>(AttributeType::Double) == static_cast<int>(::Math::AttributeType::Double));
  return static_cast<AttributeType>(type);
}

}  // namespace Sorvik
