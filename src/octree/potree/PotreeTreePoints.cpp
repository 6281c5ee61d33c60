// The part of PotreeTree that loads the points of nodes.

#include <algorithm>
#include <exception>
#include <string>
#include <utility>

#include "core/Brotli.h"
#include "core/FormatError.h"
#include "octree/potree/NodeDecoder.h"
#include "octree/potree/PotreeTree.h"

namespace PoTree {

bool PotreeTree::loadNodePoints(Octree::OctreeNodeId id, Math::NodePoints& points, std::stop_token stopToken,
                                bool appending) {
  if (!appending) points.resize(0);
  try {
    const std::shared_ptr<Node> node = nodeById(id, stopToken);
    // Only an octree without points has no root, or it would not have been opened.
    if (!node && !appending && !id.isRoot())
      throw std::runtime_error(location_->toString() + ": no node " + id.name());
    if (node && !getNodePointData(*node, points, stopToken)) return false;
  } catch (const std::exception& error) {
    noteFailure(id, error.what(), stopToken);
    return false;
  }
  for (const auto& external : externals_) {
    if (!external->loadNodePoints(id, points, stopToken, true)) return false;
  }
  if (!appending) points.complete();
  return true;
}

bool PotreeTree::getNodePointData(const Node& node, Math::NodePoints& points, std::stop_token stopToken) {
  if (node.numPoints == 0) return true;
  const NodeFormat format(metaData(), positionFactor_, points.extras().attributes());
  if (node.byteSize == 0) {
    noteDamage(node, 0, 0, format.bytesPerPoint);
    return true;
  }
  if (applyVisibilityHint(node, format, points)) return true;
  const std::string fetched = location_->fetchOctreeChunk(node.byteOffset, node.byteSize, stopToken).get();
  if (stopToken.stop_requested()) return false;
  const std::string file = location_->toString() + "/octree.bin";
  if (fetched.size() != node.byteSize) {
    throw Core::FormatError({file, node.byteOffset}, "bytes of node " + node.id.name(),
                            std::to_string(node.byteSize), std::to_string(fetched.size()));
  }
  try {
    const std::span<const std::byte> bytes = std::as_bytes(std::span(fetched));
    Core::ByteBuffer decompressed;
    const bool brotli = format.encoding == Encoding::Brotli;
    if (brotli) Core::brotliDecode(bytes, (node.numPoints + 1) * format.bytesPerPoint, decompressed);
    const std::span<const std::byte> data = brotli ? decompressed.bytes() : bytes;
    const std::size_t count = decodeNode(format, data, points);
    noteDamage(node, data.size(), count, format.bytesPerPoint);
    return true;
  } catch (const std::exception& error) {
    unreadable_.add(node.id, file + ", byte " + std::to_string(node.byteOffset) + ": " + error.what());
    return false;
  }
}

/// An octree of nothing but visibility can say for a whole node that all its points are hidden or visible.
bool PotreeTree::applyVisibilityHint(const Node& node, const NodeFormat& format,
                                     Math::NodePoints& points) const {
  const bool applies = metaData().stored.visibility && metaData().attributes.size() == 1 &&
                       (node.visibilityHint == 1 || node.visibilityHint == 2);
  if (!applies) return false;
  const auto visible = static_cast<std::uint8_t>(node.visibilityHint - 1);
  const std::span<std::uint8_t> column = points.prepareVisibility(points.size());
  std::fill(column.begin(), column.end(), visible);
  for (const ExtraAttribute& extra : format.extras) {  // of this octree: its only attribute
    const std::span<std::byte> extraColumn = points.prepareExtra(extra.column, points.size());
    std::fill(extraColumn.begin(), extraColumn.end(), std::byte{visible});
  }
  return true;
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
