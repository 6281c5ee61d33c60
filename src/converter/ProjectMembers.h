#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "core/FileSystem.h"
#include "formats/projects/RspProject.h"

namespace Converter {

/// What a project file tells of its members, whatever its kind.
struct ProjectMembers {
  std::string kind;  ///< "a RIEGL RiSCAN PRO project"
  /// Whether the project's format says which files are members. Else these are all texts in it that may be
  /// names of files, and those that are found are members.
  bool areListed = true;
  std::vector<Formats::ProjectMember> members;
  std::vector<std::string> warnings;  ///< about poses, each a sentence
};

/// Whether files of an extension (small letters, with the dot) are projects that readProject() reads.
[[nodiscard]] bool isProjectExtension(const std::string& extension);

/// Reads a project file by its extension, which must be one of these.
/// @throws ConversionError naming file and place: InputPointCloudFormatUnsupported, InputGetInfoError,
///         InputCannotRead; InputEmpty for a file of no bytes.
[[nodiscard]] ProjectMembers readProject(Core::FileSystem& files, const std::filesystem::path& project);

}  // namespace Converter
