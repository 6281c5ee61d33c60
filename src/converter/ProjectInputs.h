#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "core/FileSystem.h"
#include "math/Pose.h"

namespace Converter {

/// A scan file to open.
struct ScanInput {
  std::filesystem::path file;
  std::optional<Math::Pose> pose;  ///< to be applied to its points
};

/// How scanner projects are read.
struct ProjectOptions {
  bool allowOutside = false;  ///< read members that lie outside the project's folder
  bool applyPose = false;     ///< bring members to the project's global coordinate system
  /// Of further formats that can be read, in small letters with the dot.
  std::vector<std::string> furtherExtensions;
  /// Whether a file of one of these is of its format: then it is a scan, as an input, whatever project its
  /// name speaks of, and as a member. May be empty where there are none.
  std::function<bool(const std::filesystem::path& file)> isFurther;
};

/// The scans of a conversion.
struct ScanInputs {
  std::vector<ScanInput> scans;                 ///< sorted by their canonical paths, each once
  std::vector<std::filesystem::path> projects;  ///< that were replaced by their members
  std::vector<std::string> remarks;             ///< what the user should know of projects, each a sentence
};

/// Replaces scanner projects (.rsp, .rpp, .rcp) among input files by their members that can be read; other
/// files are handed on, and what the options' isFurther() throws. A member that cannot be read itself is read
/// from its exported sibling: "x.las", "x.laz" or "x.e57" beside "x.rxp". Members without one are left out
/// with a remark. A file that is an input itself, or a member of an earlier project as well, is read once,
/// with the pose of the first project.
/// @param inputs  files that exist.
/// @throws ConversionError naming the project: InputPointCloudFormatUnsupported when it is no project, or
/// none
///         of its members can be read; InputGetInfoError when it is damaged; InputCannotRead when it cannot
///         be read, or a scan that it lists lies outside its folder; InputEmpty for a file of no bytes.
/// @throws ConversionCancelled when a stop was requested; looked at for each project.
[[nodiscard]] ScanInputs findScans(Core::FileSystem& files, const std::vector<std::filesystem::path>& inputs,
                                   const ProjectOptions& options, const std::stop_token& stopToken);

}  // namespace Converter
