// Any bytes as a RiPROCESS project: refused by a FormatError, or texts that may be names of files.
#include <cstdint>

#include "ProjectTextInput.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    checkTexts(Formats::readRppTexts(std::as_bytes(std::span(data, size)), {"fuzz"}));
  } catch (const Core::FormatError&) {  // the only way to refuse
  }
  return 0;
}
