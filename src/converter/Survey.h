#pragma once

#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "converter/CellTree.h"
#include "converter/CloudRecords.h"
#include "converter/Distribute.h"
#include "converter/OutputGrid.h"
#include "converter/Progress.h"
#include "math/BoundingBox.h"

namespace Converter {

/// The union of the boxes that scans with points state; nothing when it is not finite.
[[nodiscard]] std::optional<Math::NBoundingBox<double, 3>> statedBox(Scans scans);

/// Whether the octree's cube may come from the stated box: it is at most twice as long as the tight one on
/// its longest axis.
[[nodiscard]] bool isCloseTo(const Math::NBoundingBox<double, 3>& stated,
                             const Math::NBoundingBox<double, 3>& tight);

/// The box of all points in world coordinates.
/// @throws ConversionError: InputEmpty when there is no point, InputDegeneratedBBox when it is not finite.
[[nodiscard]] Math::NBoundingBox<double, 3> tightBox(Scans scans, const std::vector<ScanBounds>& bounds);

/// What a look at a few points of all scans tells.
class Sample {
 public:
  /// Draws one point in 20, a million at most.
  /// @throws ConversionError, ConversionCancelled.
  Sample(Scans scans, const std::stop_token& stopToken);

  /// Whether the sample gives no reason to doubt the stated box: it holds the sample and is not absurdly
  /// large.
  [[nodiscard]] bool agreesWith(const Math::NBoundingBox<double, 3>& stated) const;

  /// Whether all but one in a thousand points lie in a small part of the box: a sign that the others are
  /// stray, or in another coordinate system.
  [[nodiscard]] bool hasOutliers() const;

  /// Cells that hold about @p cellBytes each, as far as the sample tells.
  [[nodiscard]] CellTree cells(const OutputGrid& grid, std::size_t stride, std::uint64_t cellBytes) const;

 private:
  std::uint64_t numPoints_ = 0;
  std::vector<Math::Point<double, 3>> points_;
  Math::NBoundingBox<double, 3> box_;
};

}  // namespace Converter
