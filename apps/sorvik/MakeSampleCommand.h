#pragma once

#include <cstdint>
#include <string>

#include "Sorvik/PointFileWriter.h"
#include "sorvik/ExitStatus.h"
#include "sorvik/Output.h"

namespace Program {

/// What `sorvik make-sample` was asked for.
struct MakeSampleOptions {
  std::string file;  ///< as given
  std::uint64_t numPoints = 1'000'000;
  std::uint64_t seed = 1;
  Sorvik::LasVersion lasVersion = Sorvik::LasVersion::V14;  ///< of the file
  bool json = false;
};

/// Writes a synthetic survey. Throws CallError for a file that cannot be written for its name, and for too
/// many points; otherwise what writing throws.
ExitStatus runMakeSample(const MakeSampleOptions& options, const Streams& streams);

}  // namespace Program
