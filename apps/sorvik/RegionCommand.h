#pragma once

#include <array>
#include <string>

#include "sorvik/ExitStatus.h"
#include "sorvik/Output.h"

namespace Program {

/// What `sorvik region` was asked for.
struct RegionOptions {
  std::string file;            ///< as given
  std::array<double, 3> at{};  ///< in the file's own frame
  bool json = false;
};

/// Says whether a point lies in a stored region. Throws what reading the file throws.
ExitStatus runRegion(const RegionOptions& options, const Streams& streams);

}  // namespace Program
