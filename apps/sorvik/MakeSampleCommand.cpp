#include "sorvik/MakeSampleCommand.h"

#include <nlohmann/json.hpp>

#include "Sorvik/Sample.h"
#include "sorvik/LocationArgument.h"
#include "sorvik/PointFileArgument.h"

namespace Program {

ExitStatus runMakeSample(const MakeSampleOptions& options, const Streams& streams) {
  checkPointFile("FILE", options.file);
  Sorvik::SampleOptions sample;
  sample.onProgress = [&streams](std::uint64_t) { streams.interrupt.check(); };
  sample.lasVersion = options.lasVersion;
  streams.interrupt.check();
  Sorvik::makeSample(widePath(options.file), options.numPoints, options.seed, sample);
  if (options.json) {
    const nlohmann::ordered_json result{{"numPoints", options.numPoints}};
    streams.results.write(result.dump() + '\n');
  }
  return ExitStatus::Done;
}

}  // namespace Program
