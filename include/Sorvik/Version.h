#pragma once

#include <string>

#include "Sorvik/Export.h"

namespace Sorvik {

/// The version of the library that is loaded, as "MAJOR.MINOR.PATCH". It may differ from the version that the
/// caller was compiled with.
[[nodiscard]] SORVIK_API std::string versionString();

}  // namespace Sorvik
