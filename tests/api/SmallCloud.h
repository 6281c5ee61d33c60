#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>
#include <vector>

#include "Sorvik/PointCloud.h"
#include "support/PotreeFiles.h"

namespace Testing {

/// Points per node of the clouds below.
inline constexpr std::size_t kPointsPerNode = 20;

/// kPointsPerNode points inside the cube of the node that these child indices lead to ("" is the root), with
/// the intensities @p firstIntensity, @p firstIntensity + 1, ... and other values all over their ranges.
[[nodiscard]] std::vector<StoredPoint> pointsIn(std::string_view node, std::uint16_t firstIntensity);

/// The cloud of PotreeFiles with eleven nodes, in the order of a walk: r, r0 to r7, r00, r07. Its frame is
/// the cube from (0, 0, 0) to (64, 64, 64). The n-th node's intensities begin at 100 n, so that each is
/// unique.
[[nodiscard]] PotreeFiles elevenNodes();

/// Nodes r, r0, r7, r00 and r77, with a hierarchy chunk of its own for r0 and below, and for r7 and below.
/// @param chunkOf0  the record at which the proxy says that the chunk of r0 begins: 3 is right.
[[nodiscard]] PotreeFiles threeChunks(std::uint64_t chunkOf0 = 3);

/// A cloud in a folder of its own, which goes with the object.
class CloudFolder {
 public:
  explicit CloudFolder(const PotreeFiles& files = elevenNodes()) { files.write(folder_); }

  [[nodiscard]] const std::filesystem::path& path() const { return folder_.path(); }
  [[nodiscard]] Sorvik::FileSystemLocation location() const;
  [[nodiscard]] Sorvik::PointCloud open() const { return Sorvik::PointCloud(location()); }
  /// Takes all node data away, from readers that have the file open as well.
  void emptyOctreeFile() const { std::filesystem::resize_file(path() / "octree.bin", 0); }

 private:
  TempFolder folder_;
};

}  // namespace Testing
