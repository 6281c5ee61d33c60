#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace Testing {

using Place = std::array<double, 3>;
/// Points by the name of their node ("r042"); nodes without points may be left out.
using PlacesByNode = std::map<std::string, std::vector<Place>>;

/// How the points of an octree are spread over its nodes. A node's spacing is a 128th of its edge; inner
/// nodes are those below which points are stored.
struct Spread {
  /// The least distance of two points of an inner node, in spacings of the node.
  double closest = std::numeric_limits<double>::infinity();
  /// The largest distance of a point from the nearest point of a node above its own, in spacings of that
  /// node; infinite where it is more than 2.
  double farthest = 0;
};

/// @param edge  of the octree's cube, in the units of the places.
[[nodiscard]] Spread spreadOf(const PlacesByNode& nodes, double edge);

/// Whether every inner node holds exactly one point of each cell of its spacing in which it or a node below
/// it has points.
/// @param nodes  at whole places from 0 to 2^@p edgeBits - 1; the cube's edge is 2^@p edgeBits.
[[nodiscard]] bool holdsOnePointOfEachCell(const PlacesByNode& nodes, unsigned edgeBits);

}  // namespace Testing
