#include "converter/SpacingGrid.h"

#include <array>
#include <bit>
#include <cstring>

namespace Converter {
namespace {

constexpr unsigned kCellShift = 25;  // from 2^32 units of the node's edge to a cell
constexpr std::uint64_t kSpacing = std::uint64_t{1} << kCellShift;
constexpr std::uint32_t kCellsPerEdge = 128;
constexpr std::uint32_t kRowsPerEdge = kCellsPerEdge + 2;
constexpr std::uint32_t kRows = kRowsPerEdge * kRowsPerEdge;
constexpr std::uint32_t kRowBytes = 17;  // 128 cells, a margin on both sides, whole bytes

// The rows of cells around a point, nearest first, since most points are refused.
constexpr std::int32_t kNextPlane = kRowsPerEdge;
constexpr std::array<std::int32_t, 9> kNeighbourRows{
    0, -1, 1, -kNextPlane, kNextPlane, -kNextPlane - 1, -kNextPlane + 1, kNextPlane - 1, kNextPlane + 1};

std::uint64_t squaredDifference(std::uint32_t a, std::uint32_t b) {
  const std::int64_t difference = std::int64_t{a} - std::int64_t{b};
  return static_cast<std::uint64_t>(difference * difference);
}

}  // namespace

// Bytes behind the last row let every look read four.
SpacingGrid::SpacingGrid()
    : occupied_(std::size_t{kRows} * kRowBytes + 4), heads_(std::size_t{kRows} * kCellsPerEdge) {}

void SpacingGrid::begin(unsigned level) {
  for (const Taken& taken : taken_) {
    const std::uint32_t bit = cellAt(taken.point.x) + 1;
    occupied_[rowOf(taken.point) * kRowBytes + bit / 8] = 0;
  }
  taken_.clear();
  level_ = level;
  squeeze_ = kCellShift - 1 - level;
  const std::uint64_t least = kSpacing + (std::uint64_t{2} << level);
  leastDistanceSquared_ = least * least;
}

bool SpacingGrid::take(const CubePoint& p) {
  const CubePoint inNode{p.x << level_, p.y << level_, p.z << level_};
  const std::uint32_t x = cellAt(inNode.x);
  const std::uint32_t row = rowOf(inNode);
  for (const std::int32_t neighbour : kNeighbourRows) {
    const std::uint32_t near = row + static_cast<std::uint32_t>(neighbour);
    for (unsigned cells = occupied(near, x); cells != 0; cells &= cells - 1) {
      const auto step = static_cast<std::uint32_t>(std::countr_zero(cells));
      if (!isFree(inNode, near * kCellsPerEdge + x + step - 1)) return false;
    }
  }
  const std::uint32_t bit = x + 1;
  std::uint8_t& bits = occupied_[row * kRowBytes + bit / 8];
  const auto mask = static_cast<std::uint8_t>(1U << bit % 8);
  std::uint32_t& head = heads_[row * kCellsPerEdge + x];
  taken_.push_back({inNode, (bits & mask) != 0 ? head : 0});
  head = static_cast<std::uint32_t>(taken_.size());
  bits |= mask;
  return true;
}

std::uint32_t SpacingGrid::cellAt(std::uint32_t coordinate) const {
  return (coordinate - (coordinate >> squeeze_)) >> kCellShift;
}

std::uint32_t SpacingGrid::rowOf(const CubePoint& p) const {
  return (cellAt(p.z) + 1) * kRowsPerEdge + cellAt(p.y) + 1;
}

/// Bit k: whether cell x - 1 + k of a row holds points, for k = 0, 1, 2.
unsigned SpacingGrid::occupied(std::uint32_t row, std::uint32_t x) const {
  std::uint32_t bits;
  std::memcpy(&bits, occupied_.data() + row * kRowBytes + x / 8, sizeof bits);
  return bits >> x % 8 & 7U;
}

bool SpacingGrid::isFree(const CubePoint& p, std::uint32_t cell) const {
  for (std::uint32_t number = heads_[cell]; number != 0; number = taken_[number - 1].next) {
    const CubePoint& other = taken_[number - 1].point;
    const std::uint64_t distanceSquared =
        squaredDifference(p.x, other.x) + squaredDifference(p.y, other.y) + squaredDifference(p.z, other.z);
    if (distanceSquared < leastDistanceSquared_) return false;
  }
  return true;
}

}  // namespace Converter
