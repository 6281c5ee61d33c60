#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "octree/OctreeNodeId.h"
#include "octree/potree/MetaData.h"
#include "support/PointRecords.h"

namespace Testing {

/// One record of hierarchy.bin, its bytes as they stand.
struct HierarchyRecord {
  unsigned type = 0;  ///< 0 inner, 1 leaf, 2 proxy
  unsigned childMask = 0;
  std::uint32_t numPoints = 0;
  std::uint64_t byteOffset = 0;
  std::uint64_t byteSize = 0;

  bool operator==(const HierarchyRecord&) const = default;
};

/// A run of records, and the nodes ("r042") that its masks reach in their order; a sound chunk has as many of
/// the one as of the other.
struct HierarchyChunk {
  std::uint64_t byteOffset = 0;
  std::uint64_t byteSize = 0;
  std::vector<std::string> reached;
  std::vector<HierarchyRecord> records;
};

/// All chunks of @p hierarchy that proxies lead to, the root's first; proxies are followed breadth first.
[[nodiscard]] std::vector<HierarchyChunk> readChunks(std::string_view hierarchy,
                                                     std::uint64_t firstChunkSize);

/// The true record of each node, by its name.
[[nodiscard]] std::map<std::string, HierarchyRecord> nodesOf(const std::vector<HierarchyChunk>& chunks);

/// An octree on disk, read in the plainest way, apart from the library's own reader.
struct WrittenOctree {
  nlohmann::json metaData;
  std::string hierarchy;
  std::string data;
  std::vector<HierarchyChunk> chunks;
  std::map<std::string, HierarchyRecord> nodes;

  explicit WrittenOctree(const std::filesystem::path& folder);

  /// The points of a node as uncompressed records, whatever the encoding; positions and colours are put
  /// together bit by bit.
  [[nodiscard]] std::vector<std::string> pointsOf(const std::string& node) const;
  /// The points of all nodes, sorted.
  [[nodiscard]] std::vector<std::string> allPoints() const;
};

/// Each record as a string, in their order.
[[nodiscard]] std::vector<std::string> splitRecords(const PointRecords& points);
[[nodiscard]] std::array<std::int32_t, 3> positionOf(const std::string& record);

/// The id of a node by its name.
[[nodiscard]] Octree::OctreeNodeId nodeNamed(std::string_view name);

/// Metadata that a writer accepts: a cube of 1024 units, scale 0.01, attributes position, intensity (uint16),
/// classification (uint8) and rgb: 21 bytes a point.
[[nodiscard]] PoTree::MetaData plainMetaData(PoTree::Encoding encoding = PoTree::Encoding::Uncompressed);

/// Records of plainMetaData() at the given stored positions; the other attributes follow from the index.
[[nodiscard]] std::vector<std::byte> plainRecords(const std::vector<std::array<std::int32_t, 3>>& positions);

}  // namespace Testing
