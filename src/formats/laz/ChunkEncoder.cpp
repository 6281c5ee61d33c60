#include "formats/laz/ChunkEncoder.h"

#include <algorithm>
#include <stdexcept>

#include "core/LittleEndian.h"
#include "formats/laz/GpsTimeEncoder.h"
#include "formats/laz/LayeredItemEncoders.h"
#include "formats/laz/Point10Encoder.h"
#include "formats/laz/Point14Encoder.h"
#include "formats/laz/RecordFields.h"
#include "formats/laz/RgbEncoder.h"

namespace Formats::Laz {
namespace {

/// Where in a record the items are that not all point formats have; 0: it has none.
struct OptionalItems {
  std::size_t gpsTime = 0;
  std::size_t color = 0;
  std::size_t colorSize = 0;
  std::size_t extraBytes = 0;
  std::size_t numExtraBytes = 0;
};

OptionalItems optionalItemsOf(const LazVlr& vlr) {
  OptionalItems found;
  std::size_t offset = 0;
  for (const Item& item : vlr.items) {
    switch (item.type) {
      case ItemType::GpsTime11:
        found.gpsTime = offset;
        break;
      case ItemType::Rgb12:
      case ItemType::Rgb14:
      case ItemType::RgbNir14:
        found.color = offset;
        found.colorSize = item.size;
        break;
      case ItemType::Byte:
      case ItemType::Byte14:
        found.extraBytes = offset;
        found.numExtraBytes = item.size;
        break;
      default:
        break;
    }
    offset += item.size;
  }
  return found;
}

std::uint64_t timeAt(const std::byte* at) { return Core::loadLittleEndian<std::uint64_t>(at); }

/// Bytes, each by its difference from the one before.
class ByteEncoder {
 public:
  explicit ByteEncoder(std::size_t count) : models_(count) {}

  void reset() {
    for (auto& model : models_) model.reset();
  }

  void encode(const std::byte* bytes, const std::byte* last, RangeEncoder& stream) {
    stream.makeRoom(models_.size());
    for (std::size_t i = 0; i < models_.size(); ++i) {
      stream.encode(models_[i], (byteAt(bytes, i) - byteAt(last, i)) & 0xFFU);
    }
  }

 private:
  std::vector<SymbolModel<256>> models_;
};

void checkWhole(std::span<const std::byte> records, std::size_t length) {
  if (records.empty() || records.size() % length != 0) {
    throw std::invalid_argument("a LAZ chunk is made of whole records, at least one");
  }
}

class PointwiseEncoder final : public ChunkEncoder {
 public:
  explicit PointwiseEncoder(const LazVlr& vlr)
      : items_(optionalItemsOf(vlr)), length_(vlr.recordLength()), extraBytes_(items_.numExtraBytes) {}

  std::span<const std::byte> encode(std::span<const std::byte> records) override {
    checkWhole(records, length_);
    start(records.data());
    const std::byte* last = records.data();
    for (std::size_t at = length_; at < records.size(); at += length_) {
      encodeRecord(records.data() + at, last);
      last = records.data() + at;
    }
    const std::span<const std::byte> coded = stream_.finish();
    chunk_.assign(records.data(), records.data() + length_);
    chunk_.insert(chunk_.end(), coded.begin(), coded.end());
    return chunk_;
  }

 private:
  void start(const std::byte* first) {
    points_.reset();
    if (items_.gpsTime != 0) gpsTimes_.start(timeAt(first + items_.gpsTime));
    colors_.reset();
    extraBytes_.reset();
    stream_.restart();
  }

  void encodeRecord(const std::byte* record, const std::byte* last) {
    points_.encode(record, last, stream_);
    if (items_.gpsTime != 0) gpsTimes_.encode(timeAt(record + items_.gpsTime), stream_);
    if (items_.color != 0) colors_.encode(record + items_.color, last + items_.color, stream_);
    if (items_.extraBytes != 0) {
      extraBytes_.encode(record + items_.extraBytes, last + items_.extraBytes, stream_);
    }
  }

