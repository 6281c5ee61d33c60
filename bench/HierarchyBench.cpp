// Parsing hierarchy chunks of 1,000 records, against the same parse with one std::make_shared a node. The
// nodes are destroyed outside the timing.
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "Rounds.h"
#include "core/ByteReader.h"
#include "octree/potree/Node.h"

namespace {

using Chunk = std::vector<std::byte>;
using Box = Math::NBoundingBox<double, 3>;

constexpr std::size_t kRecords = 1'000;
constexpr std::size_t kChunks = 64;
const Box kBox{{{482000, 5456000, 197}}, {{482092, 5456092, 289}}};

void put(Chunk& chunk, std::uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) chunk.push_back(static_cast<std::byte>(value >> (8 * i)));
}

/// A breadth-first chunk whose inner nodes have one to eight children, as many as give all records a node.
Chunk makeChunk(std::mt19937& random) {
  std::vector<unsigned> masks;
  std::size_t announced = 1;
  while (masks.size() < announced) {
    unsigned mask = announced < kRecords ? 1U + static_cast<unsigned>(random() % 255) : 0U;
    while (announced + static_cast<std::size_t>(__builtin_popcount(mask)) > kRecords) mask &= mask - 1;
    announced += static_cast<std::size_t>(__builtin_popcount(mask));
    masks.push_back(mask);
  }
  Chunk chunk;
  for (std::size_t i = 0; i < masks.size(); ++i) {
    put(chunk, masks[i] == 0 ? 1 : 0, 1);
    put(chunk, masks[i], 1);
    put(chunk, 10'000 + i, 4);
    put(chunk, 370'000 * i, 8);
    put(chunk, 370'000, 8);
  }
  return chunk;
}

/// The same result, each node allocated alone.
std::shared_ptr<PoTree::Node> parsePlainly(std::span<const std::byte> chunk, const Box& box) {
  const std::size_t records = chunk.size() / PoTree::kHierarchyRecordSize;
  std::vector<std::shared_ptr<PoTree::Node>> nodes;
  nodes.reserve(records);
  nodes.push_back(std::make_shared<PoTree::Node>(Octree::OctreeNodeId(), box));
  for (std::size_t r = 0; r < records && r < nodes.size(); ++r) {
    PoTree::Node& node = *nodes[r];
    const std::byte* const record = chunk.data() + r * PoTree::kHierarchyRecordSize;
    const auto type = Core::loadLittleEndian<std::uint8_t>(record);
    node.nodeType = type & 0x0FU;
    node.visibilityHint = static_cast<std::uint8_t>(type >> 4U);
    node.childMask = Core::loadLittleEndian<std::uint8_t>(record + 1);
    node.numPoints = Core::loadLittleEndian<std::uint32_t>(record + 2);
    node.byteOffset = Core::loadLittleEndian<std::uint64_t>(record + 6);
    node.byteSize = Core::loadLittleEndian<std::uint64_t>(record + 14);
    for (std::uint8_t i = 0; i < 8; ++i) {
      if ((node.childMask >> i & 1) == 0) continue;
      node.children[i] =
          std::make_shared<PoTree::Node>(node.id.child(i), PoTree::childBox(node.boundingBox, i));
      nodes.push_back(node.children[i]);
    }
    node.nodeType = node.childMask != 0 ? 0 : 1;
  }
  return nodes.front();
}

bool sameTrees(const PoTree::Node& a, const PoTree::Node& b) {
  if (a.id != b.id || a.nodeType != b.nodeType || a.numPoints != b.numPoints ||
      a.byteOffset != b.byteOffset || a.byteSize != b.byteSize || a.childMask != b.childMask ||
      a.boundingBox != b.boundingBox) {
    return false;
  }
  for (std::size_t i = 0; i < 8; ++i) {
    const bool both = a.children[i] && b.children[i];
    if (!both && (a.children[i] || b.children[i])) return false;
    if (both && !sameTrees(*a.children[i], *b.children[i])) return false;
  }
  return true;
}

/// The time of parsing all chunks, each tree destroyed before the next is made, outside the timing.
template <class Parse>
double secondsOfAll(const std::vector<Chunk>& chunks, const Parse& parse) {
  double seconds = 0;
  for (const Chunk& chunk : chunks) {
    const double begin = Bench::wallSeconds();
    const std::shared_ptr<PoTree::Node> root = parse(chunk);
    seconds += Bench::wallSeconds() - begin;
  }
  return seconds;
}

}  // namespace

int main() {
  std::mt19937 random(1000);
  std::vector<Chunk> chunks;
  for (std::size_t i = 0; i < kChunks; ++i) chunks.push_back(makeChunk(random));

  const auto ours = [](const Chunk& chunk) { return PoTree::parseHierarchyChunk(chunk, {}, kBox); };
  const auto plain = [](const Chunk& chunk) { return parsePlainly(chunk, kBox); };
  for (const Chunk& chunk : chunks) {
    if (chunk.size() != kRecords * PoTree::kHierarchyRecordSize || !sameTrees(*ours(chunk), *plain(chunk))) {
      std::puts("the parses differ");
      return 1;
    }
  }
  std::vector<double> oursTaken;
  std::vector<double> plainTaken;
  for (int round = 0; round < 101; ++round) {
    plainTaken.push_back(secondsOfAll(chunks, plain));
    oursTaken.push_back(secondsOfAll(chunks, ours));
  }
  Bench::report("hierarchy parse, a record", "make_shared",
                {Bench::median(oursTaken), Bench::median(plainTaken)}, kChunks * kRecords);
}
