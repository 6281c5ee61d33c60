#pragma once

#include <string>
#include <string_view>

#include "Sorvik/PointFileWriter.h"

namespace Program {

/// Refuses the name of a file that no points can be written to.
/// @param option  what the file was given for, as messages name it: "-o".
/// @throws CallError for an extension that is none of a point file's.
void checkPointFile(std::string_view option, const std::string& path);

/// Whether a file is LAS by its name, compressed or not.
[[nodiscard]] bool isLasFile(const std::string& path);

/// The value of --las-version, for a file.
/// @throws CallError for other versions than those that are written, and for a file that is not LAS.
[[nodiscard]] Sorvik::LasVersion parseLasVersion(const std::string& text, const std::string& path);

}  // namespace Program
