// compress_nodes FOLDER: our encoder of columns against libbrotli on the nodes of a brotli octree, one
// thread, node by node, the two in turn. Checks first that libbrotli gets back every block from our streams.
// Prints bytes and nanoseconds of processor time a point, of whole nodes and of each attribute alone. Ends
// with 1 when the octree cannot be read or a stream of ours is wrong.

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <exception>
#include <filesystem>
#include <limits>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "brotli/ColumnEncoder.h"
#include "core/Brotli.h"
#include "core/ByteReader.h"
#include "core/FileSystem.h"
#include "octree/potree/MetaData.h"

namespace {

using Bytes = std::vector<std::byte>;

constexpr std::size_t kRecordSize = 22;  // of hierarchy.bin: type, mask, points u32, offset u64, size u64
constexpr std::size_t kLargestNode = std::size_t{1} << 30U;
constexpr int kQuality = 5;
constexpr int kRounds = 3;              // the best one counts
constexpr std::size_t kSlowShare = 10;  // every so many nodes at the highest quality

/// Processor time of the calling thread.
double threadSeconds() {
  timespec now = {};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

template <class Work>
double secondsOf(const Work& work) {
  const double begin = threadSeconds();
  work();
  return threadSeconds() - begin;
}

/// The blocks of a node, or one of them.
struct Columns {
  std::size_t numPoints = 0;
  std::vector<std::size_t> strides;
  Bytes data;
};

/// Sums over nodes.
struct Totals {
  double points = 0;
  double plain = 0;
  double ours = 0;
  double theirs = 0;
  double encodingOurs = 0;  // seconds
  double encodingTheirs = 0;
  double decodingOurs = 0;
  double decodingTheirs = 0;
};

struct Best {
  double ours = std::numeric_limits<double>::max();
  double theirs = std::numeric_limits<double>::max();
};

/// Encodes and decodes in turn, each the best of some rounds.
void measure(const Columns& node, Brotli::ColumnEncoder& encoder, Totals& totals) {
  Best encoding;
  Best decoding;
  std::span<const std::byte> ours;
  std::string theirs;
  Core::ByteBuffer decoded;
  const auto decode = [&](std::span<const std::byte> stream) {
    return secondsOf([&] { Core::brotliDecode(stream, node.data.size(), decoded); });
  };
  for (int round = 0; round < kRounds; ++round) {
    encoding.ours = std::min(
        encoding.ours, secondsOf([&] { ours = encoder.encode(node.data, node.numPoints, node.strides); }));
    encoding.theirs =
        std::min(encoding.theirs, secondsOf([&] { theirs = Core::brotliEncode(node.data, kQuality); }));
    decoding.theirs = std::min(decoding.theirs, decode(std::as_bytes(std::span(theirs))));
    decoding.ours = std::min(decoding.ours, decode(ours));
    const std::span<const std::byte> bytes = decoded.bytes();
    if (!std::equal(bytes.begin(), bytes.end(), node.data.begin(), node.data.end())) {
      throw std::runtime_error("libbrotli makes other bytes of our stream");
    }
  }
  totals.points += static_cast<double>(node.numPoints);
  totals.plain += static_cast<double>(node.data.size());
  totals.ours += static_cast<double>(ours.size());
  totals.theirs += static_cast<double>(theirs.size());
  totals.encodingOurs += encoding.ours;
  totals.encodingTheirs += encoding.theirs;
  totals.decodingOurs += decoding.ours;
  totals.decodingTheirs += decoding.theirs;
}

Bytes contentOf(const Core::ReadableFile& file) {
  Bytes bytes(file.size());
  file.read(0, bytes);
  return bytes;
}

/// A brotli octree, node by node.
class Octree {
 public:
  explicit Octree(const std::filesystem::path& folder)
      : files_(Core::DiskFileSystem::Sync::No), data_(files_.open(folder / "octree.bin")) {
    const Bytes text = contentOf(*files_.open(folder / "metadata.json"));
    const PoTree::MetaData metaData =
        PoTree::parseMetaData({reinterpret_cast<const char*>(text.data()), text.size()},
                              (folder / "metadata.json").string(), PoTree::MetaDataUse::Main);
    for (const PoTree::Attribute& attribute : metaData.attributes) {
      names_.push_back(attribute.name);
      strides_.push_back(strideOf(attribute));
    }
    findNodes(contentOf(*files_.open(folder / "hierarchy.bin")));
  }

  [[nodiscard]] std::size_t numNodes() const { return nodes_.size(); }
  [[nodiscard]] const std::vector<std::string>& names() const { return names_; }

  [[nodiscard]] Columns node(std::size_t index) const {
    const Node& node = nodes_[index];
    if (node.size > data_->size()) throw std::runtime_error("octree.bin is shorter than its hierarchy says");
    Bytes stream(node.size);
    data_->read(node.offset, stream);
    Core::ByteBuffer blocks;
    Core::brotliDecode(stream, kLargestNode, blocks);
    return {node.points, strides_, {blocks.bytes().begin(), blocks.bytes().end()}};
  }

 private:
  struct Node {
    std::size_t points = 0;
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
  };

  /// Positions and colours stand in brotli blocks as Morton codes.
  static std::size_t strideOf(const PoTree::Attribute& attribute) {
    if (attribute.name == "position") return 16;
    if (attribute.name == "rgb") return 8;
    return static_cast<std::size_t>(attribute.size);
  }

  /// All nodes with points; our writer leaves no record that nothing reaches.
  void findNodes(const Bytes& hierarchy) {
    constexpr std::byte kProxy{2};
    for (std::size_t at = 0; at + kRecordSize <= hierarchy.size(); at += kRecordSize) {
      const std::byte* const record = hierarchy.data() + at;
      const Node node{Core::loadLittleEndian<std::uint32_t>(record + 2),
                      Core::loadLittleEndian<std::uint64_t>(record + 6),
                      Core::loadLittleEndian<std::uint64_t>(record + 14)};
      if (*record != kProxy && node.size != 0) nodes_.push_back(node);
    }
  }

  Core::DiskFileSystem files_;
  std::unique_ptr<Core::ReadableFile> data_;
  std::vector<std::string> names_;
  std::vector<std::size_t> strides_;
  std::vector<Node> nodes_;
};

/// One attribute of a node.
Columns attributeOf(const Columns& node, std::size_t attribute, std::size_t& begin) {
  const std::size_t size = node.strides[attribute] * node.numPoints;
  const auto first = node.data.begin() + static_cast<std::ptrdiff_t>(begin);
  begin += size;
  return {node.numPoints, {node.strides[attribute]}, {first, first + static_cast<std::ptrdiff_t>(size)}};
}

/// Sizes of whole nodes at other qualities: the highest on some nodes only, where ours are counted, too.
struct OtherQualities {
  static constexpr int kMiddle = 6;
  static constexpr int kHighest = 9;
  double middle = 0;
  double highest = 0;
  double oursBesideHighest = 0;
  double pointsBesideHighest = 0;

  void add(std::size_t index, const Columns& node, Brotli::ColumnEncoder& encoder) {
    middle += static_cast<double>(Core::brotliEncode(node.data, kMiddle).size());
    if (index % kSlowShare != 0) return;
    highest += static_cast<double>(Core::brotliEncode(node.data, kHighest).size());
    oursBesideHighest += static_cast<double>(encoder.encode(node.data, node.numPoints, node.strides).size());
    pointsBesideHighest += static_cast<double>(node.numPoints);
  }
};

void printRow(const std::string& name, const Totals& totals) {
  const double nanoseconds = 1e9 / totals.points;
  std::printf("| %s | %.2f | %.3f | %.3f | %.3f | %.1f | %.1f | %.2f | %.1f | %.1f | %.2f |\n", name.c_str(),
              totals.plain / totals.points, totals.ours / totals.points, totals.theirs / totals.points,
              totals.ours / totals.theirs, totals.encodingOurs * nanoseconds,
              totals.encodingTheirs * nanoseconds, totals.encodingTheirs / totals.encodingOurs,
              totals.decodingOurs * nanoseconds, totals.decodingTheirs * nanoseconds,
              totals.decodingOurs / totals.decodingTheirs);
}

void compare(const std::filesystem::path& folder) {
  const Octree octree(folder);
  Brotli::ColumnEncoder encoder;
  Totals whole;
  std::vector<Totals> alone(octree.names().size());
  OtherQualities others;
  for (std::size_t i = 0; i < octree.numNodes(); ++i) {
    const Columns node = octree.node(i);
    measure(node, encoder, whole);
    others.add(i, node, encoder);
    std::size_t begin = 0;
    for (std::size_t a = 0; a < alone.size(); ++a) measure(attributeOf(node, a, begin), encoder, alone[a]);
  }
  std::printf("%zu nodes, %.0f points; bytes a point, ns of one thread a point; libbrotli at quality %d\n\n",
              octree.numNodes(), whole.points, kQuality);
  std::puts(
      "| Attribute | plain | ours | libbrotli | ratio | encode, ours | libbrotli | times as fast | decode, "
      "ours | "
      "libbrotli | ratio |\n|---|---|---|---|---|---|---|---|---|---|---|");
  for (std::size_t a = 0; a < alone.size(); ++a) printRow(octree.names()[a], alone[a]);
  printRow("all together", whole);
  std::printf("\nsize vs libbrotli %d: %.4f (<= 1)\n", kQuality, whole.ours / whole.theirs);
  std::printf("size vs libbrotli %d: %.4f\n", OtherQualities::kMiddle, whole.ours / others.middle);
  std::printf("size vs libbrotli %d: %.4f (%.0f points)\n", OtherQualities::kHighest,
              others.oursBesideHighest / others.highest, others.pointsBesideHighest);
  std::printf("speed: %.2f (>= 3)\n", whole.encodingTheirs / whole.encodingOurs);
  std::printf("decoding: %.3f (<= 1.1)\n", whole.decodingOurs / whole.decodingTheirs);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: compress_nodes FOLDER\n", stderr);
    return 2;
  }
  try {
    compare(argv[1]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "compress_nodes: %s\n", error.what());
    return 1;
  }
  return 0;
}
