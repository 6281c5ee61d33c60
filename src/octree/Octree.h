#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/Workers.h"
#include "math/BoundingBox.h"
#include "math/SoAPointContainer.h"
#include "octree/Location.h"
#include "octree/OctreeNodeId.h"
#include "octree/UnreadableNodes.h"
#include "octree/potree/PotreeTree.h"

namespace Octree {

/// The ids of a node's children, in rising child index.
struct ChildIds {
  std::array<OctreeNodeId, 8> ids;
  std::size_t count = 0;

  [[nodiscard]] const OctreeNodeId* begin() const { return ids.data(); }
  [[nodiscard]] const OctreeNodeId* end() const { return ids.data() + count; }
};

/// Which stored attributes nodes are loaded with, as the extra columns of their points.
struct WantedAttributes {
  std::vector<std::string> names{};  ///< those that are not stored are left out
  bool all = false;                  ///< whatever is stored, named or not
};

/// An attribute that can be loaded as an extra column.
struct StoredAttribute {
  Math::Attribute attribute;
  /// Of its values as the metadata state them, one number an element, or empty: of positions in world
  /// coordinates, of the others as stored.
  std::vector<double> min;
  std::vector<double> max;
};

/// An opened point cloud: its facts, its nodes' cubes and the way to their points, whatever format it has.
///
/// Coordinates are those of the octree frame, single precision and local: world = octree coordinate, divided
/// by the position factor, + position().
/// Threads: all calls are safe together.
class Octree {
 public:
  /// The most bytes a point that extra columns may take in all: an external octree that holds few values
  /// must not fill the memory with the zeros of all other points.
  static constexpr std::size_t kMostExtraBytes = 4096;

  /// Fetches the metadata and the root's part of the hierarchy.
  /// @throws std::runtime_error naming path or URL and the reason when the cloud cannot be opened; also when
  ///         the wanted attributes take more than kMostExtraBytes.
  Octree(const std::shared_ptr<Location>& location, double positionFactor,
         const WantedAttributes& wanted = {});
  Octree(const Octree&) = delete;
  Octree& operator=(const Octree&) = delete;

  /// A number that no other octree of this process has.
  [[nodiscard]] std::uint64_t serial() const { return serial_; }
  /// "potree" or "entwine".
  [[nodiscard]] std::string_view formatName() const;
  /// The coordinate system as the metadata state it; or empty.
  [[nodiscard]] const std::string& projection() const { return tree().metaData().projection; }
  [[nodiscard]] std::uint64_t numPoints() const;
  /// The box of the points as the writer states it, else the root's cube; never narrower than stated. Clouds
  /// with compressed nodes have points up to one scale step outside.
  [[nodiscard]] const Math::NBoundingBox<float, 3>& boundingBox() const { return boundingBox_; }
  /// The world coordinates of the octree frame's origin.
  [[nodiscard]] const Math::Point<double, 3>& position() const { return position_; }
  /// The distance between points of the root, in octree coordinates.
  [[nodiscard]] float spacing() const { return static_cast<float>(spacing_); }
  /// That of a node: each level halves it.
  [[nodiscard]] double spacing(const OctreeNodeId& id) const;

  [[nodiscard]] bool hasColors() const;
  [[nodiscard]] bool hasIntensities() const;
  [[nodiscard]] bool hasClassification() const;
  [[nodiscard]] bool hasNormals() const;
  /// Counts by class index as the metadata state them; empty when they do not.
  [[nodiscard]] std::vector<std::uint64_t> classHistogram() const;
  /// All stored attributes under their stored names, external ones last.
  [[nodiscard]] std::vector<std::string> attributeNames() const;
  /// Those of them that can be loaded as extra columns, in that order. Of several with one name the first
  /// makes the column; a later octree's of the same type and number of elements writes over its values.
  [[nodiscard]] std::vector<StoredAttribute> storedAttributes() const;
  /// The smallest difference between stored coordinates, per axis, in world units.
  [[nodiscard]] std::array<double, 3> scale() const;

