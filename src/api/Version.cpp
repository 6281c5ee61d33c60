#include "Sorvik/Version.h"

#include "core/Version.h"

namespace Sorvik {

std::string versionString() { return ::Core::libVersion().string(); }

}  // namespace Sorvik
