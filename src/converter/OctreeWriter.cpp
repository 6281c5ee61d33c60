#include "converter/OctreeWriter.h"

#include <array>
#include <bit>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "converter/MetaDataCheck.h"
#include "converter/MetaDataWriter.h"
#include "core/ByteReader.h"
#include "core/Parallel.h"

namespace Converter {
namespace {

constexpr const char* kMetaDataFile = "metadata.json";
constexpr const char* kHierarchyFile = "hierarchy.bin";
constexpr const char* kOctreeFile = "octree.bin";

// Viewers read counts as signed 32-bit numbers.
constexpr std::size_t kMostPointsPerNode = std::numeric_limits<std::int32_t>::max();

constexpr int kBestBrotliQuality = 11;

PoTree::MetaData checked(PoTree::MetaData metaData, const OctreeWriterOptions& options) {
  checkWritable(metaData, options.use);
  if (options.brotliQuality < 0 || options.brotliQuality > kBestBrotliQuality) {
    throw std::invalid_argument("brotli quality: expected 0 to 11, found " +
                                std::to_string(options.brotliQuality));
  }
  return metaData;
}

void writeFile(const std::filesystem::path& path, std::string_view bytes) {
  OutputFile file(path);
  file.write(bytes);
  file.close();
}

/// Whether the id has its leading 1 at the place of some level: ids made below the deepest level lost it.
bool isWithinDeepestLevel(Octree::OctreeNodeId id) {
  return id.value() != 0 && (std::bit_width(id.value()) - 1) % 3 == 0;
}

[[noreturn]] void refuse(const NodeRecords& node, const std::string& why) {
  throw std::invalid_argument("node " + node.id.name() + ": " + why);
}

}  // namespace

OctreeWriter::OctreeWriter(const std::filesystem::path& folder, PoTree::MetaData metaData,
                           const OctreeWriterOptions& options)
    : folder_(folder),
      metaData_(checked(std::move(metaData), options)),
      layout_(metaData_.attributes),
      encoder_(makeNodeEncoder(metaData_.encoding, layout_, options.brotliQuality)) {
  std::filesystem::create_directories(folder);
  for (const char* name : {kMetaDataFile, kHierarchyFile}) {
    if (std::filesystem::exists(folder / name)) {
      throw std::runtime_error("cannot write " + (folder / name).string() + ": it exists");
    }
  }
  octreeFile_ = std::make_unique<OutputFile>(folder / kOctreeFile);
}

void OctreeWriter::addNode(Octree::OctreeNodeId id, std::span<const std::byte> records) {
  addNodes(std::array{NodeRecords{id, records}});
}

void OctreeWriter::addNodes(std::span<const NodeRecords> nodes) {
  checkUsable();
  check(nodes);
  std::vector<std::string> encoded(nodes.size());
  Core::parallelFor(nodes.size(), [&](std::size_t i) { encoded[i] = encoder_->encode(nodes[i].records); });

  usable_ = false;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    octreeFile_->write(encoded[i]);
    const auto numPoints = static_cast<std::uint32_t>(nodes[i].records.size() / layout_.stride);
    // Viewers take a node without points for one only when its place is empty too.
    const std::uint64_t offset = numPoints == 0 ? 0 : octreeFileSize_;
    nodes_.emplace(nodes[i].id, HierarchyNode{nodes[i].id, numPoints, offset, encoded[i].size()});
    octreeFileSize_ += encoded[i].size();
  }
  usable_ = true;
}

void OctreeWriter::finish() {
  checkUsable();
  usable_ = false;
  std::vector<HierarchyNode> nodes;
  nodes.reserve(nodes_.size());
  metaData_.points = 0;
  for (const auto& [id, node] : nodes_) {
    nodes.push_back(node);
    metaData_.points += node.numPoints;
  }
  const Hierarchy hierarchy = writeHierarchy(std::move(nodes));
  metaData_.firstChunkSize = hierarchy.firstChunkSize;
  octreeFile_->close();
  writeFile(folder_ / kHierarchyFile, hierarchy.bytes);
  writeFile(folder_ / kMetaDataFile, metaDataText(metaData_, hierarchy.depth));
}

void OctreeWriter::checkUsable() const {
  if (!usable_) throw std::logic_error("octree writer: used after finish() or a failed write");
}

void OctreeWriter::check(std::span<const NodeRecords> nodes) const {
  std::unordered_set<Octree::OctreeNodeId> ids;
  for (const NodeRecords& node : nodes) {
    check(node);
    if (nodes_.contains(node.id) || !ids.insert(node.id).second) refuse(node, "was added before");
  }
}

void OctreeWriter::check(const NodeRecords& node) const {
  if (!isWithinDeepestLevel(node.id)) throw std::invalid_argument("node below level 21");
  const std::size_t size = node.records.size();
  if (size % layout_.stride != 0) {
    refuse(node, std::to_string(size) + " bytes are no whole records of " + std::to_string(layout_.stride));
  }
  if (size / layout_.stride > kMostPointsPerNode) refuse(node, "has more than 2^31 - 1 points");
  if (!layout_.positionOffset) return;
  for (std::size_t at = *layout_.positionOffset; at < size; at += layout_.stride) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const auto value = Core::loadLittleEndian<std::int32_t>(node.records.data() + at + 4 * axis);
      if (value < 0) refuse(node, "the stored coordinate " + std::to_string(value) + " is negative");
    }
  }
}

}  // namespace Converter
