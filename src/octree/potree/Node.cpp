#include "octree/potree/Node.h"

#include <atomic>
#include <bit>
#include <memory_resource>
#include <vector>

#include "core/ByteReader.h"

namespace PoTree {
namespace {

/// The memory of the nodes of one chunk. Every node is owned by a shared_ptr of its own, yet none is
/// allocated alone: they stand one after the other here, and the release of the last one frees the block.
class NodeBlock {
 public:
  explicit NodeBlock(std::size_t firstBytes) : memory_(firstBytes) {}

  [[nodiscard]] void* allocate(std::size_t bytes, std::size_t alignment) {
    void* const place = memory_.allocate(bytes, alignment);
    ++nodes_;
    return place;
  }
  void release() { drop(1); }

  /// The one call of the block's maker, after its last allocation.
  void allocationsAreOver() { drop(kMaker - nodes_); }

 private:
  // While nodes are made the count stands far above their number, so that allocations need not touch it.
  static constexpr std::size_t kMaker = std::size_t{1} << 62U;

  void drop(std::size_t users) {
    if (users_.fetch_sub(users, std::memory_order_acq_rel) == users) delete this;
  }

  std::pmr::monotonic_buffer_resource memory_;
  std::size_t nodes_ = 0;
  std::atomic<std::size_t> users_{kMaker};
};

/// Lets std::allocate_shared place a node and its count in a block.
template <class T>
struct NodeAllocator {
  using value_type = T;

  explicit NodeAllocator(NodeBlock* owner) : block(owner) {}
  template <class U>
  NodeAllocator(const NodeAllocator<U>& other) : block(other.block) {}  // NOLINT(*-explicit-*): a conversion

  [[nodiscard]] T* allocate(std::size_t count) {
    return static_cast<T*>(block->allocate(count * sizeof(T), alignof(T)));
  }
  void deallocate(T*, std::size_t) { block->release(); }

  bool operator==(const NodeAllocator&) const = default;

  NodeBlock* block;
};

/// Makes the nodes of one chunk.
class NodeMaker {
 public:
  explicit NodeMaker(std::size_t expectedNodes) : block_(new NodeBlock(expectedNodes * kBytesPerNode)) {}
  ~NodeMaker() { block_->allocationsAreOver(); }
  NodeMaker(const NodeMaker&) = delete;
  NodeMaker& operator=(const NodeMaker&) = delete;

  [[nodiscard]] std::shared_ptr<Node> make(Octree::OctreeNodeId id,
                                           const Math::NBoundingBox<double, 3>& box) {
    return std::allocate_shared<Node>(NodeAllocator<Node>(block_), id, box);
  }

 private:
  static constexpr std::size_t kBytesPerNode = sizeof(Node) + 32;  // with the shared_ptr's counts

  NodeBlock* block_;
};

void readRecord(Node& node, const std::byte* record) {
  const auto type = Core::loadLittleEndian<std::uint8_t>(record);
  node.nodeType = type & 0x0FU;
  node.visibilityHint = static_cast<std::uint8_t>(type >> 4U);
  node.childMask = Core::loadLittleEndian<std::uint8_t>(record + 1);
  node.numPoints = Core::loadLittleEndian<std::uint32_t>(record + 2);
  node.byteOffset = Core::loadLittleEndian<std::uint64_t>(record + 6);
  node.byteSize = Core::loadLittleEndian<std::uint64_t>(record + 14);
}

}  // namespace

Math::NBoundingBox<double, 3> childBox(const Math::NBoundingBox<double, 3>& box, std::uint8_t childIndex) {
  Math::NBoundingBox<double, 3> child = box;
  for (int axis = 0; axis < 3; ++axis) {
    const double middle = (box.minimum[axis] + box.maximum[axis]) * 0.5;
    const bool upper = (childIndex >> (2 - axis) & 1) != 0;
    (upper ? child.minimum : child.maximum)[axis] = middle;
  }
  return child;
}

std::shared_ptr<Node> parseHierarchyChunk(std::span<const std::byte> chunk, Octree::OctreeNodeId id,
                                          const Math::NBoundingBox<double, 3>& box) {
  const std::size_t records = chunk.size() / kHierarchyRecordSize;
  if (records == 0) return nullptr;

  NodeMaker maker(records);
  std::shared_ptr<Node> first = maker.make(id, box);
  std::vector<Node*> nodes;  // in the order of their records
  nodes.reserve(records);
  nodes.push_back(first.get());
  for (std::size_t r = 0; r < nodes.size(); ++r) {
    Node& node = *nodes[r];
    readRecord(node, chunk.data() + r * kHierarchyRecordSize);
    if (node.is(NodeType::Proxy)) {
      node.childMask = 0;
      continue;
    }
    if (node.id.level() == Octree::OctreeNodeId::kDeepestLevel) node.childMask = 0;
    for (unsigned mask = node.childMask; mask != 0; mask &= mask - 1) {
      const auto i = static_cast<std::uint8_t>(std::countr_zero(mask));
      std::shared_ptr<Node>& child = node.children[i];
      child = maker.make(node.id.child(i), childBox(node.boundingBox, i));
      if (nodes.size() < records) nodes.push_back(child.get());
    }
    node.nodeType = static_cast<std::uint8_t>(node.childMask != 0 ? NodeType::Normal : NodeType::Leaf);
  }
  return first;
}

}  // namespace PoTree
