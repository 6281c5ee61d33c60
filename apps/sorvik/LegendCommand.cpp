#include "sorvik/LegendCommand.h"

#include "sorvik/ColorMapArgument.h"
#include "sorvik/LocationArgument.h"

namespace Program {

ExitStatus runLegend(const LegendOptions& options, const Streams& streams) {
  streams.interrupt.check();
  if (options.list) {
    std::string names;
    for (const NamedColorMap& map : namedColorMaps()) names.append(map.name).append("\n");
    streams.results.write(names);
  } else {
    Sorvik::renderColorMapToPng(options.colorMap, options.width, options.height, widePath(options.file),
                                options.orientation);
  }
  return ExitStatus::Done;
}

}  // namespace Program
