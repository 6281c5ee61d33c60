#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string_view>
#include <unordered_map>

#include "converter/HierarchyWriter.h"
#include "converter/NodeEncoder.h"
#include "converter/RecordLayout.h"
#include "core/FileSystem.h"
#include "octree/OctreeNodeId.h"
#include "octree/potree/MetaData.h"

namespace Converter {

struct OctreeWriterOptions {
  NodeCompression compression = NodeCompression::Columns;
  /// ExternalAttributes lets the attribute list go without "position". Points of such an octree must come in
  /// the order in which the main octree stores them.
  PoTree::MetaDataUse use = PoTree::MetaDataUse::Main;
};

/// A node and its points: whole records, the attributes in list order without padding. Views the records.
struct NodeRecords {
  Octree::OctreeNodeId id;
  std::span<const std::byte> records;
};

/// A node that was encoded (NodeEncoder) with the encoding and layout of its octree. Views the bytes.
struct EncodedNode {
  Octree::OctreeNodeId id;
  std::uint32_t numPoints = 0;
  std::span<const std::byte> bytes;
};

/// Writes an octree of version 2.0 that stock viewers open: nodes in, metadata.json, hierarchy.bin and
/// octree.bin out. Nodes may come in any order; ancestors that are missing at the end are made without
/// points, and nodes without points lead to nodes with points or are left out.
///
/// Node data go to octree.bin as they come, so the same calls in the same order give the same bytes, whatever
/// the number of threads; another order moves node data within octree.bin and nothing else. metadata.json is
/// written last: a folder without it is unfinished. A writer that goes without finish() removes its
/// octree.bin. Threads: one at a time.
class OctreeWriter {
 public:
  /// Creates @p folder, parents included, and octree.bin in it.
  /// @param files     must outlive the writer.
  /// @param metaData  what finish() writes, except for version, points, firstChunkSize and the hierarchy's
  ///                  depth, which the writer knows itself. Minima, maxima and histograms are the caller's.
  /// @throws std::invalid_argument for metadata that checkWritable() refuses;
  ///         std::runtime_error naming the path when one of the three files exists or cannot be made.
  OctreeWriter(Core::FileSystem& files, const std::filesystem::path& folder, PoTree::MetaData metaData,
               const OctreeWriterOptions& options = {});

  /// Adds one node.
  /// @throws as addNodes().
  void addNode(Octree::OctreeNodeId id, std::span<const std::byte> records);

  /// Adds nodes, encoding them on all processors.
  /// @throws std::invalid_argument, and nothing was added, for an id that is below level 21 or was added
  ///         before, records that are no whole number of points or more than 2^31 - 1, and a position that is
  ///         negative or that readers of brotli nodes would not find;
  ///         std::logic_error after finish() or a failed write; std::runtime_error naming the path when
  ///         writing fails.
  void addNodes(std::span<const NodeRecords> nodes);

  /// Adds nodes that were encoded elsewhere, in the given order. Nodes whose bytes follow each other in
  /// memory are written in one call.
  /// @throws std::invalid_argument, and nothing was added, for an id that is below level 21 or was added
  ///         before, more than 2^31 - 1 points, and bytes without points or points without bytes; otherwise
  ///         as addNodes().
  void addEncoded(std::span<const EncodedNode> nodes);

  /// Writes hierarchy and metadata. Nothing can be added any more.
  /// @throws std::logic_error when called again or after a failed write; std::runtime_error naming the path
  ///         when writing fails.
  void finish();

  /// The same with @p metaData, whose ranges and histograms are known by now, in place of the constructor's.
  /// @throws also std::invalid_argument, and nothing was written, for metadata that checkWritable() refuses
  /// or
  ///         whose encoding or record size is another than the constructor's.
  void finish(PoTree::MetaData metaData);

 private:
  void checkUsable() const;
  void checkNew(std::span<const EncodedNode> nodes) const;
  void append(std::span<const EncodedNode> nodes);
  void writeFile(std::string_view name, std::string_view bytes);
  void check(const NodeRecords& node) const;

  Core::FileSystem& files_;
  std::filesystem::path folder_;
  OctreeWriterOptions options_;
  PoTree::MetaData metaData_;
  RecordLayout layout_;
  std::unique_ptr<NodeEncoder> encoder_;
  std::unique_ptr<Core::WritableFile> octreeFile_;
  std::unordered_map<Octree::OctreeNodeId, HierarchyNode> nodes_;
  std::uint64_t octreeFileSize_ = 0;
  bool usable_ = true;  ///< false while files are written, so that it stays so when that fails
};

}  // namespace Converter
