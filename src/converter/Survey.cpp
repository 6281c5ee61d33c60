#include "converter/Survey.h"

#include <algorithm>
#include <cmath>

#include "converter/ConversionError.h"
#include "converter/WorkerThreads.h"

namespace Converter {
namespace {

bool isFinite(const Math::NBoundingBox<double, 3>& box) {
  for (int axis = 0; axis < 3; ++axis) {
    if (!std::isfinite(box.minimum[axis]) || !std::isfinite(box.maximum[axis])) return false;
    if (!std::isfinite(box.maximum[axis] - box.minimum[axis])) return false;
  }
  return !box.empty();
}

double longestExtent(const Math::NBoundingBox<double, 3>& box) {
  const auto size = box.size();
  return std::max({size[0], size[1], size[2]});
}

}  // namespace

std::optional<Math::NBoundingBox<double, 3>> statedBox(Scans scans) {
  Math::NBoundingBox<double, 3> box;
  for (const auto& scan : scans) {
    if (scan->info().numPoints == 0) continue;
    const auto& stated = scan->info().statedBox;
    if (!isFinite(stated)) return std::nullopt;
    box.expand(stated.minimum);
    box.expand(stated.maximum);
  }
  if (!isFinite(box)) return std::nullopt;
  return box;
}

bool isCloseTo(const Math::NBoundingBox<double, 3>& stated, const Math::NBoundingBox<double, 3>& tight) {
  return longestExtent(stated) <= 2 * longestExtent(tight);
}

Math::NBoundingBox<double, 3> tightBox(Scans scans, const std::vector<ScanBounds>& bounds) {
  Math::NBoundingBox<double, 3> box;
  for (std::size_t i = 0; i < scans.size(); ++i) {
    const auto ofScan = bounds[i].world(scans[i]->info().grid);
    if (ofScan.empty()) continue;
    if (!isFinite(ofScan)) {
      throw ConversionError(Result::InputDegeneratedBBox,
                            scans[i]->info().name + ": the box of its points is not finite");
    }
    box.expand(ofScan.minimum);
    box.expand(ofScan.maximum);
  }
  if (box.empty()) throw ConversionError(Result::InputEmpty, "the input holds no points");
  if (!isFinite(box))
    throw ConversionError(Result::InputDegeneratedBBox, "the box of all points is not finite");
  return box;
}

Sample::Sample(Scans scans, const std::stop_token& stopToken) {
  constexpr std::uint64_t kOnePointIn = 20;
  constexpr std::uint64_t kFew = 1000;
  constexpr std::uint64_t kMany = 1'000'000;
  for (const auto& scan : scans) numPoints_ += scan->info().numPoints;
  const std::uint64_t wanted = std::clamp(numPoints_ / kOnePointIn, kFew, kMany);
  for (const auto& scan : scans) {
    throwIfStopped(stopToken);
    if (scan->info().numPoints == 0) continue;
    const double share = static_cast<double>(scan->info().numPoints) / static_cast<double>(numPoints_);
    const auto count = static_cast<std::size_t>(std::ceil(share * static_cast<double>(wanted)));
    const auto drawn = scan->sample(count);
    points_.insert(points_.end(), drawn.begin(), drawn.end());
  }
  for (const auto& point : points_) box_.expand(point);
}

bool Sample::agreesWith(const Math::NBoundingBox<double, 3>& stated) const {
  // A sample of compressed points may be a few runs of neighbours, which say little of all points: only when
  // these have been read shows whether the box is close to them.
  constexpr double kFarTooLong = 64;
  if (points_.empty() || longestExtent(stated) > kFarTooLong * longestExtent(box_)) return false;
  // Stated corners are often rounded; who lies inside is seen exactly when the points are read.
  const double margin = std::ldexp(longestExtent(stated), -20);
  for (int axis = 0; axis < 3; ++axis) {
    if (box_.minimum[axis] < stated.minimum[axis] - margin) return false;
    if (box_.maximum[axis] > stated.maximum[axis] + margin) return false;
  }
  return true;
}

bool Sample::hasOutliers() const {
  constexpr double kFarApart = 20;
  constexpr std::size_t kFewest = 1000;
  if (points_.size() < kFewest) return false;
  const std::size_t left = points_.size() / 2000;  // out on either side
  double longest = 0;
  std::vector<double> values(points_.size());
  for (int axis = 0; axis < 3; ++axis) {
    std::transform(points_.begin(), points_.end(), values.begin(), [&](const auto& p) { return p[axis]; });
    const auto low = values.begin() + static_cast<std::ptrdiff_t>(left);
    const auto high = values.end() - 1 - static_cast<std::ptrdiff_t>(left);
    std::nth_element(values.begin(), low, values.end());
    const double lowest = *low;
    std::nth_element(values.begin(), high, values.end());
    longest = std::max(longest, *high - lowest);
  }
  return longestExtent(box_) > kFarApart * longest;
}

CellTree Sample::cells(const OutputGrid& grid, std::size_t stride, std::uint64_t cellBytes) const {
  const std::uint64_t bytes = numPoints_ * stride;
  if (bytes <= cellBytes || points_.empty()) return CellTree();
  std::vector<CubePoint> places;
  places.reserve(points_.size());
  for (const auto& point : points_) {
    StoredPosition stored{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double steps = (point[static_cast<int>(axis)] - grid.offset()[axis]) / grid.scale()[axis];
      stored[axis] =
          static_cast<std::uint32_t>(std::clamp(steps, 0.0, static_cast<double>(grid.steps()[axis] - 1)));
    }
    places.push_back(grid.cubePoint(stored));
  }
  const std::uint64_t bytesPerPlace = std::max<std::uint64_t>(bytes / points_.size(), 1);
  return {std::move(places), static_cast<std::size_t>(std::max<std::uint64_t>(cellBytes / bytesPerPlace, 1))};
}

}  // namespace Converter
