#include "octree/Octree.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <optional>
#include <stdexcept>
#include <utility>

#include "core/FormatError.h"
#include "octree/potree/AttributePlaces.h"

namespace Octree {
namespace {

std::uint64_t nextSerial() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

std::string fetchMetaData(Location& location) {
  try {
    return location.fetchMetaData({}).get();
  } catch (const std::exception& error) {
    throw std::runtime_error("cannot open " + location.toString() + ": " + error.what());
  }
}

/// Whether a JSON document has the key anywhere: the text in quotes before a colon, which no value is.
bool hasKey(std::string_view document, std::string_view quotedKey) {
  for (std::size_t at = document.find(quotedKey); at != std::string_view::npos;
       at = document.find(quotedKey, at + 1)) {
    const std::size_t next = document.find_first_not_of(" \t\r\n", at + quotedKey.size());
    if (next != std::string_view::npos && document[next] == ':') return true;
  }
  return false;
}

/// Whether a metadata document is that of an Entwine octree.
bool isEntwine(std::string_view document) {
  return hasKey(document, "\"schema\"") && hasKey(document, "\"hierarchyType\"");
}

std::shared_future<PoTree::MetaData> parsed(std::string_view document, const Location& location,
                                            PoTree::MetaDataUse use) {
  const std::string source = location.toString() + "/metadata.json";
  return Core::readyFuture(PoTree::parseMetaData(document, source, use)).share();
}

std::shared_ptr<PoTree::Location> asPotree(const std::shared_ptr<Location>& location) {
  auto potree = std::dynamic_pointer_cast<PoTree::Location>(location);
  if (!potree) throw std::runtime_error("cannot open a location that has no octree files");
  return potree;
}

/// Finds the root; false when the hierarchy has none.
bool findRoot(PoTree::PotreeTree& tree, const Location& location) {
  try {
    return tree.nodeById({}, {}) != nullptr;
  } catch (const std::runtime_error&) {
    const std::vector<UnreadableNode> unreadable = tree.unreadableNodes();
    if (unreadable.empty()) throw;
    throw std::runtime_error("cannot open " + location.toString() + ": " + unreadable.front().reason);
  }
}

float narrowedDown(double value) {
  const auto narrowed = static_cast<float>(value);
  return narrowed > value ? std::nextafter(narrowed, -std::numeric_limits<float>::infinity()) : narrowed;
}

float narrowedUp(double value) {
  const auto narrowed = static_cast<float>(value);
  return narrowed < value ? std::nextafter(narrowed, std::numeric_limits<float>::infinity()) : narrowed;
}

/// The points' own box, from the position attribute, when the metadata have it.
Math::NBoundingBox<double, 3> statedBox(const PoTree::MetaData& metaData) {
  const PoTree::Attribute* const position = metaData.find("position");
  if (position == nullptr || position->min.size() != 3 || position->max.size() != 3)
    return metaData.boundingBox;
  Math::NBoundingBox<double, 3> box;
  for (int axis = 0; axis < 3; ++axis) {
    box.minimum[axis] = position->min[static_cast<std::size_t>(axis)];
    box.maximum[axis] = position->max[static_cast<std::size_t>(axis)];
  }
  return box.empty() ? metaData.boundingBox : box;
}

/// The columns that those of @p stored make that are wanted.
Math::ExtraColumns columnsOf(const std::vector<StoredAttribute>& stored, const WantedAttributes& wanted,
                             const Location& location) {
  std::vector<Math::Attribute> columns;
  std::size_t bytes = 0;
  for (const StoredAttribute& candidate : stored) {
    const Math::Attribute& attribute = candidate.attribute;
    const std::string& name = attribute.name;
    const bool isWanted =
        wanted.all || std::find(wanted.names.begin(), wanted.names.end(), name) != wanted.names.end();
    const auto hasName = [&](const Math::Attribute& column) { return column.name == name; };
    if (!isWanted || std::any_of(columns.begin(), columns.end(), hasName)) continue;
    columns.push_back(attribute);
    bytes += attribute.size();
  }
  if (bytes > Octree::kMostExtraBytes) {
    throw std::runtime_error(
        "cannot open " + location.toString() + ": attributes to load: expected at most " +
        std::to_string(Octree::kMostExtraBytes) + " bytes a point, found " + std::to_string(bytes));
  }
  return Math::ExtraColumns(std::move(columns));
}

void appendStored(const PoTree::MetaData& metaData, std::vector<StoredAttribute>& stored) {
  for (const PoTree::Attribute& attribute : metaData.attributes) {
    const std::optional<Math::Attribute> column = PoTree::columnAttribute(metaData, attribute);
    if (!column) continue;
    const bool hasRange =
        attribute.min.size() == column->numElements && attribute.max.size() == column->numElements;
    stored.push_back(hasRange ? StoredAttribute{*column, attribute.min, attribute.max}
                              : StoredAttribute{*column, {}, {}});
  }
}

}  // namespace

Octree::Octree(const std::shared_ptr<Location>& location, double positionFactor,
               const WantedAttributes& wanted)
    : serial_(nextSerial()), positionFactor_(positionFactor) {
  if (!location) throw std::runtime_error("cannot open an empty location");
  const std::string document = fetchMetaData(*location);
  if (isEntwine(document)) {
    throw std::runtime_error(location->toString() + ": Entwine clouds are not supported yet");
  }
  auto& opened = tree_.emplace<PoTree::PotreeTree>(
      asPotree(location), parsed(document, *location, PoTree::MetaDataUse::Main), positionFactor);
  for (const auto& external : location->externalAttributeLocations()) {
    opened.addExternalAttributes(std::make_unique<PoTree::PotreeTree>(
        asPotree(external),
        parsed(fetchMetaData(*external), *external, PoTree::MetaDataUse::ExternalAttributes),
        positionFactor));
  }
  const PoTree::MetaData& metaData = opened.metaData();
  if (!findRoot(opened, *location) && metaData.points > 0) {
    throw Core::FormatError(Core::Source{location->toString() + "/hierarchy.bin"}, "first chunk",
                            "a record of the root", std::to_string(metaData.firstChunkSize) + " bytes");
  }
  position_ = {{metaData.offset[0], metaData.offset[1], metaData.offset[2]}};
  boundingBox_ = frameBox(statedBox(metaData));
  spacing_ = metaData.spacing * positionFactor;
  wanted_ = columnsOf(storedAttributes(), wanted, *location);
}

std::string_view Octree::formatName() const { return "potree"; }

std::uint64_t Octree::numPoints() const { return tree().metaData().points; }

double Octree::spacing(const OctreeNodeId& id) const {
  return std::ldexp(spacing_, -static_cast<int>(id.level()));
}

template <class Has>
bool Octree::anyStores(const Has& has) const {
  bool found = has(tree().metaData().stored);
  for (const auto& external : tree().externalAttributes()) found = found || has(external->metaData().stored);
  return found;
}

bool Octree::hasColors() const {
  return anyStores([](const PoTree::StoredAttributes& stored) { return stored.colors; });
}
bool Octree::hasIntensities() const {
  return anyStores([](const PoTree::StoredAttributes& stored) { return stored.intensities; });
}
bool Octree::hasClassification() const {
  return anyStores([](const PoTree::StoredAttributes& stored) { return stored.classification; });
}
bool Octree::hasNormals() const {
  return anyStores([](const PoTree::StoredAttributes& stored) { return stored.normals; });
}

std::vector<std::uint64_t> Octree::classHistogram() const {
  const PoTree::Attribute* const classes = tree().metaData().findReadable("classification");
  return classes == nullptr ? std::vector<std::uint64_t>() : classes->histogram;
}

std::vector<std::string> Octree::attributeNames() const {
  std::vector<std::string> names;
  for (const PoTree::Attribute& attribute : tree().metaData().attributes) names.push_back(attribute.name);
  for (const auto& external : tree().externalAttributes()) {
    for (const PoTree::Attribute& attribute : external->metaData().attributes)
      names.push_back(attribute.name);
  }
  return names;
}

std::vector<StoredAttribute> Octree::storedAttributes() const {
  std::vector<StoredAttribute> stored;
  appendStored(tree().metaData(), stored);
  for (const auto& external : tree().externalAttributes()) appendStored(external->metaData(), stored);
  return stored;
}

std::array<double, 3> Octree::scale() const { return tree().metaData().scale; }

ChildIds Octree::children(const OctreeNodeId& id, std::stop_token stopToken) {
  ChildIds result;
  const std::shared_ptr<PoTree::Node> node = tree().nodeById(id, std::move(stopToken));
  if (!node) return result;
  for (std::uint8_t i = 0; i < 8; ++i) {
    if (node->children[i]) result.ids[result.count++] = id.child(i);
  }
  return result;
}

Math::NBoundingBox<double, 3> Octree::worldCube(const OctreeNodeId& id) const {
  Math::NBoundingBox<double, 3> cube = tree().metaData().boundingBox;
  for (std::uint64_t level = 1; level <= id.level(); ++level)
    cube = PoTree::childBox(cube, id.childIndexAt(level));
  return cube;
}

Math::NBoundingBox<float, 3> Octree::frameBox(const Math::NBoundingBox<double, 3>& world) const {
  Math::NBoundingBox<float, 3> box;
  for (int axis = 0; axis < 3; ++axis) {
    box.minimum[axis] = narrowedDown((world.minimum[axis] - position_[axis]) * positionFactor_);
    box.maximum[axis] = narrowedUp((world.maximum[axis] - position_[axis]) * positionFactor_);
  }
  return box;
}

Math::NBoundingBox<float, 3> Octree::boundingCube(const OctreeNodeId& id) const {
  return frameBox(worldCube(id));
}

Math::NBoundingBox<float, 3> Octree::pointBounds(const OctreeNodeId& id) const {
  Math::NBoundingBox<double, 3> cube = worldCube(id);
  const std::array<double, 3> step = scale();
  for (int axis = 0; axis < 3; ++axis) {
    cube.minimum[axis] -= step[static_cast<std::size_t>(axis)];
    cube.maximum[axis] += step[static_cast<std::size_t>(axis)];
  }
  return frameBox(cube);
}

bool Octree::loadNodePoints(const OctreeNodeId& id, Math::NodePoints& points, std::stop_token stopToken) {
  return decodeNode(fetchNode(id, stopToken), points, stopToken);
}

PoTree::NodeFetch Octree::fetchNode(const OctreeNodeId& id, std::stop_token stopToken) {
  return tree().fetchNode(id, std::move(stopToken));
}

bool Octree::decodeNode(PoTree::NodeFetch fetch, Math::NodePoints& points, std::stop_token stopToken) {
  points.setExtras(wanted_);
  return tree().decodeNode(std::move(fetch), points, std::move(stopToken));
}

std::optional<PoTree::ChunkFetch> Octree::fetchChunkOf(const OctreeNodeId& id, std::stop_token stopToken) {
  return tree().fetchChunkOf(id, std::move(stopToken));
}

void Octree::takeChunk(PoTree::ChunkFetch fetch, std::stop_token stopToken) {
  tree().takeChunk(std::move(fetch), std::move(stopToken));
}

std::uint64_t Octree::nodeBytes(const OctreeNodeId& id, std::stop_token stopToken) {
  try {
    const std::shared_ptr<PoTree::Node> node = tree().nodeById(id, std::move(stopToken));
    return node ? node->byteSize : 0;
  } catch (const std::runtime_error&) {  // the walk's own step tells its caller
    return 0;
  }
}

std::uint64_t Octree::mostNodes(std::stop_token stopToken) { return tree().mostNodes(std::move(stopToken)); }

std::vector<UnreadableNode> Octree::unreadableNodes() const { return tree().unreadableNodes(); }

}  // namespace Octree
