#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "Sorvik/ClippingRegion.h"
#include "Sorvik/PointChunk.h"
#include "Sorvik/PointCloud.h"
#include "sorvik/ShapeArguments.h"

namespace Program {

/// Which points of a cloud are walked.
struct PointSelection {
  std::optional<Shape> shape;                    ///< in the octree frame; none: all points
  std::optional<Sorvik::ClippingRegion> region;  ///< in the octree frame, instead of a shape
  float minSpacing = 0;                          ///< level of detail in cloud units; 0: every level
};

/// Parts of the hierarchy that a walk went past because they could not be read.
struct LostSubtrees {
  std::uint64_t count = 0;
  std::string firstReason;
};

/// Hands the chunks of the selection to @p take, one a visited node, until it returns false.
/// @throws std::runtime_error when the hierarchy names more nodes than it can hold.
LostSubtrees walkPoints(const Sorvik::PointCloud& cloud, const PointSelection& selection,
                        const std::function<bool(const Sorvik::PointChunk&)>& take);

}  // namespace Program
