#pragma once

#include <array>
#include <string>
#include <vector>

#include "Sorvik/PointCloud.h"

namespace Program {

/// The frame of the coordinates that the user gives and gets.
enum class Frame { World, Octree };

/// What is written of each point of a cloud: the coordinates, the columns that the cloud stores, and further
/// attributes.
struct PointLayout {
  std::array<double, 3> origin{};  ///< the octree frame's origin in the frame that is written
  std::array<double, 3> scale{};   ///< the step between stored coordinates
  bool colors = false;
  bool intensities = false;
  bool classification = false;
  bool normals = false;
  std::vector<Sorvik::Attribute> further;  ///< by their own names, in their stored types
  std::vector<Sorvik::Attribute> stored;   ///< all of these, but the coordinates, as the cloud stores them
  std::string projection;                  ///< the coordinate system as WKT; or empty
};

/// The octree frame's origin in @p frame: zero for itself, the reference position in the world.
[[nodiscard]] std::array<double, 3> originIn(Frame frame, const Sorvik::PointCloud& cloud);

/// Of all standard columns that the cloud stores, without further attributes.
[[nodiscard]] PointLayout layoutOf(const Sorvik::PointCloud& cloud, Frame frame);

}  // namespace Program
