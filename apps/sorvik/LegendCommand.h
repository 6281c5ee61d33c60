#pragma once

#include <cstddef>
#include <string>

#include "Sorvik/ColorMap.h"
#include "sorvik/ExitStatus.h"
#include "sorvik/Output.h"

namespace Program {

/// What `sorvik legend` was asked for.
struct LegendOptions {
  bool list = false;  ///< the names of the maps instead of a picture
  Sorvik::ColorMap colorMap = Sorvik::ColorMap::Gray;
  Sorvik::ColorMapOrientation orientation = Sorvik::ColorMapOrientation::Horizontal;
  std::size_t width = 0;  ///< in pixels
  std::size_t height = 0;
  std::string file;  ///< as given
};

/// Writes a legend, or prints the names of the colour maps. Throws what writing throws.
ExitStatus runLegend(const LegendOptions& options, const Streams& streams);

}  // namespace Program
