#include "converter/Spread.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace Testing {
namespace {

using Cell = std::array<std::int64_t, 3>;

double distance(const Place& a, const Place& b) {
  return std::sqrt((a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) +
                   (a[2] - b[2]) * (a[2] - b[2]));
}

Cell cellOf(const Place& p, double size) {
  Cell cell{};
  for (std::size_t axis = 0; axis < 3; ++axis)
    cell[axis] = static_cast<std::int64_t>(std::floor(p[axis] / size));
  return cell;
}

/// Points by cell, to find those within one cell's size.
class Neighbours {
 public:
  explicit Neighbours(double size) : size_(size) {}

  void add(const Place& p) { cells_[cellOf(p, size_)].push_back(p); }

  /// The distance of the nearest point; infinite where it is more than the size.
  [[nodiscard]] double nearest(const Place& p) const {
    double least = std::numeric_limits<double>::infinity();
    const Cell own = cellOf(p, size_);
    for (std::int64_t number = 0; number < 27; ++number) {
      const auto found =
          cells_.find({own[0] + number / 9 - 1, own[1] + number / 3 % 3 - 1, own[2] + number % 3 - 1});
      if (found == cells_.end()) continue;
      for (const Place& other : found->second) least = std::min(least, distance(p, other));
    }
    return least <= size_ ? least : std::numeric_limits<double>::infinity();
  }

 private:
  double size_;
  std::map<Cell, std::vector<Place>> cells_;
};

std::size_t levelOf(const std::string& node) { return node.size() - 1; }

/// The names of the nodes above points, and the nodes with points below each.
std::map<std::string, std::vector<std::string>> innerNodes(const PlacesByNode& nodes) {
  std::map<std::string, std::vector<std::string>> below;
  for (const auto& [name, places] : nodes) {
    if (places.empty()) continue;
    for (std::size_t length = 1; length < name.size(); ++length)
      below[name.substr(0, length)].push_back(name);
  }
  return below;
}

std::vector<Place> placesOf(const PlacesByNode& nodes, const std::string& node) {
  const auto found = nodes.find(node);
  return found == nodes.end() ? std::vector<Place>() : found->second;
}

}  // namespace

Spread spreadOf(const PlacesByNode& nodes, double edge) {
  Spread spread;
  for (const auto& [inner, below] : innerNodes(nodes)) {
    const double spacing = std::ldexp(edge, -7 - static_cast<int>(levelOf(inner)));
    Neighbours own(2 * spacing);
    for (const Place& p : placesOf(nodes, inner)) {
      spread.closest = std::min(spread.closest, own.nearest(p) / spacing);
      own.add(p);
    }
    for (const std::string& node : below) {
      for (const Place& p : nodes.at(node))
        spread.farthest = std::max(spread.farthest, own.nearest(p) / spacing);
    }
  }
  return spread;
}

bool holdsOnePointOfEachCell(const PlacesByNode& nodes, unsigned edgeBits) {
  for (const auto& [inner, below] : innerNodes(nodes)) {
    const double size = std::ldexp(1.0, static_cast<int>(edgeBits) - 7 - static_cast<int>(levelOf(inner)));
    std::set<Cell> held;
    for (const Place& p : placesOf(nodes, inner)) {
      if (!held.insert(cellOf(p, size)).second) return false;
    }
    for (const std::string& node : below) {
      for (const Place& p : nodes.at(node)) {
        if (!held.contains(cellOf(p, size))) return false;
      }
    }
  }
  return true;
}

}  // namespace Testing
