#pragma once

#include <filesystem>
#include <span>

namespace Converter {

/// Whether there is something at a path, be it a link that leads nowhere.
[[nodiscard]] bool somethingIsAt(const std::filesystem::path& path);

/// Looks at what is at the output, and changes nothing.
/// @param output  absolute, links followed.
/// @param inputs  what is read; an octree that holds one of them is not replaced.
/// @return whether an octree is there that will be replaced; false when there is nothing or an empty folder.
/// @throws ConversionError: OutputPathExists for anything else; OutputCannotWrite when the folder that is
/// there is a mount point or may not be written.
[[nodiscard]] bool replacesOctree(const std::filesystem::path& output, bool overwrite,
                                  std::span<const std::filesystem::path> inputs);

/// The folder for temporary files that the user chose, absolute, links followed.
/// @throws ConversionError: ConvertTempPathNotFound, or ConvertTempDirInvalid when it is no folder.
[[nodiscard]] std::filesystem::path checkedTemporaryFolder(const std::filesystem::path& folder);

}  // namespace Converter
