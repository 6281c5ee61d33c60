#include "converter/NodeEncoder.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <mutex>
#include <numeric>
#include <stdexcept>

#include "brotli/ColumnEncoder.h"
#include "converter/LittleEndian.h"
#include "converter/MortonCode.h"
#include "core/Brotli.h"
#include "core/ByteReader.h"

namespace Converter {
namespace {

/// A point of the node on its way into the blocks.
struct OrderedPoint {
  PositionCode code;
  const std::byte* record = nullptr;
};

PositionCode codeAt(const std::byte* position) {
  const auto x = Core::loadLittleEndian<std::uint32_t>(position);
  const auto y = Core::loadLittleEndian<std::uint32_t>(position + 4);
  const auto z = Core::loadLittleEndian<std::uint32_t>(position + 8);
  const PositionCode code = positionCode(x, y, z);
  if (!code.readable()) {
    throw std::invalid_argument("position (" + std::to_string(x) + ", " + std::to_string(y) + ", " +
                                std::to_string(z) + ") has a code whose high half readers do not see");
  }
  return code;
}

std::vector<OrderedPoint> orderedPoints(std::span<const std::byte> records, const RecordLayout& layout) {
  std::vector<OrderedPoint> points(records.size() / layout.stride);
  for (std::size_t i = 0; i < points.size(); ++i) {
    points[i].record = records.data() + i * layout.stride;
    if (layout.positionOffset) points[i].code = codeAt(points[i].record + *layout.positionOffset);
  }
  // Records of equal codes are in their old order when they are ordered by address.
  const auto before = [](const OrderedPoint& a, const OrderedPoint& b) {
    return a.code != b.code ? a.code < b.code : std::less<>()(a.record, b.record);
  };
  if (!std::is_sorted(points.begin(), points.end(), before)) std::sort(points.begin(), points.end(), before);
  return points;
}

std::byte* storeColorCode(std::byte* out, const std::byte* color) {
  return storeLittleEndian(out, mortonCode(Core::loadLittleEndian<std::uint16_t>(color),
                                           Core::loadLittleEndian<std::uint16_t>(color + 2),
                                           Core::loadLittleEndian<std::uint16_t>(color + 4)));
}

std::byte* storeColumn(std::byte* out, const RecordColumn& column, const std::vector<OrderedPoint>& points) {
  for (const OrderedPoint& point : points) {
    switch (column.kind) {
      case ColumnKind::Position:
        out = storeLittleEndian(storeLittleEndian(out, point.code.high), point.code.low);
        break;
      case ColumnKind::Color:
        out = storeColorCode(out, point.record + column.offset);
        break;
      case ColumnKind::Raw:
        std::memcpy(out, point.record + column.offset, column.size);
        out += column.size;
        break;
    }
  }
  return out;
}

class UncompressedEncoder final : public NodeEncoder {
 public:
  [[nodiscard]] std::span<const std::byte> encode(std::span<const std::byte> records,
                                                  std::string& /*scratch*/) const override {
    return records;
  }
};

/// libbrotli on the blocks.
class SearchEncoder final : public NodeEncoder {
 public:
  explicit SearchEncoder(RecordLayout layout) : layout_(std::move(layout)) {}

  [[nodiscard]] std::span<const std::byte> encode(std::span<const std::byte> records,
                                                  std::string& scratch) const override {
    constexpr int kQuality = 9;
    if (records.empty()) return {};
    scratch = Core::brotliEncode(attributeBlocks(records, layout_), kQuality);
    return std::as_bytes(std::span(scratch));
  }

 private:
  RecordLayout layout_;
};

/// Our own encoder on the blocks. Its memory is kept: there are as many as calls were ever under way
/// together.
class ColumnsEncoder final : public NodeEncoder {
 public:
  explicit ColumnsEncoder(RecordLayout layout) : layout_(std::move(layout)) {
    for (const RecordColumn& column : layout_.columns) strides_.push_back(column.encodedSize());
  }

  [[nodiscard]] std::span<const std::byte> encode(std::span<const std::byte> records,
                                                  std::string& scratch) const override {
    if (records.empty()) return {};
    std::unique_ptr<Brotli::ColumnEncoder> encoder = take();
    const std::vector<std::byte> blocks = attributeBlocks(records, layout_);
    const std::span<const std::byte> bytes =
        encoder->encode(blocks, records.size() / layout_.stride, strides_);
    scratch.assign(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    giveBack(std::move(encoder));
    return std::as_bytes(std::span(scratch));
  }

 private:
  std::unique_ptr<Brotli::ColumnEncoder> take() const {
    const std::lock_guard lock(mutex_);
    if (idle_.empty()) return std::make_unique<Brotli::ColumnEncoder>();
    std::unique_ptr<Brotli::ColumnEncoder> encoder = std::move(idle_.back());
    idle_.pop_back();
    return encoder;
  }
  void giveBack(std::unique_ptr<Brotli::ColumnEncoder> encoder) const {
    const std::lock_guard lock(mutex_);
    idle_.push_back(std::move(encoder));
  }

  RecordLayout layout_;
  std::vector<std::size_t> strides_;
  mutable std::mutex mutex_;
  mutable std::vector<std::unique_ptr<Brotli::ColumnEncoder>> idle_;  // guarded by mutex_
};

}  // namespace

std::vector<std::byte> attributeBlocks(std::span<const std::byte> records, const RecordLayout& layout) {
  const std::vector<OrderedPoint> points = orderedPoints(records, layout);
  const std::size_t pointSize =
      std::accumulate(layout.columns.begin(), layout.columns.end(), std::size_t{0},
                      [](std::size_t sum, const RecordColumn& column) { return sum + column.encodedSize(); });
  std::vector<std::byte> blocks(points.size() * pointSize);
  std::byte* out = blocks.data();
  for (const RecordColumn& column : layout.columns) out = storeColumn(out, column, points);
  return blocks;
}

std::unique_ptr<NodeEncoder> makeNodeEncoder(PoTree::Encoding encoding, RecordLayout layout,
                                             NodeCompression compression) {
  if (encoding == PoTree::Encoding::Uncompressed) return std::make_unique<UncompressedEncoder>();
  if (compression == NodeCompression::Search) return std::make_unique<SearchEncoder>(std::move(layout));
  return std::make_unique<ColumnsEncoder>(std::move(layout));
}

}  // namespace Converter
