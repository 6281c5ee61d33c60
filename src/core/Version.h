#pragma once

#include <string>

namespace Core {

struct Version {
  int major = 0;
  int minor = 0;
  int patch = 0;

  /// "MAJOR.MINOR.PATCH".
  [[nodiscard]] std::string string() const;

  bool operator==(const Version&) const = default;
};

/// The version of this library, as the file VERSION at the top of the source tree states it.
[[nodiscard]] Version libVersion();

}  // namespace Core
