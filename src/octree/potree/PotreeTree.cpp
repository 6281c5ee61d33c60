#include "octree/potree/PotreeTree.h"

#include <exception>
#include <stdexcept>
#include <utility>

#include "core/FormatError.h"

namespace PoTree {
namespace {

// Nodes that lookups keep at hand: some 100 MB of hierarchy when all are taken, that of a cloud of two
// billion points.
constexpr std::uint64_t kNodeCapacity = 262'144;

/// The bytes of a chunk that are read; what makes no whole record is ignored.
std::uint64_t wholeRecords(std::uint64_t chunkSize) { return chunkSize - chunkSize % kHierarchyRecordSize; }

}  // namespace

PotreeTree::PotreeTree(std::shared_ptr<Location> location, std::shared_future<MetaData> metaData,
                       double positionFactor)
    : location_(std::move(location)),
      metaData_(std::move(metaData)),
      positionFactor_(positionFactor),
      nodes_(kNodeCapacity) {}

void PotreeTree::addExternalAttributes(std::unique_ptr<PotreeTree> external) {
  externals_.push_back(std::move(external));
}

const MetaData& PotreeTree::metaData() const {
  if (!metaData_.valid()) throw std::future_error(std::future_errc::no_state);
  return metaData_.get();
}

std::shared_ptr<Node> PotreeTree::nodeById(Octree::OctreeNodeId id, std::stop_token stopToken) {
  std::shared_ptr<Node> node;
  const auto load = [this](Octree::OctreeNodeId wanted, std::shared_ptr<Node>& result,
                           const std::stop_token& token) { return nodeById(wanted, result, token, nullptr); };
  if (!nodes_.get(id, node, load, std::move(stopToken))) {
    throw std::runtime_error("Failed to fetch node by id");
  }
  return node;
}

bool PotreeTree::nodeById(Octree::OctreeNodeId id, std::shared_ptr<Node>& result, std::stop_token stopToken,
                          ChunkFetch* fetched) {
  try {
    return findNode(id, result, stopToken, fetched);
  } catch (const std::exception& error) {
    noteFailure(id, error.what(), stopToken);
    return false;
  }
}

bool PotreeTree::findNode(Octree::OctreeNodeId id, std::shared_ptr<Node>& result, std::stop_token stopToken,
                          ChunkFetch* fetched) {
  if (id.isRoot()) {
    return loadHierarchyChunk(id, 0, metaData().firstChunkSize, metaData().boundingBox, result, stopToken,
                              fetched);
  }
  const std::shared_ptr<Node> parent = nodeById(id.parent(), stopToken);
  result = parent ? parent->children[id.childIndex()] : nullptr;
  if (!result || !result->is(NodeType::Proxy)) return true;
  const std::shared_ptr<Node> proxy = std::move(result);
  if (isOnPath(id, *proxy, stopToken)) {
    throw Core::FormatError({location_->toString() + "/hierarchy.bin", proxy->byteOffset},
                            "proxy " + id.name(), "a chunk that is not on its own path",
                            "one of its ancestors' chunks");
  }
  return loadHierarchyChunk(id, proxy->byteOffset, proxy->byteSize, proxy->boundingBox, result, stopToken,
                            fetched);
}

bool PotreeTree::isOnPath(Octree::OctreeNodeId id, const Node& proxy, std::stop_token stopToken) {
  const auto isItsChunk = [&](std::uint64_t offset, std::uint64_t size) {
    return offset == proxy.byteOffset && wholeRecords(size) == wholeRecords(proxy.byteSize);
  };
  for (Octree::OctreeNodeId ancestor = id.parent(); !ancestor.isRoot(); ancestor = ancestor.parent()) {
    const std::shared_ptr<Node> parent = nodeById(ancestor.parent(), stopToken);
    const Node* const slot = parent ? parent->children[ancestor.childIndex()].get() : nullptr;
    if (slot != nullptr && slot->is(NodeType::Proxy) && isItsChunk(slot->byteOffset, slot->byteSize))
      return true;
  }
  return isItsChunk(0, metaData().firstChunkSize);
}

bool PotreeTree::loadHierarchyChunk(Octree::OctreeNodeId id, std::uint64_t chunkOffset,
                                    std::uint64_t chunkSize, const Math::NBoundingBox<double, 3>& box,
                                    std::shared_ptr<Node>& result, std::stop_token stopToken,
                                    ChunkFetch* fetched) {
  const std::uint64_t bytesToRead = wholeRecords(chunkSize);
  result.reset();
  if (bytesToRead == 0) return true;
  std::string bytes;
  std::string reason;
  if (fetched != nullptr && fetched->byteOffset == chunkOffset && fetched->byteSize == bytesToRead) {
    bytes = fetched->bytes.get();
    location_->requireHierarchyBytes(chunkOffset, bytesToRead, bytes);
  } else if (!location_->fetchHierarchyChunk(chunkOffset, bytesToRead, bytes, stopToken, &reason)) {
    noteFailure(id, reason, stopToken);
    return false;
  }
  std::shared_ptr<Node> first = parseHierarchyChunk(std::as_bytes(std::span(bytes)), id, box);
  if (first->is(NodeType::Proxy)) {
    throw Core::FormatError({location_->toString() + "/hierarchy.bin", chunkOffset},
                            "first record of a chunk", "a node", "a proxy");
  }
  result = std::move(first);
  unreadable_.remove(id);  // in case an earlier try failed
  return true;
}

std::optional<ChunkFetch> PotreeTree::fetchChunkOf(Octree::OctreeNodeId id, std::stop_token stopToken) {
  std::shared_ptr<Node> known;
  std::shared_ptr<Node> parent;
  if (id.isRoot() || nodes_.find(id, known) || !nodes_.find(id.parent(), parent) || !parent) return {};
  const Node* const proxy = parent->children[id.childIndex()].get();
  if (proxy == nullptr || !proxy->is(NodeType::Proxy)) return {};
  const std::uint64_t size = wholeRecords(proxy->byteSize);
  if (size == 0) return {};
  return ChunkFetch{id, proxy->byteOffset, size,
                    location_->fetchHierarchyChunk(proxy->byteOffset, size, std::move(stopToken))};
}

void PotreeTree::takeChunk(ChunkFetch fetch, std::stop_token stopToken) {
  std::shared_ptr<Node> node;
  const auto load = [&](Octree::OctreeNodeId id, std::shared_ptr<Node>& result,
                        const std::stop_token& token) { return nodeById(id, result, token, &fetch); };
  nodes_.get(fetch.id, node, load, std::move(stopToken));
}

std::uint64_t PotreeTree::mostNodes(std::stop_token stopToken) {
  return 8 * (location_->fetchHierarchyFileSize(std::move(stopToken)).get() / kHierarchyRecordSize) + 1;
}

std::vector<Octree::UnreadableNode> PotreeTree::unreadableNodes() const {
  std::vector<Octree::UnreadableNode> nodes = unreadable_.list();
  for (const auto& external : externals_) {
    const std::vector<Octree::UnreadableNode> more = external->unreadableNodes();
    nodes.insert(nodes.end(), more.begin(), more.end());
  }
  return nodes;
}

void PotreeTree::noteFailure(Octree::OctreeNodeId id, const std::string& reason,
                             const std::stop_token& stopToken) {
  if (!stopToken.stop_requested()) unreadable_.add(id, reason);
}

}  // namespace PoTree
