#include "core/Version.h"

#include <charconv>
#include <string_view>

namespace Core {

std::string Version::string() const {
  return std::to_string(major) + '.' + std::to_string(minor) + '.' + std::to_string(patch);
}

Version libVersion() {
  constexpr std::string_view text = SORVIK_VERSION;
  Version version;
  const char* at = text.data();
  const char* const end = text.data() + text.size();
  for (int* part : {&version.major, &version.minor, &version.patch}) {
    at = std::from_chars(at, end, *part).ptr;
    if (at != end) ++at;  // the dot
  }
  return version;
}

}  // namespace Core
