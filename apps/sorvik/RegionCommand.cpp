#include "sorvik/RegionCommand.h"

#include <nlohmann/json.hpp>

#include "sorvik/RegionFile.h"

namespace Program {

ExitStatus runRegion(const RegionOptions& options, const Streams& streams) {
  // About the point itself, so that large coordinates lose nothing in floats.
  const Sorvik::ClippingRegion region = readRegion(options.file, options.at);
  streams.interrupt.check();
  const bool inside = region.inside(std::array<float, 3>{});
  if (options.json) {
    streams.results.write(nlohmann::ordered_json{{"inside", inside}}.dump() + '\n');
  } else {
    streams.results.write(inside ? "inside\n" : "outside\n");
  }
  return ExitStatus::Done;
}

}  // namespace Program
