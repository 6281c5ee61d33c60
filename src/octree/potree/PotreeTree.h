#pragma once

#include <cstdint>
#include <future>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "math/SoAPointContainer.h"
#include "octree/LruCache.h"
#include "octree/OctreeNodeId.h"
#include "octree/UnreadableNodes.h"
#include "octree/potree/Location.h"
#include "octree/potree/MetaData.h"
#include "octree/potree/Node.h"
#include "octree/potree/NodeFetch.h"

namespace PoTree {

struct NodeFormat;

/// The nodes of a Potree octree: finds them, hierarchy chunk by hierarchy chunk as lookups reach them, and
/// loads their points. Octrees that hold further attributes of the same points are merged into what it loads.
/// Threads: all calls are safe together; no lock is held while bytes are fetched or decoded.
class PotreeTree {
 public:
  /// @param metaData        what the octree's metadata.json says; calls wait until it is there.
  /// @param positionFactor  applied to every coordinate after the metadata's scale.
  PotreeTree(std::shared_ptr<Location> location, std::shared_future<MetaData> metaData,
             double positionFactor);

  /// Adds an octree of the same nodes that stores more attributes. Only before the tree is shared.
  void addExternalAttributes(std::unique_ptr<PotreeTree> external);

  /// @throws std::future_error when the tree was made without metadata.
  [[nodiscard]] const MetaData& metaData() const;
  [[nodiscard]] const Location& location() const { return *location_; }
  [[nodiscard]] std::span<const std::unique_ptr<PotreeTree>> externalAttributes() const { return externals_; }

  /// The node, from the cache of nodes or by way of its parent; empty when the octree has none of that id.
  /// @throws std::runtime_error "Failed to fetch node by id" when a hierarchy chunk on the way cannot be
  /// read.
  [[nodiscard]] std::shared_ptr<Node> nodeById(Octree::OctreeNodeId id, std::stop_token stopToken);

  /// What a node is for: its points, or columns for points that are there already.
  enum class Role { Main, External };

  /// Begins to fetch what the node's points are decoded from. What fails is told by decodeNode.
  [[nodiscard]] NodeFetch fetchNode(Octree::OctreeNodeId id, std::stop_token stopToken,
                                    Role role = Role::Main);

  /// Waits for the bytes and decodes them into @p points: the stored columns of this octree, then those of
  /// the external ones; likewise the extra columns that the container has. False when a stop was requested or
  /// anything could not be read; of the latter unreadableNodes() says why.
  bool decodeNode(NodeFetch fetch, Math::NodePoints& points, std::stop_token stopToken,
                  Role role = Role::Main);

  /// Begins to fetch the hierarchy chunk that a lookup of the node will need; nothing when it needs none, or
  /// the node's parent is not at hand.
  [[nodiscard]] std::optional<ChunkFetch> fetchChunkOf(Octree::OctreeNodeId id, std::stop_token stopToken);

  /// Waits for the chunk and takes up its nodes, so that their lookups find them. What fails is left to the
  /// lookups, which try again.
  void takeChunk(ChunkFetch fetch, std::stop_token stopToken);

  /// The most nodes that a walk can visit in a hierarchy file that is not hostile: chunks that name each
  /// other can announce any number. Asks the location for the file's size.
  [[nodiscard]] std::uint64_t mostNodes(std::stop_token stopToken);

  /// What could not be read, of the external octrees too.
  [[nodiscard]] std::vector<Octree::UnreadableNode> unreadableNodes() const;

 private:
  bool loadHierarchyChunk(Octree::OctreeNodeId id, std::uint64_t chunkOffset, std::uint64_t chunkSize,
                          const Math::NBoundingBox<double, 3>& box, std::shared_ptr<Node>& result,
                          std::stop_token stopToken, ChunkFetch* fetched);
  // @p fetched may be null: the chunk that the node itself needs is then asked for.
  bool nodeById(Octree::OctreeNodeId id, std::shared_ptr<Node>& result, std::stop_token stopToken,
                ChunkFetch* fetched);
  bool findNode(Octree::OctreeNodeId id, std::shared_ptr<Node>& result, std::stop_token stopToken,
                ChunkFetch* fetched);
  [[nodiscard]] bool isOnPath(Octree::OctreeNodeId id, const Node& proxy, std::stop_token stopToken);

  bool getNodePointData(NodeFetch& fetch, Math::NodePoints& points, std::stop_token stopToken);
  bool decodeBytes(const Node& node, const NodeFormat& format, const std::string& stored,
                   Math::NodePoints& points, const std::stop_token& stopToken);
  [[nodiscard]] bool hasVisibilityHint(const Node& node) const;
  static void applyVisibilityHint(const Node& node, const NodeFormat& format, Math::NodePoints& points);
  void noteDamage(const Node& node, std::size_t decodedBytes, std::size_t count, std::uint64_t bytesPerPoint);
  /// Unless a stop was requested: what was not read then is no damage.
  void noteFailure(Octree::OctreeNodeId id, const std::string& reason, const std::stop_token& stopToken);

  const std::shared_ptr<Location> location_;
  const std::shared_future<MetaData> metaData_;
  const double positionFactor_;
  std::vector<std::unique_ptr<PotreeTree>> externals_;
  Octree::LruCache<Octree::OctreeNodeId, std::shared_ptr<Node>> nodes_;
  Octree::UnreadableNodes unreadable_;
};

}  // namespace PoTree
