#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "core/FormatError.h"
#include "math/Pose.h"

namespace Formats {

/// A file of points that a project lists.
struct ProjectMember {
  /// From the project's folder, with '/' between its parts, as the project has it: not checked, it may be
  /// absolute or lead out of the folder, and need not exist.
  std::string path;
  /// From the file's coordinate system to the project's global one, in metres.
  Math::Pose pose;
};

/// What a RIEGL RiSCAN PRO project tells of its points.
struct RspProject {
  std::size_t numPositions = 0;  ///< that are not deleted
  /// Scans and point clouds of all positions, then point clouds of the whole project, in the document's
  /// order. Scans of reflectors and what is marked deleted are left out.
  std::vector<ProjectMember> members;
  std::size_t numDeleted = 0;         ///< scans, point clouds and positions that are marked deleted
  std::vector<std::string> warnings;  ///< what was found odd and passed over, each a sentence
};

/// Reads the XML of a RiSCAN PRO project (.rsp). Each position has a matrix SOP from the scanner's system to
/// the project's, the project a matrix POP from there to the global system; a pose is POP * SOP, and POP
/// alone for point clouds of the whole project. A matrix that is missing or not of the form of a pose is
/// taken as the identity, with a warning.
/// @throws UnsupportedFormat when the root element is not that of such a project.
/// @throws Core::FormatError when the XML is damaged, or a matrix holds a number that is not finite.
[[nodiscard]] RspProject readRspProject(std::span<const std::byte> bytes, const Core::Source& source);

}  // namespace Formats
