// recompress_nodes FOLDER: what libbrotli at quality 6 makes of the node blocks of a brotli octree, against
// what the octree takes. Ends with 1 when the octree cannot be read.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

#include "core/Brotli.h"
#include "core/ByteReader.h"
#include "core/FileSystem.h"
#include "core/Parallel.h"

namespace {

constexpr std::size_t kRecordSize = 22;  // of hierarchy.bin: type, mask, points u32, offset u64, size u64
constexpr std::size_t kLargestNode = std::size_t{1} << 30U;
constexpr int kQuality = 6;

struct Node {
  std::uint64_t points = 0;
  std::uint64_t offset = 0;
  std::uint64_t size = 0;
};

struct Sizes {
  std::uint64_t points = 0;
  std::uint64_t plain = 0;
  std::uint64_t ours = 0;
  std::uint64_t theirs = 0;
};

std::vector<std::byte> contentOf(const Core::ReadableFile& file) {
  std::vector<std::byte> bytes(file.size());
  file.read(0, bytes);
  return bytes;
}

/// All nodes with points; our writer leaves no record that nothing reaches.
std::vector<Node> nodesOf(const std::vector<std::byte>& hierarchy) {
  constexpr std::byte kProxy{2};
  std::vector<Node> nodes;
  for (std::size_t at = 0; at + kRecordSize <= hierarchy.size(); at += kRecordSize) {
    const std::byte* const record = hierarchy.data() + at;
    const Node node{Core::loadLittleEndian<std::uint32_t>(record + 2),
                    Core::loadLittleEndian<std::uint64_t>(record + 6),
                    Core::loadLittleEndian<std::uint64_t>(record + 14)};
    if (*record != kProxy && node.size != 0) nodes.push_back(node);
  }
  return nodes;
}

Sizes recompress(const Core::ReadableFile& data, const std::vector<Node>& nodes) {
  Sizes sizes;
  std::mutex mutex;
  Core::parallelFor(nodes.size(), [&](std::size_t i) {
    const Node& node = nodes[i];
    if (node.size > data.size()) throw std::runtime_error("octree.bin is shorter than its hierarchy says");
    std::vector<std::byte> bytes(node.size);
    data.read(node.offset, bytes);
    Core::ByteBuffer blocks;
    Core::brotliDecode(bytes, kLargestNode, blocks);
    const std::size_t theirs = Core::brotliEncode(blocks.bytes(), kQuality).size();
    const std::lock_guard lock(mutex);
    sizes.points += node.points;
    sizes.plain += blocks.size;
    sizes.ours += node.size;
    sizes.theirs += theirs;
  });
  return sizes;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: recompress_nodes FOLDER\n", stderr);
    return 2;
  }
  try {
    const std::filesystem::path folder = argv[1];
    Core::DiskFileSystem files(Core::DiskFileSystem::Sync::No);
    const std::vector<Node> nodes = nodesOf(contentOf(*files.open(folder / "hierarchy.bin")));
    const Sizes sizes = recompress(*files.open(folder / "octree.bin"), nodes);
    const auto perPoint = [&](std::uint64_t bytes) {
      return static_cast<double>(bytes) / static_cast<double>(sizes.points);
    };
    std::printf(
        "%zu nodes, %llu points, %.2f bytes a point plain: ours %.3f, libbrotli at quality %d %.3f, ratio "
        "%.4f\n",
        nodes.size(), static_cast<unsigned long long>(sizes.points), perPoint(sizes.plain),
        perPoint(sizes.ours), kQuality, perPoint(sizes.theirs),
        static_cast<double>(sizes.ours) / static_cast<double>(sizes.theirs));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "recompress_nodes: %s\n", error.what());
    return 1;
  }
  return 0;
}
