#include "Sorvik/PointCloud.h"

#include <algorithm>
#include <utility>

#include "api/AttributeTypes.h"
#include "api/EngineAccess.h"
#include "octree/Octree.h"
#include "octree/OctreeNodeCache.h"

namespace Sorvik {
namespace {

constexpr std::uint64_t kNodeCacheCapacity = 10'000;
constexpr double kPositionFactor = 1.0;

}  // namespace

struct PointCloud::Impl {
  std::shared_ptr<::Octree::Octree> octree;
  std::shared_ptr<::Octree::OctreeNodeCache> cache;  // goes first
};

PointCloud::PointCloud(const Location& location) : PointCloud(location, PointCloudOptions()) {}
PointCloud::PointCloud(const Location& location, const PointCloudOptions& options) {
  const ::Octree::WantedAttributes wanted{options.attributes, options.allAttributes};
  auto cache = std::make_shared<::Octree::OctreeNodeCache>(kNodeCacheCapacity);
  auto octree = std::make_shared<::Octree::Octree>(EngineAccess::engine(location), kPositionFactor, wanted);
  impl_ = std::make_unique<Impl>(Impl{std::move(octree), std::move(cache)});
}
PointCloud::PointCloud(const PointCloud& other)
    : impl_(this == &other ? nullptr : std::make_unique<Impl>(*other.impl_)) {}
PointCloud::PointCloud(PointCloud&& other) noexcept = default;
PointCloud& PointCloud::operator=(const PointCloud& other) {
  if (this != &other) impl_ = std::make_unique<Impl>(*other.impl_);
  return *this;
}
PointCloud& PointCloud::operator=(PointCloud&& other) noexcept = default;
PointCloud::~PointCloud() = default;

std::uint64_t PointCloud::numPoints() const { return impl_->octree->numPoints(); }

void PointCloud::getBoundingBox(BoundingBox& box) const { box = boundingBox(); }

BoundingBox PointCloud::boundingBox() const {
  const ::Math::NBoundingBox<float, 3>& box = impl_->octree->boundingBox();
  return {box.minimum.coordinates, box.maximum.coordinates};
}

void PointCloud::getBoundingBox(Span<float> min, Span<float> max) const {
  const ::Math::NBoundingBox<float, 3>& box = impl_->octree->boundingBox();
  std::copy_n(box.minimum.coordinates, 3, min.data());
  std::copy_n(box.maximum.coordinates, 3, max.data());
}

void PointCloud::getReferencePosition(Span<double> position) const {
  std::copy_n(impl_->octree->position().coordinates, 3, position.data());
}

float PointCloud::pointSpacing() const { return impl_->octree->spacing(); }

bool PointCloud::hasColors() const { return impl_->octree->hasColors(); }
bool PointCloud::hasIntensities() const { return impl_->octree->hasIntensities(); }
bool PointCloud::hasClassification() const { return impl_->octree->hasClassification(); }
bool PointCloud::hasNormals() const { return impl_->octree->hasNormals(); }

std::vector<std::uint64_t> PointCloud::classHistogram() const { return impl_->octree->classHistogram(); }

std::string PointCloud::projection() const { return impl_->octree->projection(); }

std::string PointCloud::formatName() const { return std::string(impl_->octree->formatName()); }

std::vector<std::string> PointCloud::attributeNames() const { return impl_->octree->attributeNames(); }

std::vector<Attribute> PointCloud::attributes() const {
  std::vector<Attribute> attributes;
  for (const ::Octree::StoredAttribute& stored : impl_->octree->storedAttributes()) {
    const ::Math::Attribute& attribute = stored.attribute;
    attributes.push_back({attribute.name, attribute.description, toPublic(attribute.type),
                          attribute.numElements, attribute.scale, attribute.offset, stored.min, stored.max});
  }
  return attributes;
}

void PointCloud::getScale(Span<double> scale) const {
  const std::array<double, 3> values = impl_->octree->scale();
  std::copy(values.begin(), values.end(), scale.data());
}

std::vector<UnreadableNode> PointCloud::unreadableNodes() const {
  std::vector<UnreadableNode> nodes;
  for (const ::Octree::UnreadableNode& node : impl_->octree->unreadableNodes()) {
    nodes.push_back({node.id.name(), node.reason});
  }
  return nodes;
}

const std::shared_ptr<::Octree::Octree>& EngineAccess::octree(const PointCloud& cloud) {
  return cloud.impl_->octree;
}
const std::shared_ptr<::Octree::OctreeNodeCache>& EngineAccess::cache(const PointCloud& cloud) {
  return cloud.impl_->cache;
}

}  // namespace Sorvik
