#pragma once

#include <cmath>

namespace Sorvik {

/// A point that a query found: its position in the octree frame, and how far it lies from the place asked
/// about.
struct ResultPointInfo {
  float x;
  float y;
  float z;
  /// In squared units of the cloud.
  float distanceSquared;

  /// The z coordinate.
  [[nodiscard]] float height() const { return z; }

  /// In units of the cloud; NaN when distanceSquared is negative.
  [[nodiscard]] float distance() const { return std::sqrt(distanceSquared); }

  bool operator==(const ResultPointInfo&) const = default;
};

}  // namespace Sorvik
