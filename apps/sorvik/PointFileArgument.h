#pragma once

#include <string>
#include <string_view>

namespace Program {

/// Refuses the name of a file that no points can be written to.
/// @param option  what the file was given for, as messages name it: "-o".
/// @throws CallError for an extension that is none of a point file's.
void checkPointFile(std::string_view option, const std::string& path);

}  // namespace Program
