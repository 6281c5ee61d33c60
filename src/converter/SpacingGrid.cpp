#include "converter/SpacingGrid.h"

#include <algorithm>

namespace Converter {
namespace {

constexpr std::uint32_t kCellsPerEdge = 128;
constexpr unsigned kCellShift = 25;  // from 2^32 units of the node's edge to a cell
constexpr std::uint64_t kSpacing = std::uint64_t{1} << kCellShift;

std::uint32_t cellOf(const CubePoint& p) {
  return ((p.z >> kCellShift) * kCellsPerEdge + (p.y >> kCellShift)) * kCellsPerEdge + (p.x >> kCellShift);
}

std::uint64_t squaredDifference(std::uint32_t a, std::uint32_t b) {
  const std::int64_t difference = std::int64_t{a} - std::int64_t{b};
  return static_cast<std::uint64_t>(difference * difference);
}

}  // namespace

SpacingGrid::SpacingGrid() : heads_(std::size_t{kCellsPerEdge} * kCellsPerEdge * kCellsPerEdge) {}

void SpacingGrid::begin(unsigned level) {
  for (const Taken& taken : taken_) heads_[cellOf(taken.point)] = 0;
  taken_.clear();
  level_ = level;
  const std::uint64_t least = kSpacing + (std::uint64_t{2} << level);
  leastDistanceSquared_ = least * least;
}

bool SpacingGrid::take(const CubePoint& p) {
  const CubePoint inNode{p.x << level_, p.y << level_, p.z << level_};
  const std::uint32_t x = inNode.x >> kCellShift;
  const std::uint32_t y = inNode.y >> kCellShift;
  const std::uint32_t z = inNode.z >> kCellShift;
  const auto last = [](std::uint32_t cell) { return std::min(cell + 1, kCellsPerEdge - 1); };
  const auto first = [](std::uint32_t cell) { return cell == 0 ? 0 : cell - 1; };
  for (std::uint32_t k = first(z); k <= last(z); ++k) {
    for (std::uint32_t j = first(y); j <= last(y); ++j) {
      const std::uint32_t row = (k * kCellsPerEdge + j) * kCellsPerEdge;
      for (std::uint32_t i = first(x); i <= last(x); ++i) {
        if (!isFree(inNode, row + i)) return false;
      }
    }
  }
  std::uint32_t& head = heads_[cellOf(inNode)];
  taken_.push_back({inNode, head});
  head = static_cast<std::uint32_t>(taken_.size());
  return true;
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
