#pragma once

#include <algorithm>
#include <array>
#include <compare>
#include <vector>

#include "Sorvik/PointIterators.h"

namespace Testing {

/// All that a chunk tells of one point.
struct WalkedPoint {
  std::array<float, 3> position{};
  std::array<float, 3> normal{};
  unsigned short intensity = 0;
  unsigned char classIndex = 0;
  std::array<unsigned char, 4> color{};  // red, green, blue, alpha

  auto operator<=>(const WalkedPoint&) const = default;
};

[[nodiscard]] inline WalkedPoint pointAt(const Sorvik::PointChunk& chunk, std::uint64_t index) {
  WalkedPoint point;
  chunk.getPosition(index, point.position);
  chunk.getNormal(index, point.normal);
  chunk.getIntensity(index, point.intensity);
  chunk.getClassIndex(index, point.classIndex);
  Sorvik::Color color{};
  chunk.getColor(index, color);
  point.color = {color.r, color.g, color.b, color.a};
  return point;
}

/// Points for which a condition holds.
template <class Accepts>
void appendPoints(const Sorvik::PointChunk& chunk, const Accepts& accepts, std::vector<WalkedPoint>& points) {
  for (std::uint64_t i = 0; i < chunk.size(); ++i) {
    const WalkedPoint point = pointAt(chunk, i);
    if (accepts(point)) points.push_back(point);
  }
}

/// The points of a walk from where it stands for which a condition holds, in an order that depends on the
/// points alone.
template <class Iterator, class Accepts>
[[nodiscard]] std::vector<WalkedPoint> pointsOf(Iterator walk, const Accepts& accepts) {
  std::vector<WalkedPoint> points;
  for (; walk != walk.end(); ++walk) appendPoints(*walk, accepts, points);
  std::sort(points.begin(), points.end());
  return points;
}

template <class Iterator>
[[nodiscard]] std::vector<WalkedPoint> pointsOf(const Iterator& walk) {
  return pointsOf(walk, [](const WalkedPoint&) { return true; });
}

/// Points per node of a walk from where it stands.
template <class Iterator>
[[nodiscard]] std::vector<std::uint64_t> sizesOf(Iterator walk) {
  std::vector<std::uint64_t> sizes;
  for (; walk != walk.end(); ++walk) sizes.push_back((*walk).size());
  return sizes;
}

/// Where the columns of a walk's chunks lie, node by node: the same address is the same data.
template <class Iterator>
[[nodiscard]] std::vector<const void*> placesOf(Iterator walk) {
  std::vector<const void*> places;
  for (; walk != walk.end(); ++walk) places.push_back((*walk).positions().data());
  return places;
}

}  // namespace Testing
