#pragma once

#include <cstdint>
#include <functional>

#include "math/Color.h"
#include "math/Spectrum.h"

namespace Render {

/// The colour maps that points and legends are drawn with; a number without a name here is allowed and is no
/// map.
enum class ColorMap : std::int32_t {
  Gray = 0,
  BlueGreenRed = 1,
  Bone = 2,
  Jet = 3,
  Hot = 4,
  Thermo = 5,
  Hsv = 6,
  Beer = 7,
  Turbo = 8,
  Inferno = 9,
  Plasma = 10,
  Magma = 11,
  Viridis = 12,
  RedWhiteBlue = 13,
  LevelOfAccuracy = 14,
  PassFail = 15,
  TrafficLight = 16,
  CoolToWarm = 17
};

/// The spectrum of a map: the one of the same number, named or not.
[[nodiscard]] Math::Spectrum::SpectrumNames spectrumName(const ColorMap& colorMap);

/// From a parameter, 0 to 1, to an opaque colour; see Math::Spectrum.
using SpectrumFunction = std::function<Math::Color(double)>;

/// The spectrum of that name as legends show it: of those with values of their own, PassFail passes from -0.5
/// to 0.5 of -1 to 1, TrafficLight warns beyond thirds and fails beyond two thirds, Beer has the density 0.5.
/// Empty for a number without a name.
[[nodiscard]] SpectrumFunction legendSpectrum(Math::Spectrum::SpectrumNames name);

}  // namespace Render
