#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Sorvik {

/// The type of an attribute's values.
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

/// An attribute that a cloud stores for each of its points.
struct Attribute {
  std::string name;  ///< UTF-8, as stored: "intensity", "gps-time", ...
  std::string description;
  AttributeType type = AttributeType::UInt8;
  std::uint32_t numElements = 1;  ///< values a point
  /// value = stored * scale + offset: one number an element, or empty where stored values are the values.
  /// Those of "position" give world coordinates.
  std::vector<double> scale;
  std::vector<double> offset;
  /// The range that the cloud's writer states, one number an element, or empty: of "position" in world
  /// coordinates, of all others of the stored values.
  std::vector<double> min;
  std::vector<double> max;
};

}  // namespace Sorvik
