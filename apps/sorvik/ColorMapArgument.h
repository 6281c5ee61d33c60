#pragma once

#include <span>
#include <string_view>

#include "Sorvik/ColorMap.h"

namespace Program {

/// A colour map as users name it: "cool-to-warm".
struct NamedColorMap {
  std::string_view name;
  Sorvik::ColorMap colorMap;
};

/// All colour maps, in the order of their numbers.
[[nodiscard]] std::span<const NamedColorMap> namedColorMaps();

/// @param option  what the name was given for, as messages name it: "MAP".
/// @throws CallError for a name that is none of them.
[[nodiscard]] Sorvik::ColorMap parseColorMap(std::string_view option, std::string_view name);

}  // namespace Program
