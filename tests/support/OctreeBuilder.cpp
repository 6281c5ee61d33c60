#include "support/OctreeBuilder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <deque>
#include <limits>
#include <span>
#include <stdexcept>
#include <utility>
#include <vector>

#include "converter/MortonCode.h"
#include "converter/OctreeWriter.h"
#include "converter/RecordLayout.h"
#include "core/ByteReader.h"
#include "core/FileSystem.h"

namespace Testing {
namespace {

using Converter::PositionCode;

constexpr std::size_t kBatchBytes = std::size_t{8} << 20U;  // enough nodes at a time to employ all processors

struct CodedPoint {
  PositionCode code;
  std::uint32_t index = 0;  // of its record
};

/// The stored coordinates of record @p i, which are not negative.
std::array<std::uint32_t, 3> positionOf(const PointRecords& points, const Converter::RecordLayout& layout,
                                        std::size_t i) {
  const std::byte* const at = points.records.data() + i * layout.stride + layout.positionOffset.value();
  std::array<std::uint32_t, 3> position{};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    position[axis] = Core::loadLittleEndian<std::uint32_t>(at + 4 * axis);
    if (position[axis] > std::numeric_limits<std::int32_t>::max()) {
      throw std::invalid_argument("a stored coordinate is negative");
    }
  }
  return position;
}

Converter::RecordLayout checkedLayout(const PointRecords& points) {
  Converter::RecordLayout layout(points.attributes);
  if (!layout.positionOffset) throw std::invalid_argument("the points have no position");
  if (points.numPoints() > std::numeric_limits<std::uint32_t>::max()) {
    throw std::invalid_argument("more than 2^32 - 1 points");
  }
  return layout;
}

/// How many bits the largest stored coordinate takes: the cube's edge is 2 to that, in steps.
unsigned cubeBits(const PointRecords& points, const Converter::RecordLayout& layout) {
  std::uint32_t bits = 0;
  for (std::size_t i = 0; i < points.numPoints(); ++i) {
    const auto [x, y, z] = positionOf(points, layout, i);
    bits |= x | y | z;
  }
  return static_cast<unsigned>(std::bit_width(bits));
}

/// Drops the lowest @p bits of all three coordinates.
PositionCode coarser(const PositionCode& code, unsigned bits) {
  if (bits >= 16) return {code.high >> 3 * (bits - 16), 0};
  return {code.high, code.low >> 3 * bits};
}

/// In which half of the axes a point lies in a cube of 2^(bit + 1) steps, as a child index. In codes x is the
/// lowest of three bits, in child indices the highest.
std::uint8_t childIndex(const PositionCode& code, unsigned bit) {
  const std::uint64_t zyx = bit >= 16 ? code.high >> 3 * (bit - 16) : code.low >> 3 * bit;
  return static_cast<std::uint8_t>((zyx & 1U) << 2U | (zyx & 2U) | (zyx & 4U) >> 2U);
}

class Builder {
 public:
  Builder(const PointRecords& points, const BuildOptions& options, Converter::OctreeWriter& writer)
      : points_(points), options_(options), layout_(checkedLayout(points)), writer_(writer) {}

  void build();

 private:
  /// The points that lie in a node's cube and were not kept above it.
  struct Range {
    Octree::OctreeNodeId id;
    std::span<CodedPoint> points;
  };

  [[nodiscard]] std::vector<CodedPoint> sortedPoints() const;
  void divide(const Range& node);
  std::span<CodedPoint> keep(std::span<CodedPoint> points, unsigned cellBits);
  void add(Octree::OctreeNodeId id, std::span<const CodedPoint> points);
  void flush();

