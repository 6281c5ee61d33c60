// Any bytes as a RiSCAN PRO project: refused by a FormatError, or members with poses of finite numbers.
#include <cstdint>
#include <cstdlib>

#include "formats/projects/RspProject.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const auto project = Formats::readRspProject(std::as_bytes(std::span(data, size)), {"fuzz"});
    if (project.members.size() > size || project.numPositions > size) std::abort();
    for (const Formats::ProjectMember& member : project.members) {
      if (member.path.empty()) std::abort();
    }
  } catch (const Core::FormatError&) {  // the only way to refuse
  }
  return 0;
}
