#pragma once

#include "sorvik/ExitStatus.h"
#include "sorvik/Output.h"

namespace Program {

/// Runs the command that the arguments name. Whatever goes wrong is said in the messages, and in the status.
/// @param arguments  as main() gets them, the program's name first.
[[nodiscard]] ExitStatus run(int count, const char* const* arguments, const Streams& streams);

}  // namespace Program
