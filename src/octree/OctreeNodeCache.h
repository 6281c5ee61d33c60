#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "math/PointKdTree.h"
#include "math/SoAPointContainer.h"
#include "octree/OctreeNodeId.h"

namespace Octree {

class Octree;

/// Decoded nodes, least recently used first to go, shared by all copies and walks of a cloud. Entries that
/// are held elsewhere outlive their eviction. Threads: all calls are safe together. One short lock guards the
/// map; entries are freed after it is released.
class OctreeNodeCache {
 public:
  /// The points of one node and, from its first use on, a kd-tree over their positions.
  /// Threads: safe together; one caller builds the tree, the others wait for it.
  class CacheEntry {
   public:
    CacheEntry() = default;
    explicit CacheEntry(Math::NodePoints&& points) : points_(std::move(points)) {}

    [[nodiscard]] const Math::NodePoints& points() const { return points_; }
    [[nodiscard]] const Math::PointKdTree<float, 3>& kdTree();

    /// Bytes held, the tree's included once it is built.
    [[nodiscard]] std::size_t byteSize() const { return points_.byteSize() + kdTreeBytes_.load(); }

   private:
    Math::NodePoints points_;
    std::once_flag kdTreeOnce_;
    std::unique_ptr<const Math::PointKdTree<float, 3>> kdTree_;  // written under kdTreeOnce_
    std::atomic<std::size_t> kdTreeBytes_{0};
  };

  /// @param capacity  the most entries. Their bytes are limited to the smaller of 2 GiB and an eighth of the
  ///                  memory that the process may use.
  explicit OctreeNodeCache(std::uint64_t capacity);
  /// One entry larger than @p byteBudget is still held, alone.
  OctreeNodeCache(std::uint64_t capacity, std::uint64_t byteBudget);

  /// On a hit sets @p entry, which becomes the most recently used, and returns true. On a miss @p entry stays
  /// as it was.
  bool get(const Octree& octree, const OctreeNodeId& id, std::shared_ptr<CacheEntry>& entry);

  /// Stores @p entry. When another thread has stored one for the node meanwhile, that one stays and @p entry
  /// becomes it.
  void put(const Octree& octree, const OctreeNodeId& id, std::shared_ptr<CacheEntry>& entry);

  /// Whether the node is held; leaves the order of use as it is.
  [[nodiscard]] bool holds(const Octree& octree, const OctreeNodeId& id) const;

  /// Charges the entry of a node anew, after its kd-tree was built.
  void charge(const Octree& octree, const OctreeNodeId& id);

 private:
  struct Key {
    std::uint64_t octreeSerial;
    OctreeNodeId id;

    bool operator==(const Key&) const = default;
  };
  struct KeyHash {
    std::size_t operator()(const Key& key) const noexcept {
      return std::hash<OctreeNodeId>{}(key.id) ^ Core::fnv1a(key.octreeSerial);
    }
  };
  struct Held {
    Key key;
    std::shared_ptr<CacheEntry> entry;
    std::uint64_t bytes;  // as charged
  };
  using Entries = std::list<Held>;

  [[nodiscard]] Entries takeSurplus();

  const std::uint64_t capacity_;
  const std::uint64_t byteBudget_;
  mutable std::mutex mutex_;  // guards all that follows
  Entries entries_;           // most recently used first
  std::unordered_map<Key, Entries::iterator, KeyHash> places_;
  std::uint64_t bytes_ = 0;
};

}  // namespace Octree
