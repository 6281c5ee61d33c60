#pragma once

#include <string>

#include "sorvik/ExitStatus.h"
#include "sorvik/Output.h"
#include "sorvik/PointLayout.h"

namespace Program {

/// What `sorvik info` was asked for.
struct InfoOptions {
  std::string location;  ///< as given
  Frame frame = Frame::World;
  bool json = false;
};

/// Prints the facts of a cloud. Throws what opening it and writing throw, and CallError for the location.
ExitStatus runInfo(const InfoOptions& options, const Streams& streams);

}  // namespace Program
