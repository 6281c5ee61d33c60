#pragma once

#include <cstddef>

#include "graphics/ColorImage.h"
#include "render/ColorMap.h"

namespace Render {

/// Where the parameter grows in a legend: to the right, or upwards.
enum class LegendDirection { Right, Up };

/// Where the sample at @p index of @p count lies: index / count, so that the first is at 0 and none at 1. The
/// index is rounded to single precision before the division.
[[nodiscard]] double legendParameter(std::size_t index, std::size_t count);

/// A bar of a colour map: one sample for each column (Right) or row (Up), across the whole image.
/// @throws std::bad_function_call for a number that is no map, unless the side along which the parameter
/// grows is
///         0; what the constructor of the image throws.
[[nodiscard]] Graphics::ColorImage drawLegend(ColorMap colorMap, std::size_t width, std::size_t height,
                                              LegendDirection direction);

}  // namespace Render
