#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "math/Attribute.h"

namespace Formats {

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
