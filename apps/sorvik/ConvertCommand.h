#pragma once

#include <string>
#include <vector>

#include "Sorvik/Converter.h"
#include "sorvik/ExitStatus.h"
#include "sorvik/Output.h"

namespace Program {

/// What `sorvik convert` was asked for.
struct ConvertOptions {
  std::vector<std::wstring> inputs;  ///< files and folders; not empty
  std::wstring output;
  Sorvik::ConverterOptions converter;
  bool json = false;
  bool progress = false;  ///< lines of progress where the messages go to no terminal
};

/// Converts. An interrupt cancels the conversion, which then ends within about a second: Interrupted, unless
/// it was complete by then. Failed, with the reason in the messages, when the conversion fails.
ExitStatus runConvert(const ConvertOptions& options, const Streams& streams);

}  // namespace Program
