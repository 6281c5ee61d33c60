#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "support/PotreePoints.h"
#include "support/TempFolder.h"

namespace Testing {

/// One record of a hierarchy file.
struct HierarchyRecord {
  static constexpr std::uint8_t kNormal = 0;
  static constexpr std::uint8_t kLeaf = 1;
  static constexpr std::uint8_t kProxy = 2;
  static constexpr std::uint64_t kSize = 22;

  std::uint8_t type = kLeaf;  ///< low 4 bits: kind of node, high 4 bits: visibility hint
  std::uint8_t childMask = 0;
  std::uint32_t numPoints = 0;
  std::uint64_t byteOffset = 0;
  std::uint64_t byteSize = 0;

  [[nodiscard]] std::string bytes() const;
};

/// The files of a small Potree cloud, built byte by byte. Starts as a valid cloud without nodes: version 2.0,
/// encoding DEFAULT, attributes position, intensity, classification and rgb, offset (100, 200, 300), scale
/// 0.5, a cube of side 64 that begins at the offset, spacing 0.5. Until they are overridden, the first chunk
/// is the whole hierarchy file, and the number of points is that of all nodes in it.
class PotreeFiles {
 public:
  /// Sets the value at a JSON pointer ("/attributes/0/size") of the metadata to that of the text @p jsonText.
  PotreeFiles& set(std::string pointer, std::string jsonText);
  /// Removes the value at a JSON pointer from the metadata.
  PotreeFiles& remove(std::string pointer);
  /// Makes the attribute list one of these, declared as declaredAttribute says.
  PotreeFiles& attributes(std::vector<std::string> names);
  /// Ends the first chunk behind the records so far.
  PotreeFiles& endFirstChunk();

  /// Appends a record to the hierarchy file.
  PotreeFiles& record(const HierarchyRecord& record);
  /// Appends a proxy for a chunk of so many records, beginning at that record of the file.
  PotreeFiles& proxy(std::uint64_t firstRecord, std::uint64_t records);
  /// Appends a node's data to the octree file and the record that names them to the hierarchy file.
  PotreeFiles& node(std::uint8_t childMask, std::uint32_t numPoints, std::string_view data);
  /// The same for uncompressed points of the attributes declared.
  PotreeFiles& node(std::uint8_t childMask, std::span<const StoredPoint> points);

  [[nodiscard]] const std::vector<std::string>& attributeNames() const { return attributeNames_; }
  [[nodiscard]] std::string metaData() const;
  [[nodiscard]] const std::string& hierarchy() const { return hierarchy_; }
  [[nodiscard]] const std::string& octree() const { return octree_; }

  /// The three files by name.
  [[nodiscard]] std::map<std::string, std::string> files() const;
  /// Writes them into a folder below @p folder.
  void write(const TempFolder& folder, const std::filesystem::path& below = {}) const;

 private:
  struct Change {
    std::string pointer;
    std::string json;  // empty: the value is removed
  };

  std::vector<Change> changes_;
  std::vector<std::string> attributeNames_{"position", "intensity", "classification", "rgb"};
  std::string hierarchy_;
  std::string octree_;
  std::uint64_t points_ = 0;
};

}  // namespace Testing
