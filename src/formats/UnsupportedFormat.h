#pragma once

#include "core/FormatError.h"

namespace Formats {

/// Bytes that may be sound, but are of a kind that is not read: another format, version or compression. Every
/// other FormatError means damage.
class UnsupportedFormat : public Core::FormatError {
 public:
  using FormatError::FormatError;
};

}  // namespace Formats
