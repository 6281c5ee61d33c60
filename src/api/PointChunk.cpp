#include "Sorvik/PointChunk.h"

#include <algorithm>
#include <optional>

#include "api/AttributeTypes.h"
#include "api/EngineAccess.h"
#include "octree/OctreeNodeCache.h"

namespace Sorvik {

struct PointChunk::Impl {
  std::shared_ptr<::Octree::OctreeNodeCache::CacheEntry> entry;

  [[nodiscard]] const ::Math::NodePoints& points() const { return entry->points(); }
};

PointChunk::PointChunk() : impl_(std::make_unique<Impl>()) {}
PointChunk::PointChunk(const PointChunk& other)
    : impl_(this == &other ? std::make_unique<Impl>() : std::make_unique<Impl>(*other.impl_)) {}
PointChunk::PointChunk(PointChunk&& other) noexcept = default;
PointChunk& PointChunk::operator=(const PointChunk& other) {
  if (this != &other) impl_ = std::make_unique<Impl>(*other.impl_);
  return *this;
}
PointChunk& PointChunk::operator=(PointChunk&& other) noexcept = default;
PointChunk::~PointChunk() = default;

std::uint64_t PointChunk::size() const { return impl_->entry ? impl_->points().size() : 0; }
bool PointChunk::empty() const { return size() == 0; }

void PointChunk::getPosition(std::uint64_t index, Span<float> position) const {
  std::copy_n(impl_->points().positions().data() + 3 * index, 3, position.data());
}

void PointChunk::getNormal(std::uint64_t index, Span<float> normal) const {
  std::copy_n(impl_->points().normals().data() + 3 * index, 3, normal.data());
}

void PointChunk::getClassIndex(std::uint64_t index, unsigned char& classIndex) const {
  classIndex = impl_->points().classIndices()[index];
}

void PointChunk::getIntensity(std::uint64_t index, unsigned short& intensity) const {
  intensity = impl_->points().intensities()[index];
}

void PointChunk::getColor(std::uint64_t index, Color& color) const {
  const ::Math::Color engine = impl_->points().colors()[index];
  color = {engine.b(), engine.g(), engine.r(), engine.a()};
}

Span<const float> PointChunk::positions() const {
  if (!impl_->entry) return {};
  return impl_->points().positions();
}
Span<const float> PointChunk::normals() const {
  if (!impl_->entry) return {};
  return impl_->points().normals();
}
Span<const unsigned char> PointChunk::colors() const {
  if (!impl_->entry) return {};
  const std::span<const ::Math::Color> colors = impl_->points().colors();
  return {reinterpret_cast<const unsigned char*>(colors.data()), colors.size_bytes()};
}
Span<const unsigned short> PointChunk::intensities() const {
  if (!impl_->entry) return {};
  return impl_->points().intensities();
}
Span<const unsigned char> PointChunk::classIndices() const {
  if (!impl_->entry) return {};
  return impl_->points().classIndices();
}

AttributeColumn PointChunk::attribute(std::string_view name) const {
  if (!impl_->entry) return {};
  const ::Math::ExtraColumns& extras = impl_->points().extras();
  const std::optional<std::size_t> column = extras.find(name);
  if (!column) return {};
  const ::Math::Attribute& attribute = extras.attributes()[*column];
  return {toPublic(attribute.type), attribute.numElements, extras.bytes(*column)};
}

PointChunk EngineAccess::chunk(const std::shared_ptr<::Octree::OctreeNodeCache::CacheEntry>& entry) {
  PointChunk chunk;
  chunk.impl_->entry = entry;
  return chunk;
}

}  // namespace Sorvik
