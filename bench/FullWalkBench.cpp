// Whole walks over converted clouds from disk, caches of the process empty, against a bare loop on one thread
// that reads the nodes' bytes in the same order and decodes them. Then what the slots of a location add to
// reading a file.
//   full_walk_bench CLOUD...
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "Rounds.h"
#include "core/Brotli.h"
#include "core/File.h"
#include "octree/QueryPoints.h"
#include "octree/potree/FileSystemLocation.h"
#include "octree/potree/NodeDecoder.h"

namespace {

using PoTree::FileSystemLocation;
using PoTree::PotreeTree;

struct BareCloud {
  std::filesystem::path folder;
  PoTree::MetaData metaData;
  std::vector<std::shared_ptr<PoTree::Node>> nodes;  // breadth first

  explicit BareCloud(const std::filesystem::path& path) : folder(path) {
    const auto location = std::make_shared<FileSystemLocation>(path);
    metaData =
        PoTree::parseMetaData(location->fetchMetaData({}).get(), path.string(), PoTree::MetaDataUse::Main);
    PotreeTree tree(location, Core::readyFuture(metaData).share(), 1);
    std::deque<Octree::OctreeNodeId> queue(1);
    for (; !queue.empty(); queue.pop_front()) {
      nodes.push_back(tree.nodeById(queue.front(), {}));
      for (std::uint8_t i = 0; i < 8; ++i) {
        if (nodes.back()->children[i]) queue.push_back(queue.front().child(i));
      }
    }
  }

  /// Calls use(points) for every node.
  template <class Use>
  void decodeAll(const Use& use) const {
    const Core::File file(folder / "octree.bin");
    const PoTree::NodeFormat format(metaData, 1);
    std::vector<std::byte> stored;
    Core::ByteBuffer decompressed;
    Math::NodePoints points;
    for (const auto& node : nodes) {
      stored.resize(std::max<std::size_t>(stored.size(), node->byteSize));
      const std::span<std::byte> bytes(stored.data(), node->byteSize);
      file.read(node->byteOffset, bytes);
      points.resize(0);
      if (format.encoding == PoTree::Encoding::Brotli) {
        Core::brotliDecode(bytes, (node->numPoints + 1) * format.bytesPerPoint, decompressed);
        decodeNode(format, decompressed.bytes(), points);
      } else {
        decodeNode(format, bytes, points);
      }
      use(points);
    }
  }
};

struct OpenedCloud {
  std::shared_ptr<Octree::Octree> octree;
  std::shared_ptr<Octree::OctreeNodeCache> cache = std::make_shared<Octree::OctreeNodeCache>(10'000);

  explicit OpenedCloud(const std::filesystem::path& folder)
      : octree(std::make_shared<Octree::Octree>(std::make_shared<FileSystemLocation>(folder), 1.0)) {}

  template <class Use>
  void walkAll(const Use& use) const {
    const Octree::Algorithm::QueryPointsIterator end;
    for (auto it = Octree::allPoints(octree, cache, 0, {}); !(it == end); ++it) use((*it)->points());
  }
};

double sumOf(const Math::NodePoints& points) {
  return std::accumulate(points.positions().begin(), points.positions().end(), 0.0);
}

void benchWalk(const std::filesystem::path& folder, const BareCloud& bare) {
  double expected = 0;
  double found = 0;
  std::size_t numPoints = 0;
  bare.decodeAll([&](const Math::NodePoints& points) {
    expected += sumOf(points);
    numPoints += points.size();
  });
  OpenedCloud(folder).walkAll([&](const Math::NodePoints& points) { found += sumOf(points); });
  if (found != expected) {
    std::printf("%s: the answers differ\n", folder.c_str());
    std::exit(1);
  }
  const auto walk = [&] {
    OpenedCloud cloud(folder);
    std::size_t count = 0;
    cloud.walkAll([&](const Math::NodePoints& points) { count += points.size(); });
    if (count != numPoints) std::abort();
    return cloud;
  };
  const auto loop = [&] {
    std::size_t count = 0;
    bare.decodeAll([&](const Math::NodePoints& points) { count += points.size(); });
    return count;
  };
  std::printf("%s: %zu points in %zu nodes\n", folder.filename().c_str(), numPoints, bare.nodes.size());
  Bench::report("  whole walk, a point", "bare loop", Bench::alternate(9, Bench::wallSeconds, walk, loop),
                numPoints);
  Bench::report("  processor time, a point", "bare loop",
                Bench::alternate(5, Bench::processorSeconds, walk, loop), numPoints);
}

void benchSlots(const BareCloud& bare) {
  constexpr std::size_t kReads = 200'000;
  FileSystemLocation location(bare.folder);
  const Core::File file(bare.folder / "octree.bin");
  const auto slots = [&] {
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < kReads; ++i)
      bytes += location.fetchOctreeChunk(64 * (i % 64), 64, {}).get().size();
    return bytes;
  };
  const auto reads = [&] {
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < kReads; ++i) bytes += file.read(64 * (i % 64), 64).size();
    return bytes;
  };
  Bench::report("  64 bytes by the location's slot", "file",
                Bench::alternate(9, Bench::processorSeconds, slots, reads), kReads);
}

}  // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const BareCloud bare(argv[i]);
    benchWalk(argv[i], bare);
    benchSlots(bare);
  }
}
