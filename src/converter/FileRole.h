#pragma once

#include <system_error>

#include "core/FormatError.h"

namespace Converter {

/// What a file is to a conversion.
enum class FileRole { Input, Temporary, Output };

/// Throws the ConversionError for a file call that failed: what happened, to which file, what to do.
///   any role    EFBIG: ConvertFileTooBig (but for inputs)
///   Input       InputCannotRead
///   Temporary   ENOSPC, EDQUOT: ConvertTempFull; ENOENT, ESTALE: OutputProcessedFileGone; else
///   ConvertIOError Output      ENOSPC, EDQUOT: OutputDiskFull; ENOENT, ESTALE: OutputProcessedFileGone; else
///   OutputCannotWrite
[[noreturn]] void failWithRole(FileRole role, const std::system_error& error);

/// The same for bytes that are not what their format promises, or not there: InputCannotRead, ConvertIOError
/// and OutputCannotWrite by role.
[[noreturn]] void failWithRole(FileRole role, const Core::FormatError& error);

/// Does @p work, whose file calls all concern files of one role.
/// @return what @p work returns.
/// @throws ConversionError, see failWithRole(), for its std::system_error and Core::FormatError; what else it
///         throws (also ConversionError) passes through.
template <class Work>
decltype(auto) withRole(FileRole role, Work&& work) {
  try {
    return work();
  } catch (const std::system_error& error) {
    failWithRole(role, error);
  } catch (const Core::FormatError& error) {
    failWithRole(role, error);
  }
}

}  // namespace Converter
