// The part of PotreeTree that loads the points of nodes.

#include <algorithm>
#include <exception>
#include <string>
#include <utility>

#include "core/Brotli.h"
#include "core/FormatError.h"
#include "core/Futures.h"
#include "octree/potree/NodeDecoder.h"
#include "octree/potree/PotreeTree.h"

namespace PoTree {

NodeFetch PotreeTree::fetchNode(Octree::OctreeNodeId id, std::stop_token stopToken, Role role) {
  NodeFetch fetch;
  fetch.id = id;
  try {
    fetch.node = nodeById(id, stopToken);
    // Only an octree without points has no root, or it would not have been opened.
    if (!fetch.node && role == Role::Main && !id.isRoot())
      throw std::runtime_error(location_->toString() + ": no node " + id.name());
    if (fetch.node && fetch.node->numPoints != 0 && fetch.node->byteSize != 0 &&
        !hasVisibilityHint(*fetch.node)) {
      fetch.bytes = location_->fetchOctreeChunk(fetch.node->byteOffset, fetch.node->byteSize, stopToken);
    }
    for (const auto& external : externals_)
      fetch.externals.push_back(external->fetchNode(id, stopToken, Role::External));
  } catch (const std::exception&) {
    fetch.bytes = Core::failedFuture<std::string>(std::current_exception());
  }
  return fetch;
}

bool PotreeTree::decodeNode(NodeFetch fetch, Math::NodePoints& points, std::stop_token stopToken, Role role) {
  if (role == Role::Main) points.resize(0);
  try {
    if (!getNodePointData(fetch, points, stopToken)) return false;
  } catch (const std::exception& error) {
    noteFailure(fetch.id, error.what(), stopToken);
    return false;
  }
  for (std::size_t i = 0; i < fetch.externals.size(); ++i) {
    if (!externals_[i]->decodeNode(std::move(fetch.externals[i]), points, stopToken, Role::External))
      return false;
  }
  if (role == Role::Main) points.complete();
  return true;
}

bool PotreeTree::getNodePointData(NodeFetch& fetch, Math::NodePoints& points, std::stop_token stopToken) {
  const std::string stored = fetch.bytes.valid() ? fetch.bytes.get() : std::string();
  if (!fetch.node || fetch.node->numPoints == 0) return true;
  const Node& node = *fetch.node;
  const NodeFormat format(metaData(), positionFactor_, points.extras().attributes());
  if (node.byteSize == 0) {
    noteDamage(node, 0, 0, format.bytesPerPoint);
    return true;
  }
  if (hasVisibilityHint(node)) {
    applyVisibilityHint(node, format, points);
    return true;
  }
  return !stopToken.stop_requested() && decodeBytes(node, format, stored, points, stopToken);
}

bool PotreeTree::decodeBytes(const Node& node, const NodeFormat& format, const std::string& stored,
                             Math::NodePoints& points, const std::stop_token& stopToken) {
  const std::string file = location_->toString() + "/octree.bin";
  if (stored.size() != node.byteSize) {
    throw Core::FormatError({file, node.byteOffset}, "bytes of node " + node.id.name(),
                            std::to_string(node.byteSize), std::to_string(stored.size()));
  }
  try {
    const std::span<const std::byte> bytes = std::as_bytes(std::span(stored));
    Core::ByteBuffer decompressed;
    const bool brotli = format.encoding == Encoding::Brotli;
    if (brotli)
      Core::brotliDecode(bytes, (node.numPoints + 1) * format.bytesPerPoint, decompressed, stopToken);
    const std::span<const std::byte> data = brotli ? decompressed.bytes() : bytes;
    const std::size_t count = PoTree::decodeNode(format, data, points);
    noteDamage(node, data.size(), count, format.bytesPerPoint);
    return true;
  } catch (const std::exception& error) {
    noteFailure(node.id, file + ", byte " + std::to_string(node.byteOffset) + ": " + error.what(), stopToken);
    return false;
  }
}

/// An octree of nothing but visibility can say for a whole node that all its points are hidden or visible.
bool PotreeTree::hasVisibilityHint(const Node& node) const {
  return metaData().stored.visibility && metaData().attributes.size() == 1 &&
         (node.visibilityHint == 1 || node.visibilityHint == 2);
}

void PotreeTree::applyVisibilityHint(const Node& node, const NodeFormat& format, Math::NodePoints& points) {
  const auto visible = static_cast<std::uint8_t>(node.visibilityHint - 1);
  const std::span<std::uint8_t> column = points.prepareVisibility(points.size());
  std::fill(column.begin(), column.end(), visible);
  for (const ExtraAttribute& extra : format.extras) {  // of this octree: its only attribute
    const std::span<std::byte> extraColumn = points.prepareExtra(extra.column, points.size());
    std::fill(extraColumn.begin(), extraColumn.end(), std::byte{visible});
  }
}

void PotreeTree::noteDamage(const Node& node, std::size_t decodedBytes, std::size_t count,
                            std::uint64_t bytesPerPoint) {
  if (count == node.numPoints && decodedBytes % bytesPerPoint == 0) return;
  unreadable_.add(node.id, location_->toString() + "/octree.bin, byte " + std::to_string(node.byteOffset) +
                               ": points: expected " + std::to_string(node.numPoints) + " of " +
                               std::to_string(bytesPerPoint) + " bytes, found " +
                               std::to_string(decodedBytes) + " bytes, " + std::to_string(count) +
                               " whole points");
}

}  // namespace PoTree