  const PointRecords& points_;
  BuildOptions options_;
  Converter::RecordLayout layout_;
  Converter::OctreeWriter& writer_;
  unsigned cubeBits_ = 0;
  std::deque<Range> queue_;
  std::vector<CodedPoint> kept_;
  std::vector<std::pair<Octree::OctreeNodeId, std::vector<std::byte>>> batch_;
  std::size_t batchBytes_ = 0;
};

std::vector<CodedPoint> Builder::sortedPoints() const {
  std::vector<CodedPoint> sorted(points_.numPoints());
  for (std::size_t i = 0; i < sorted.size(); ++i) {
    const auto [x, y, z] = positionOf(points_, layout_, i);
    sorted[i] = {Converter::positionCode(x, y, z), static_cast<std::uint32_t>(i)};
  }
  std::sort(sorted.begin(), sorted.end(), [](const CodedPoint& a, const CodedPoint& b) {
    return a.code != b.code ? a.code < b.code : a.index < b.index;
  });
  return sorted;
}

void Builder::build() {
  std::vector<CodedPoint> sorted = sortedPoints();
  cubeBits_ = cubeBits(points_, layout_);
  queue_.push_back({Octree::OctreeNodeId(), sorted});
  for (; !queue_.empty(); queue_.pop_front()) divide(queue_.front());
  flush();
}

void Builder::divide(const Range& node) {
  const auto level = static_cast<unsigned>(node.id.level());
  if (node.points.size() <= options_.leafPoints || level == Octree::OctreeNodeId::kDeepestLevel ||
      level == cubeBits_) {
    return add(node.id, node.points);
  }
  const unsigned edgeBits = cubeBits_ - level;
  std::span<CodedPoint> rest = keep(node.points, edgeBits - std::min(edgeBits, options_.gridBits));
  add(node.id, kept_);
  while (!rest.empty()) {
    const std::uint8_t child = childIndex(rest.front().code, edgeBits - 1);
    const auto end = std::find_if(rest.begin(), rest.end(), [&](const CodedPoint& point) {
      return childIndex(point.code, edgeBits - 1) != child;
    });
    const auto count = static_cast<std::size_t>(end - rest.begin());
    queue_.push_back({node.id.child(child), rest.first(count)});
    rest = rest.subspan(count);
  }
}

/// Moves the middle point of each cell of 2^cellBits steps to kept_ and the others, in their order, to the
/// front of @p points; returns those. Points of one cell follow each other, since cells are runs of the Z
/// curve.
std::span<CodedPoint> Builder::keep(std::span<CodedPoint> points, unsigned cellBits) {
  kept_.clear();
  auto rest = points.begin();
  for (auto first = points.begin(); first != points.end();) {
    const PositionCode cell = coarser(first->code, cellBits);
    const auto last = std::find_if(
        first, points.end(), [&](const CodedPoint& point) { return coarser(point.code, cellBits) != cell; });
    const auto middle = first + (last - first) / 2;
    kept_.push_back(*middle);
    rest = std::copy(middle + 1, last, std::copy(first, middle, rest));
    first = last;
  }
  return points.first(static_cast<std::size_t>(rest - points.begin()));
}

void Builder::add(Octree::OctreeNodeId id, std::span<const CodedPoint> points) {
  std::vector<std::byte> records;
  records.reserve(points.size() * layout_.stride);
  for (const CodedPoint& point : points) {
    const auto from = points_.records.begin() + static_cast<std::ptrdiff_t>(point.index * layout_.stride);
    records.insert(records.end(), from, from + static_cast<std::ptrdiff_t>(layout_.stride));
  }
  batchBytes_ += records.size();
  batch_.emplace_back(id, std::move(records));
  if (batchBytes_ >= kBatchBytes) flush();
}

void Builder::flush() {
  std::vector<Converter::NodeRecords> nodes;
  nodes.reserve(batch_.size());
  for (const auto& [id, records] : batch_) nodes.push_back({id, records});
  writer_.addNodes(nodes);
  batch_.clear();
  batchBytes_ = 0;
}

}  // namespace

PoTree::MetaData describe(const PointRecords& points, PoTree::Encoding encoding,
                          const BuildOptions& options) {
  const double edge =
      points.scale * static_cast<double>(std::uint64_t{1} << cubeBits(points, checkedLayout(points)));
  PoTree::MetaData metaData;
  metaData.name = points.name;
  metaData.offset = points.offset;
  metaData.scale = {points.scale, points.scale, points.scale};
  metaData.spacing = edge / static_cast<double>(std::uint64_t{1} << options.gridBits);
  for (int axis = 0; axis < 3; ++axis) {
    metaData.boundingBox.minimum[axis] = points.offset[static_cast<std::size_t>(axis)];
    metaData.boundingBox.maximum[axis] = metaData.boundingBox.minimum[axis] + edge;
  }
  metaData.encoding = encoding;
  metaData.attributes = withRanges(points);
  return metaData;
}

void buildOctree(const PointRecords& points, PoTree::Encoding encoding, const std::filesystem::path& folder,
                 const BuildOptions& options) {
  Core::DiskFileSystem files(Core::DiskFileSystem::Sync::No);
  Converter::OctreeWriter writer(files, folder, describe(points, encoding, options));
  Builder(points, options, writer).build();
  writer.finish();
}

}  // namespace Testing
