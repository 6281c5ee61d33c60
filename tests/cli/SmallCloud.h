#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Testing {

/// A point as the files store it.
struct SmallPoint {
  std::array<std::int32_t, 3> position{};  ///< in steps of the scale, from the offset
  std::uint16_t intensity = 0;
  std::array<std::uint16_t, 3> rgb{};
  std::uint8_t classIndex = 0;
  std::array<double, 3> normal{};
};

/// An octree of one node, written byte by byte. All points are to lie in the cube of 100 units from the
/// offset.
struct SmallCloud {
  std::array<double, 3> offset{1000, 2000, 30};
  std::array<double, 3> scale{0.01, 0.01, 0.01};
  bool intensities = true;
  bool colors = true;
  bool classification = true;
  bool normals = false;
  bool lostSubtree = false;  ///< the root has a child whose part of the hierarchy lies behind the file's end
  std::vector<SmallPoint> points{SmallPoint{}};

  /// Makes @p folder and writes the three files there.
  void write(const std::filesystem::path& folder) const;
};

/// A cloud of that many points in a row along x, one step apart.
[[nodiscard]] SmallCloud rowOfPoints(int count);

}  // namespace Testing
