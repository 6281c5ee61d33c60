// Any bytes as a ReCap project: refused by a FormatError, or texts that may be names of files.
#include <cstdint>

#include "ProjectTextInput.h"
#include "formats/projects/RcpProject.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Small, so that what is accepted stays quick.
  Formats::ArchiveLimits limits;
  limits.entries = 100;
  limits.entryBytes = 1 << 20U;
  limits.totalBytes = 4 << 20U;
  limits.smallEntryBytes = 1 << 12U;
  try {
    checkTexts(Formats::readRcpTexts(std::as_bytes(std::span(data, size)), {"fuzz"}, limits));
  } catch (const Core::FormatError&) {  // the only way to refuse
  }
  return 0;
}
