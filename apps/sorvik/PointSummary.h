#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <string>

#include "Sorvik/PointChunk.h"

namespace Program {

/// Sums, extremes and class counts of the points of a walk. Attributes that the cloud does not store count as
/// the chunks have them: intensity and class 0, colours black or the grey of the intensity.
///
/// Coordinates are summed in the octree frame, in double, chunk by chunk; the frame's origin is added once,
/// as many times as there are points. So the mean coordinate of a billion points is right to 10^-10 of the
/// cloud's size.
class PointSummary {
 public:
  void add(const Sorvik::PointChunk& chunk);

  /// One JSON object with all of it: `numPoints`, `numChunks`, `sum`, `min`, `max`, `classHistogram`. Without
  /// points `min` and `max` are null. The histogram ends with the last class that has points.
  /// @param origin  the octree frame's origin in the frame of the result.
  [[nodiscard]] std::string json(const std::array<double, 3>& origin) const;

 private:
  static constexpr float kInfinity = std::numeric_limits<float>::infinity();

  std::uint64_t numPoints_ = 0;
  std::uint64_t numChunks_ = 0;  // the empty ones too
  std::array<double, 3> positionSum_{};
  std::array<float, 3> minimum_{kInfinity, kInfinity, kInfinity};
  std::array<float, 3> maximum_{-kInfinity, -kInfinity, -kInfinity};
  std::uint64_t intensitySum_ = 0;
  std::array<std::uint64_t, 3> colorSum_{};
  std::array<std::uint64_t, 256> classHistogram_{};
};

}  // namespace Program
