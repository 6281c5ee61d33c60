#pragma once

#include <array>
#include <string>

#include "Sorvik/ClippingRegion.h"

namespace Program {

/// The clipping region that a JSON file describes, with coordinates less @p origin, taken in double.
/// @throws std::runtime_error naming the file: it cannot be read, or holds no region.
[[nodiscard]] Sorvik::ClippingRegion readRegion(const std::string& file, const std::array<double, 3>& origin);

}  // namespace Program