  /// The children that the hierarchy names.
  /// @throws std::runtime_error "Failed to fetch node by id" when a hierarchy chunk cannot be read.
  [[nodiscard]] ChildIds children(const OctreeNodeId& id, std::stop_token stopToken);
  /// The node's cube, cut from the root's by the id alone, no look-up needed. Narrowed to float outward.
  [[nodiscard]] Math::NBoundingBox<float, 3> boundingCube(const OctreeNodeId& id) const;
  /// The box in which all points of the node and its subtree lie: its cube grown by one scale step, since
  /// common writers place points that far outside. Pruning and containment tests work on it.
  [[nodiscard]] Math::NBoundingBox<float, 3> pointBounds(const OctreeNodeId& id) const;

  /// Decodes the node's points into @p points, complete with defaults for what is not stored, and with the
  /// wanted attributes as extra columns, zeros where an external octree lacks the node. False when a
  /// stop was requested or they could not be read; of the latter unreadableNodes() says why.
  /// @throws std::bad_variant_access when the octree holds no tree.
  bool loadNodePoints(const OctreeNodeId& id, Math::NodePoints& points, std::stop_token stopToken);

  /// The same in two steps: begins to fetch what is needed, and decodes it once it is there.
  [[nodiscard]] PoTree::NodeFetch fetchNode(const OctreeNodeId& id, std::stop_token stopToken);
  bool decodeNode(PoTree::NodeFetch fetch, Math::NodePoints& points, std::stop_token stopToken);

  /// As the locations' fetchesInTheCall(): whether fetchNode waits for the bytes of the node.
  [[nodiscard]] bool fetchesInTheCall() const { return tree().location().fetchesInTheCall(); }

  /// As those of PoTree::PotreeTree.
  [[nodiscard]] std::optional<PoTree::ChunkFetch> fetchChunkOf(const OctreeNodeId& id,
                                                               std::stop_token stopToken);
  void takeChunk(PoTree::ChunkFetch fetch, std::stop_token stopToken);

  /// The bytes that the node takes in the data file; 0 when that is not known, since a hierarchy chunk on the
  /// way to the node cannot be read.
  [[nodiscard]] std::uint64_t nodeBytes(const OctreeNodeId& id, std::stop_token stopToken);

  /// For work behind the back of callers: threads that start with the first task. Whoever adds tasks cancels
  /// them and waits for them before he lets go of the octree.
  [[nodiscard]] Core::Workers& workers() { return workers_; }

  /// Nodes that walks have fetched in advance and let go of unused, since they ended early, left nodes out or
  /// found them in the cache by then.
  [[nodiscard]] std::uint64_t numUnusedFetches() const { return unusedFetches_; }
  void noteUnusedFetch() { ++unusedFetches_; }

  /// The most nodes that a walk can visit unless the hierarchy is hostile. Asks the location.
  [[nodiscard]] std::uint64_t mostNodes(std::stop_token stopToken);
  [[nodiscard]] std::vector<UnreadableNode> unreadableNodes() const;

 private:
  [[nodiscard]] Math::NBoundingBox<float, 3> frameBox(const Math::NBoundingBox<double, 3>& world) const;
  [[nodiscard]] Math::NBoundingBox<double, 3> worldCube(const OctreeNodeId& id) const;
  [[nodiscard]] PoTree::PotreeTree& tree() { return std::get<PoTree::PotreeTree>(tree_); }
  [[nodiscard]] const PoTree::PotreeTree& tree() const { return std::get<PoTree::PotreeTree>(tree_); }
  template <class Has>
  [[nodiscard]] bool anyStores(const Has& has) const;

  const std::uint64_t serial_;
  const double positionFactor_;
  std::variant<std::monostate, PoTree::PotreeTree> tree_;
  Math::Point<double, 3> position_;
  Math::NBoundingBox<float, 3> boundingBox_;
  double spacing_ = 0;
  Math::ExtraColumns wanted_;  // without points
  std::atomic<std::uint64_t> unusedFetches_{0};
  Core::Workers workers_;  // last, so that it is joined before the rest goes
};

}  // namespace Octree
