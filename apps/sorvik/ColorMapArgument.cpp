#include "sorvik/ColorMapArgument.h"

#include <algorithm>
#include <array>
#include <string>

#include "sorvik/CallError.h"

namespace Program {

using Sorvik::ColorMap;

std::span<const NamedColorMap> namedColorMaps() {
  static constexpr std::array kColorMaps = {
      NamedColorMap{"gray", ColorMap::Gray},
      NamedColorMap{"blue-green-red", ColorMap::BlueGreenRed},
      NamedColorMap{"bone", ColorMap::Bone},
      NamedColorMap{"jet", ColorMap::Jet},
      NamedColorMap{"hot", ColorMap::Hot},
      NamedColorMap{"thermo", ColorMap::Thermo},
      NamedColorMap{"hsv", ColorMap::Hsv},
      NamedColorMap{"beer", ColorMap::Beer},
      NamedColorMap{"turbo", ColorMap::Turbo},
      NamedColorMap{"inferno", ColorMap::Inferno},
      NamedColorMap{"plasma", ColorMap::Plasma},
      NamedColorMap{"magma", ColorMap::Magma},
      NamedColorMap{"viridis", ColorMap::Viridis},
      NamedColorMap{"red-white-blue", ColorMap::RedWhiteBlue},
      NamedColorMap{"level-of-accuracy", ColorMap::LevelOfAccuracy},
      NamedColorMap{"pass-fail", ColorMap::PassFail},
      NamedColorMap{"traffic-light", ColorMap::TrafficLight},
      NamedColorMap{"cool-to-warm", ColorMap::CoolToWarm},
  };
  return kColorMaps;
}

ColorMap parseColorMap(std::string_view option, std::string_view name) {
  const std::span<const NamedColorMap> maps = namedColorMaps();
  const auto found = std::ranges::find(maps, name, &NamedColorMap::name);
  if (found == maps.end()) {
    throw CallError(std::string(option) + ": '" + std::string(name) +
                    "' is no colour map: sorvik legend --list lists them");
  }
  return found->colorMap;
}

}  // namespace Program