  OptionalItems items_;
  std::size_t length_;  // of a record
  Point10Encoder points_;
  GpsTimeEncoder gpsTimes_{GpsTimeEncoder::Unchanged::Coded};
  RgbEncoder colors_;
  ByteEncoder extraBytes_;
  RangeEncoder stream_;
  std::vector<std::byte> chunk_;
};

/// Of each byte of a record, the bits that differ in any of them from the first.
std::vector<std::byte> changesWithin(std::span<const std::byte> records, std::size_t length) {
  std::vector<std::byte> changes(length);
  const std::byte* const first = records.data();
  for (std::size_t at = length; at < records.size(); at += length) {
    const std::byte* const record = first + at;
    for (std::size_t i = 0; i < length; ++i) changes[i] |= record[i] ^ first[i];
  }
  return changes;
}

void putWord(std::vector<std::byte>& out, std::size_t value) {
  out.resize(out.size() + sizeof(std::uint32_t));
  Core::storeLittleEndian(out.data() + out.size() - sizeof(std::uint32_t), static_cast<std::uint32_t>(value));
}

class LayeredEncoder final : public ChunkEncoder {
 public:
  explicit LayeredEncoder(const LazVlr& vlr)
      : items_(optionalItemsOf(vlr)),
        length_(vlr.recordLength()),
        colors_(items_.colorSize > RgbEncoder::kSize),
        extraBytes_(items_.numExtraBytes) {}

  std::span<const std::byte> encode(std::span<const std::byte> records) override {
    checkWhole(records, length_);
    start(records);
    for (std::size_t at = length_; at < records.size(); at += length_) {
      const std::byte* const record = records.data() + at;
      const std::size_t channel = points_.encode(record);
      if (items_.color != 0) colors_.encode(channel, record + items_.color);
      if (items_.extraBytes != 0) extraBytes_.encode(channel, record + items_.extraBytes);
    }
    finish(records);
    return chunk_;
  }

 private:
  void start(std::span<const std::byte> records) {
    const std::vector<std::byte> changes = changesWithin(records, length_);
    const std::span<const std::byte> changed(changes);
    const std::byte* const first = records.data();
    const std::size_t channel = Point14Encoder::channelOf(first);
    points_.start(first, changed.first(Point14Encoder::kSize));
    if (items_.color != 0) {
      colors_.start(channel, first + items_.color, changed.subspan(items_.color, items_.colorSize));
    }
    if (items_.extraBytes != 0) {
      extraBytes_.start(channel, first + items_.extraBytes, changed.subspan(items_.extraBytes));
    }
  }

  void finish(std::span<const std::byte> records) {
    std::vector<std::span<const std::byte>> layers;
    points_.finish(layers);
    if (items_.color != 0) colors_.finish(layers);
    if (items_.extraBytes != 0) extraBytes_.finish(layers);
    chunk_.assign(records.data(), records.data() + length_);
    putWord(chunk_, records.size() / length_);
    for (const std::span<const std::byte> layer : layers) putWord(chunk_, layer.size());
    for (const std::span<const std::byte> layer : layers) {
      chunk_.insert(chunk_.end(), layer.begin(), layer.end());
    }
  }

  OptionalItems items_;
  std::size_t length_;  // of a record
  Point14Encoder points_;
  Rgb14Encoder colors_;
  Byte14Encoder extraBytes_;
  std::vector<std::byte> chunk_;
};

void checkItems(const LazVlr& vlr) {
  for (const Item& item : vlr.items) {
    const bool isWave = item.type == ItemType::WavePacket13 || item.type == ItemType::WavePacket14;
    if (isWave || item.version != (vlr.compressor == Compressor::Layered ? 3 : 2)) {
      throw std::invalid_argument(nameOf(item) + " is not written");
    }
  }
}

}  // namespace

std::unique_ptr<ChunkEncoder> makeChunkEncoder(const LazVlr& vlr) {
  checkItems(vlr);
  if (vlr.compressor == Compressor::Layered) return std::make_unique<LayeredEncoder>(vlr);
  return std::make_unique<PointwiseEncoder>(vlr);
}

std::vector<std::byte> encodeChunkTable(std::span<const std::size_t> chunkSizes) {
  constexpr std::size_t kVersion = 0;
  constexpr std::size_t kContexts = 2;
  constexpr std::size_t kSizeContext = 1;
  std::vector<std::byte> table;
  putWord(table, kVersion);
  putWord(table, chunkSizes.size());
  if (chunkSizes.empty()) return table;
  RangeEncoder stream;
  IntegerEncoder numbers(32, kContexts);
  std::int32_t last = 0;
  for (const std::size_t size : chunkSizes) {
    const auto number = static_cast<std::int32_t>(static_cast<std::uint32_t>(size));
    stream.makeRoom(IntegerEncoder::kWrites);
    numbers.encode(last, number, kSizeContext, stream);
    last = number;
  }
  const std::span<const std::byte> coded = stream.finish();
  table.insert(table.end(), coded.begin(), coded.end());
  return table;
}

}  // namespace Formats::Laz
