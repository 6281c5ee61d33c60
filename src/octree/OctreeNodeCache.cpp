#include "octree/OctreeNodeCache.h"

#include <algorithm>
#include <utility>

#include "core/Memory.h"
#include "octree/Octree.h"

namespace Octree {

const Math::PointKdTree<float, 3>& OctreeNodeCache::CacheEntry::kdTree() {
  std::call_once(kdTreeOnce_, [this] {
    kdTree_ = std::make_unique<const Math::PointKdTree<float, 3>>(points_.positions());
    kdTreeBytes_ = kdTree_->byteSize();
  });
  return *kdTree_;
}

OctreeNodeCache::OctreeNodeCache(std::uint64_t capacity)
    : OctreeNodeCache(capacity, std::min(std::uint64_t{2} << 30U, Core::usableMemory() / 8)) {}

OctreeNodeCache::OctreeNodeCache(std::uint64_t capacity, std::uint64_t byteBudget)
    : capacity_(capacity), byteBudget_(byteBudget) {}

bool OctreeNodeCache::get(const Octree& octree, const OctreeNodeId& id, std::shared_ptr<CacheEntry>& entry) {
  const std::lock_guard lock(mutex_);
  const auto place = places_.find({octree.serial(), id});
  if (place == places_.end()) return false;
  entries_.splice(entries_.begin(), entries_, place->second);
  entry = place->second->entry;
  return true;
}

void OctreeNodeCache::put(const Octree& octree, const OctreeNodeId& id, std::shared_ptr<CacheEntry>& entry) {
  const Key key{octree.serial(), id};
  Entries evicted;  // freed after the lock is released
  Entries added;
  added.push_front({key, entry, entry->byteSize()});
  const std::lock_guard lock(mutex_);
  const auto [place, isNew] = places_.try_emplace(key, added.begin());
  if (!isNew) {
    entries_.splice(entries_.begin(), entries_, place->second);
    entry = place->second->entry;
    return;
  }
  bytes_ += added.front().bytes;
  entries_.splice(entries_.begin(), added);
  evicted = takeSurplus();
}

bool OctreeNodeCache::holds(const Octree& octree, const OctreeNodeId& id) const {
  const std::lock_guard lock(mutex_);
  return places_.contains({octree.serial(), id});
}

void OctreeNodeCache::charge(const Octree& octree, const OctreeNodeId& id) {
  Entries evicted;  // freed after the lock is released
  const std::lock_guard lock(mutex_);
  const auto place = places_.find({octree.serial(), id});
  if (place == places_.end()) return;
  const std::uint64_t bytes = place->second->entry->byteSize();
  bytes_ += bytes - place->second->bytes;
  place->second->bytes = bytes;
  evicted = takeSurplus();
}

/// Removes the least recently used entries beyond the limits; the byte budget spares the last entry.
OctreeNodeCache::Entries OctreeNodeCache::takeSurplus() {
  Entries surplus;
  while (entries_.size() > capacity_ || (entries_.size() > 1 && bytes_ > byteBudget_)) {
    const auto last = std::prev(entries_.end());
    bytes_ -= last->bytes;
    places_.erase(last->key);
    surplus.splice(surplus.begin(), entries_, last);
  }
  return surplus;
}

}  // namespace Octree
