#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "converter/OutputGrid.h"
#include "converter/ScanReader.h"
#include "math/BoundingBox.h"

namespace Converter {

/// The box of points as a scan stores them: exact, so that it can be held against the grid's.
class ScanBounds {
 public:
  /// Takes up the points of a block.
  void add(const BlockCoordinates& coordinates, std::size_t count);
  void add(const ScanBounds& other);

  /// In world coordinates; empty when no point was added.
  [[nodiscard]] Math::NBoundingBox<double, 3> world(const std::optional<ScanInfo::Grid>& grid) const;

  /// Whether all points lie inside the output's grid, as Quantiser sees it.
  [[nodiscard]] bool fits(const std::optional<ScanInfo::Grid>& scanGrid, const OutputGrid& grid) const;

 private:
  Math::NBoundingBox<std::int64_t, 3> stored_{.minimum = {{INT64_MAX, INT64_MAX, INT64_MAX}},
                                              .maximum = {{INT64_MIN, INT64_MIN, INT64_MIN}}};
  Math::NBoundingBox<double, 3> floats_;
};

/// Brings the points of one scan onto the output's grid. Stored integers of the same scale whose offset lies
/// whole steps away are moved, all others rounded, half away from zero. Pure.
class Quantiser {
 public:
  Quantiser(const std::optional<ScanInfo::Grid>& scanGrid, const OutputGrid& grid);

  /// Writes the stored positions of a block. False when a point lies outside the grid; then @p positions are
  /// of no use.
  [[nodiscard]] bool run(const BlockCoordinates& coordinates, std::size_t count,
                         std::vector<StoredPosition>& positions) const;

 private:
  [[nodiscard]] bool move(const std::vector<std::int32_t>& stored, std::size_t count,
                          std::vector<StoredPosition>& positions) const;
  template <class WorldOf>
  [[nodiscard]] bool round(std::size_t count, const WorldOf& worldOf,
                           std::vector<StoredPosition>& positions) const;

  std::optional<ScanInfo::Grid> scanGrid_;
  OutputGrid grid_;
  std::optional<std::array<std::int64_t, 3>> shift_;  // where integers are only moved
};

}  // namespace Converter
