#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "converter/CubePoint.h"
#include "math/SoAPointContainer.h"

namespace Converter {

/// The points that an inner node has taken, by place: tells whether one more keeps the node's spacing, a
/// 128th of its edge. Integer arithmetic: distances are too short by less than two units of the cube, which
/// are added to the spacing.
class SpacingGrid {
 public:
  SpacingGrid();

  /// Forgets all points and turns to a node of that level.
  void begin(unsigned level);

  /// Takes the point, which lies in the node (not checked), unless one that was taken is nearer than the
  /// spacing.
  [[nodiscard]] bool take(const CubePoint& p);

 private:
  struct Taken {
    CubePoint point;     // relative to the node, in units of the node's edge / 2^32
    std::uint32_t next;  // of the same cell: its number + 1; 0: none
  };

  [[nodiscard]] std::uint32_t cellAt(std::uint32_t coordinate) const;
  [[nodiscard]] std::uint32_t rowOf(const CubePoint& p) const;
  [[nodiscard]] unsigned occupied(std::uint32_t row, std::uint32_t x) const;
  [[nodiscard]] bool isFree(const CubePoint& p, std::uint32_t cell) const;

  unsigned level_ = 0;
  std::uint64_t leastDistanceSquared_ = 0;
  // Cells are as large as the least distance, by which points in cells that do not touch are apart:
  // coordinates are made smaller by a share of 2^-squeeze_, then cut at multiples of the spacing.
  unsigned squeeze_ = 0;
  // Most cells are empty, so a bit for each tells which ones to look into; rows have a margin of one cell on
  // every side, which is always empty.
  std::vector<std::uint8_t> occupied_;
  // By cell: the number + 1 of its last point; of no meaning for empty ones, so that memory that is not
  // needed is never touched.
  std::vector<std::uint32_t, Math::UninitialisedAllocator<std::uint32_t>> heads_;
  std::vector<Taken> taken_;
};

}  // namespace Converter
