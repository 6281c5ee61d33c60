#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Sorvik/AttributeType.h"

namespace Sorvik {

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
