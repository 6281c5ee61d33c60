#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "core/Fnv1a.h"

namespace Octree {

/// The name of one octree node: a leading 1 and three bits for each step down from the root, so the root is 1
/// and 21 levels fill the 64 bits. A child index has bit 2 set in the upper half of x, bit 1 of y, bit 0 of
/// z.
class OctreeNodeId {
 public:
  static constexpr std::uint64_t kDeepestLevel = 21;

  /// The root.
  constexpr OctreeNodeId() = default;

  [[nodiscard]] constexpr bool isRoot() const { return value_ == 1; }
  /// Steps from the root; 0 for the root.
  [[nodiscard]] constexpr std::uint64_t level() const {
    return static_cast<std::uint64_t>(std::bit_width(value_) - 1) / 3;
  }
  /// The parent's child index of this node; 0 for the root.
  [[nodiscard]] constexpr std::uint8_t childIndex() const {
    return isRoot() ? std::uint8_t{0} : static_cast<std::uint8_t>(value_ & 7U);
  }
  /// Only for nodes other than the root.
  [[nodiscard]] constexpr OctreeNodeId parent() const { return OctreeNodeId(value_ >> 3U); }
  /// Only above the deepest level.
  [[nodiscard]] constexpr OctreeNodeId child(std::uint8_t index) const {
    return OctreeNodeId(value_ << 3U | index);
  }
  /// The child index of the ancestor-or-self at @p level, which is 1 to level().
  [[nodiscard]] constexpr std::uint8_t childIndexAt(std::uint64_t level) const {
    return static_cast<std::uint8_t>(value_ >> (3 * (this->level() - level)) & 7U);
  }

  [[nodiscard]] constexpr std::uint64_t value() const { return value_; }
  /// "r" for the root, then a digit for each child index on the way down: "r042".
  [[nodiscard]] std::string name() const;

  bool operator==(const OctreeNodeId&) const = default;

 private:
  explicit constexpr OctreeNodeId(std::uint64_t value) : value_(value) {}

  std::uint64_t value_ = 1;
};

static_assert(sizeof(OctreeNodeId) == 8);

}  // namespace Octree

template <>
struct std::hash<Octree::OctreeNodeId> {
  std::size_t operator()(const Octree::OctreeNodeId& id) const noexcept { return Core::fnv1a(id.value()); }
};
