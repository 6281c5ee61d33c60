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
#include "converter/OctreeFiles.h"
#include "core/ByteReader.h"
#include "core/Parallel.h"

namespace Converter {
namespace {

// Viewers read counts as signed 32-bit numbers.
constexpr std::size_t kMostPointsPerNode = std::numeric_limits<std::int32_t>::max();

PoTree::MetaData checked(PoTree::MetaData metaData, const OctreeWriterOptions& options) {
  checkWritable(metaData, options.use);
  return metaData;
}

/// Whether the id has its leading 1 at the place of some level: ids made below the deepest level lost it.
bool isWithinDeepestLevel(Octree::OctreeNodeId id) {
  return id.value() != 0 && (std::bit_width(id.value()) - 1) % 3 == 0;
}

[[noreturn]] void refuse(Octree::OctreeNodeId id, const std::string& why) {
  throw std::invalid_argument("node " + id.name() + ": " + why);
}

}  // namespace

OctreeWriter::OctreeWriter(Core::FileSystem& files, const std::filesystem::path& folder,
                           PoTree::MetaData metaData, const OctreeWriterOptions& options)
    : files_(files),
      folder_(folder),
      options_(options),
      metaData_(checked(std::move(metaData), options)),
      layout_(metaData_.attributes),
      encoder_(makeNodeEncoder(metaData_.encoding, layout_, options.compression)) {
  files_.createDirectories(folder);
  for (const std::string_view name : {kMetaDataFile, kHierarchyFile}) {
    if (std::filesystem::exists(folder / name)) {
      throw std::runtime_error("cannot write " + (folder / name).string() + ": it exists");
    }
  }
  octreeFile_ = files_.create(folder / kOctreeFile);
}

void OctreeWriter::addNode(Octree::OctreeNodeId id, std::span<const std::byte> records) {
  addNodes(std::array{NodeRecords{id, records}});
}

void OctreeWriter::addNodes(std::span<const NodeRecords> nodes) {
  checkUsable();
  std::vector<EncodedNode> encoded;
  encoded.reserve(nodes.size());
  for (const NodeRecords& node : nodes) {
    encoded.push_back({node.id, static_cast<std::uint32_t>(node.records.size() / layout_.stride), {}});
  }
  checkNew(encoded);
  for (const NodeRecords& node : nodes) check(node);
  std::vector<std::string> scratch(nodes.size());
  Core::parallelFor(nodes.size(), [&](std::size_t i) {
    encoded[i].bytes = encoder_->encode(nodes[i].records, scratch[i]);
  });
  append(encoded);
}

void OctreeWriter::addEncoded(std::span<const EncodedNode> nodes) {
  checkUsable();
  checkNew(nodes);
  for (const EncodedNode& node : nodes) {
    if (node.numPoints > kMostPointsPerNode) refuse(node.id, "has more than 2^31 - 1 points");
    if ((node.numPoints == 0) != node.bytes.empty()) {
      refuse(node.id,
             std::to_string(node.numPoints) + " points in " + std::to_string(node.bytes.size()) + " bytes");
    }
  }
  append(nodes);
}

void OctreeWriter::append(std::span<const EncodedNode> nodes) {
  usable_ = false;
  std::span<const std::byte> pending;  // belongs before octreeFileSize_
  const auto flush = [&] {
    if (!pending.empty()) octreeFile_->write(octreeFileSize_ - pending.size(), pending);
  };
  for (const EncodedNode& node : nodes) {
    // Viewers take a node without points for one only when its place is empty too.
    const std::uint64_t offset = node.numPoints == 0 ? 0 : octreeFileSize_;
    nodes_.emplace(node.id, HierarchyNode{node.id, node.numPoints, offset, node.bytes.size()});
    if (node.bytes.empty()) continue;
    if (node.bytes.data() == pending.data() + pending.size()) {
      pending = {pending.data(), pending.size() + node.bytes.size()};
    } else {
      flush();
      pending = node.bytes;
    }
    octreeFileSize_ += node.bytes.size();
  }
  flush();
  usable_ = true;
}

void OctreeWriter::finish() { finish(metaData_); }

void OctreeWriter::finish(PoTree::MetaData metaData) {
  checkUsable();
  metaData = checked(std::move(metaData), options_);
  if (metaData.encoding != metaData_.encoding || RecordLayout(metaData.attributes).stride != layout_.stride) {
    throw std::invalid_argument("octree writer: the metadata do not fit the nodes");
  }
  usable_ = false;
  std::vector<HierarchyNode> nodes;
  nodes.reserve(nodes_.size());
  metaData.points = 0;
  for (const auto& [id, node] : nodes_) {
    nodes.push_back(node);
    metaData.points += node.numPoints;
  }
  const Hierarchy hierarchy = writeHierarchy(std::move(nodes));
  metaData.firstChunkSize = hierarchy.firstChunkSize;
  octreeFile_->close();
  writeFile(kHierarchyFile, hierarchy.bytes);
  writeFile(kMetaDataFile, metaDataText(metaData, hierarchy.depth));
}

void OctreeWriter::writeFile(std::string_view name, std::string_view bytes) {
  const std::unique_ptr<Core::WritableFile> file = files_.create(folder_ / name);
  file->write(0, std::as_bytes(std::span(bytes)));
  file->close();
}

void OctreeWriter::checkUsable() const {
  if (!usable_) throw std::logic_error("octree writer: used after finish() or a failed write");
}

void OctreeWriter::checkNew(std::span<const EncodedNode> nodes) const {
  std::unordered_set<Octree::OctreeNodeId> ids;
  for (const EncodedNode& node : nodes) {
    if (!isWithinDeepestLevel(node.id)) throw std::invalid_argument("node below level 21");
    if (nodes_.contains(node.id) || !ids.insert(node.id).second) refuse(node.id, "was added before");
  }
}

void OctreeWriter::check(const NodeRecords& node) const {
  const std::size_t size = node.records.size();
  if (size % layout_.stride != 0) {
    refuse(node.id,
           std::to_string(size) + " bytes are no whole records of " + std::to_string(layout_.stride));
  }
  if (size / layout_.stride > kMostPointsPerNode) refuse(node.id, "has more than 2^31 - 1 points");
  if (!layout_.positionOffset) return;
  for (std::size_t at = *layout_.positionOffset; at < size; at += layout_.stride) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const auto value = Core::loadLittleEndian<std::int32_t>(node.records.data() + at + 4 * axis);
      if (value < 0) refuse(node.id, "the stored coordinate " + std::to_string(value) + " is negative");
    }
  }
}

}  // namespace Converter
