#pragma once

#include <cstddef>
#include <filesystem>

#include "octree/potree/MetaData.h"
#include "support/PointRecords.h"

namespace Testing {

struct BuildOptions {
  std::size_t leafPoints = 10'000;  ///< a node of no more points is a leaf
  unsigned gridBits = 7;  ///< an inner node keeps one point in each cell of a grid of 2^gridBits a side
};

/// The metadata of an octree of @p points whose cube starts at their offset and is a power of two of steps
/// long, so that nodes and grid cells hold whole ranges of stored integers.
[[nodiscard]] PoTree::MetaData describe(const PointRecords& points, PoTree::Encoding encoding,
                                        const BuildOptions& options = {});

/// Writes an octree of @p points, all in memory: plain, deterministic, an oracle rather than a converter.
/// An inner node keeps the middle one (along the Z curve) of the points of each grid cell and hands the
/// others down to its children. Nodes whose cube is one step long, and those of level 21, are leaves whatever
/// they hold, so equal points do not split for ever. Node data stand breadth first, coarse levels in front.
/// @throws std::invalid_argument without an attribute "position", for negative positions and for more than
///         2^32 - 1 points; otherwise as Converter::OctreeWriter.
void buildOctree(const PointRecords& points, PoTree::Encoding encoding, const std::filesystem::path& folder,
                 const BuildOptions& options = {});

}  // namespace Testing
