#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "converter/CubePoint.h"
#include "converter/ScanReader.h"
#include "math/BoundingBox.h"

namespace Converter {

/// The stored integers of three axes.
using StoredPosition = std::array<std::uint32_t, 3>;

/// The grid on which an octree stores positions, and its cube: world = stored * scale + offset. The cube
/// begins at the offset.
class OutputGrid {
 public:
  /// @param scale   above 0.
  /// @param steps   the number of grid steps that the points take per axis, 1 to 2^31 - 1. The cube's edge is
  ///                the largest extent of these, or 1 unit when there is one step on every axis.
  OutputGrid(const std::array<double, 3>& scale, const std::array<double, 3>& offset,
             const std::array<std::uint32_t, 3>& steps);

  [[nodiscard]] const std::array<double, 3>& scale() const { return scale_; }
  [[nodiscard]] const std::array<double, 3>& offset() const { return offset_; }
  [[nodiscard]] const std::array<std::uint32_t, 3>& steps() const { return steps_; }
  /// The cube's, in world units.
  [[nodiscard]] double edge() const { return edge_; }

  /// Where a position with coordinates below steps() (not checked) lies in the cube. Monotone on each axis;
  /// integer arithmetic, at most one unit below the true value.
  [[nodiscard]] CubePoint cubePoint(const StoredPosition& p) const {
    return {share(p[0], 0), share(p[1], 1), share(p[2], 2)};
  }

 private:
  [[nodiscard]] std::uint32_t share(std::uint32_t stored, std::size_t axis) const {
    __extension__ using Wide = unsigned __int128;
    return static_cast<std::uint32_t>(static_cast<Wide>(stored) * factor_[axis] >> kFactorBits);
  }

  static constexpr unsigned kFactorBits = 31;

  std::array<double, 3> scale_;
  std::array<double, 3> offset_;
  std::array<std::uint32_t, 3> steps_;
  double edge_ = 1;
  std::array<std::uint64_t, 3> factor_{};  // scale / edge * 2^(32 + kFactorBits), rounded down
};

/// Chooses the grid for scans whose points lie in @p box (finite, not empty). Per axis the scale is the
/// finest of the integer scales; without any, 0.0001, or the coarser power of ten that gives the extent fewer
/// than 2^26 steps, or the finer one that gives it 2^20, but none finer than coordinates are told apart.
/// Scales are raised by tens until the extent takes at most 2^31 - 1 steps. The offset is the box's minimum,
/// lowered to whole steps from the first scan's offset.
/// @param wanted   a scale for all axes, taken as it is.
/// @param remarks  gets a sentence when a scale had to be raised.
/// @throws ConversionError: ConvertFileTooBig when @p wanted does not do, InputGetInfoError when coordinates
/// are
///         so large that doubles do not tell steps of the scale apart.
[[nodiscard]] OutputGrid chooseGrid(std::span<const ScanInfo* const> scans,
                                    const Math::NBoundingBox<double, 3>& box, std::optional<double> wanted,
                                    std::vector<std::string>& remarks);

}  // namespace Converter
