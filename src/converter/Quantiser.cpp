#include "converter/Quantiser.h"

#include <algorithm>
#include <cmath>

namespace Converter {
namespace {

// How far from a whole number of steps offsets may lie: what rounding of decimal offsets leaves.
constexpr double kWholeSteps = 1e-4;

}  // namespace

void ScanBounds::add(const BlockCoordinates& coordinates, std::size_t count) {
  if (!coordinates.stored.empty()) {
    std::array<std::int32_t, 3> low{INT32_MAX, INT32_MAX, INT32_MAX};
    std::array<std::int32_t, 3> high{INT32_MIN, INT32_MIN, INT32_MIN};
    const std::int32_t* at = coordinates.stored.data();
    for (std::size_t p = 0; p < count; ++p, at += 3) {
      for (std::size_t axis = 0; axis < 3; ++axis) {
        low[axis] = std::min(low[axis], at[axis]);
        high[axis] = std::max(high[axis], at[axis]);
      }
    }
    if (count > 0) {
      stored_.expand({{low[0], low[1], low[2]}});
      stored_.expand({{high[0], high[1], high[2]}});
    }
  } else {
    const double* at = coordinates.world.data();
    for (std::size_t p = 0; p < count; ++p, at += 3) floats_.expand({{at[0], at[1], at[2]}});
  }
}

void ScanBounds::add(const ScanBounds& other) {
  for (int axis = 0; axis < 3; ++axis) {
    stored_.minimum[axis] = std::min(stored_.minimum[axis], other.stored_.minimum[axis]);
    stored_.maximum[axis] = std::max(stored_.maximum[axis], other.stored_.maximum[axis]);
    floats_.minimum[axis] = std::min(floats_.minimum[axis], other.floats_.minimum[axis]);
    floats_.maximum[axis] = std::max(floats_.maximum[axis], other.floats_.maximum[axis]);
  }
}

Math::NBoundingBox<double, 3> ScanBounds::world(const std::optional<ScanInfo::Grid>& grid) const {
  if (!grid || stored_.empty()) return floats_;
  Math::NBoundingBox<double, 3> box;
  for (int axis = 0; axis < 3; ++axis) {
    const double scale = grid->scale[static_cast<std::size_t>(axis)];
    const double offset = grid->offset[static_cast<std::size_t>(axis)];
    box.minimum[axis] = static_cast<double>(stored_.minimum[axis]) * scale + offset;
    box.maximum[axis] = static_cast<double>(stored_.maximum[axis]) * scale + offset;
  }
  return box;
}

bool ScanBounds::fits(const std::optional<ScanInfo::Grid>& scanGrid, const OutputGrid& grid) const {
  BlockCoordinates corners;
  if (!stored_.empty()) {
    for (const auto& corner : {stored_.minimum, stored_.maximum}) {
      for (const std::int64_t value : corner.coordinates)
        corners.stored.push_back(static_cast<std::int32_t>(value));
    }
  } else if (!floats_.empty()) {
    for (const auto& corner : {floats_.minimum, floats_.maximum}) {
      for (const double value : corner.coordinates) corners.world.push_back(value);
    }
  } else {
    return true;
  }
  std::vector<StoredPosition> positions;
  return Quantiser(scanGrid, grid).run(corners, 2, positions);
}

Quantiser::Quantiser(const std::optional<ScanInfo::Grid>& scanGrid, const OutputGrid& grid)
    : scanGrid_(scanGrid), grid_(grid) {
  if (!scanGrid) return;
  std::array<std::int64_t, 3> shift{};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double steps = (scanGrid->offset[axis] - grid.offset()[axis]) / grid.scale()[axis];
    const double whole = std::round(steps);
    const bool fits = std::abs(whole) < 0x1p52;
    if (scanGrid->scale[axis] != grid.scale()[axis] || !fits || std::abs(steps - whole) > kWholeSteps) return;
    shift[axis] = static_cast<std::int64_t>(whole);
  }
  shift_ = shift;
}

bool Quantiser::run(const BlockCoordinates& coordinates, std::size_t count,
                    std::vector<StoredPosition>& positions) const {
  positions.resize(count);
  if (shift_) return move(coordinates.stored, count, positions);
  if (!scanGrid_) {
    return round(
        count, [&](std::size_t i, std::size_t axis) { return coordinates.world[3 * i + axis]; }, positions);
  }
  return round(
      count,
      [&](std::size_t i, std::size_t axis) {
        return coordinates.stored[3 * i + axis] * scanGrid_->scale[axis] + scanGrid_->offset[axis];
      },
      positions);
}

bool Quantiser::move(const std::vector<std::int32_t>& stored, std::size_t count,
                     std::vector<StoredPosition>& positions) const {
  bool inside = true;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const std::int64_t shift = (*shift_)[axis];
    const auto steps = static_cast<std::uint64_t>(grid_.steps()[axis]);
    for (std::size_t i = 0; i < count; ++i) {
      const auto moved = static_cast<std::uint64_t>(stored[3 * i + axis] + shift);  // negative ones are large
      inside &= moved < steps;
      positions[i][axis] = static_cast<std::uint32_t>(moved);
    }
  }
  return inside;
}

template <class WorldOf>
bool Quantiser::round(std::size_t count, const WorldOf& worldOf,
                      std::vector<StoredPosition>& positions) const {
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double offset = grid_.offset()[axis];
    const double scale = grid_.scale()[axis];
    const double steps = grid_.steps()[axis];
    for (std::size_t i = 0; i < count; ++i) {
      const double stored = std::round((worldOf(i, axis) - offset) / scale);
      if (!(stored >= 0 && stored < steps)) return false;
      positions[i][axis] = static_cast<std::uint32_t>(stored);
    }
  }
  return true;
}

}  // namespace Converter
