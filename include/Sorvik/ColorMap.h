#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "Sorvik/Color.h"
#include "Sorvik/Export.h"
#include "Sorvik/Span.h"

namespace Sorvik {

/// A colour map: a colour for each parameter from 0 to 1. What each is made of, and how it looks, is in
/// docs/colour-maps.md.
enum class ColorMap : std::int32_t {
  Gray = 0,           ///< black to white
  BlueGreenRed = 1,   ///< blue over green to red
  Bone = 2,           ///< gray with a tinge of blue
  Jet = 3,            ///< dark blue, blue, cyan, yellow, red, dark red
  Hot = 4,            ///< black, red, yellow, white
  Thermo = 5,         ///< as thermal cameras show heat: black, violet, red, orange, yellow, white
  Hsv = 6,            ///< the hues from red to red again: cyclic
  Beer = 7,           ///< from water over pale and amber to brown beer
  Turbo = 8,          ///< a rainbow without false edges
  Inferno = 9,        ///< black, violet, orange, pale yellow; even steps to the eye, as the three that follow
  Plasma = 10,        ///< blue, violet, orange, yellow
  Magma = 11,         ///< black, violet, pink, pale yellow
  Viridis = 12,       ///< violet, blue, green, yellow
  RedWhiteBlue = 13,  ///< red over white to blue
  LevelOfAccuracy =
      14,             ///< bands of fifths from the middle outwards: green, light green, yellow, orange, red
  PassFail = 15,      ///< green in the middle half, red outside
  TrafficLight = 16,  ///< green in the middle third, yellow up to two thirds, red outside
  CoolToWarm = 17     ///< blue over light gray to red
};

/// Where the parameter of a legend grows.
enum class ColorMapOrientation : std::int32_t {
  Horizontal = 0,  ///< from left to right
  Vertical = 1     ///< from the bottom to the top, as for every value but 0
};

/// Draws a colour map as a bar. Along a side of n pixels, pixel i counted from the start of the map has the
/// colour of parameter i / n, so that the colour of parameter 1 itself is not drawn; across, all pixels are
/// equal. Threads: safe together.
/// @param width, height    in pixels; either may be 0.
/// @param[out] colorImage  width * height pixels, rows from the top. Their bytes are red, green, blue and
/// alpha
///                         (255), in this order, which is not that of Color's members: the member b holds
///                         red, and r blue.
/// @throws std::invalid_argument "Error: width * height != colorImage.size()".
/// @throws std::bad_function_call for a number that is none of the maps, unless the side along which the map
/// runs
///         is 0. Nothing is written then.
SORVIK_API void renderColorMap(ColorMap colorMap, std::size_t width, std::size_t height,
                               Span<Color> colorImage, ColorMapOrientation orientation);

/// Draws a colour map as renderColorMap() does, into a PNG file (sRGB with alpha, 8 bits a channel). It
/// appears only when it is complete, and replaces a file that is there.
/// @param width, height  in pixels, at most 1,000,000 each.
/// @throws std::invalid_argument "Error: width * height == 0".
/// @throws std::bad_function_call for a number that is none of the maps.
/// @throws std::length_error, std::bad_alloc when the picture is too large for memory.
/// @throws std::runtime_error (std::system_error where the system refuses) naming the path and the reason.
SORVIK_API void renderColorMapToPng(ColorMap colorMap, std::size_t width, std::size_t height,
                                    const std::wstring& path, ColorMapOrientation orientation);

}  // namespace Sorvik
