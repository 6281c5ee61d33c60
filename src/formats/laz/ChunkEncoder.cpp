#include "formats/laz/ChunkEncoder.h"

#include <algorithm>
#include <optional>
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

  void encode(const std::byte* bytes, const std::byte* last, RangeEncoder& stream) {
    stream.makeRoom(models_.size());
    for (std::size_t i = 0; i < models_.size(); ++i) {
      stream.encode(models_[i], (byteAt(bytes, i) - byteAt(last, i)) & 0xFFU);
    }
  }

 private:
  std::vector<SymbolModel<256>> models_;
};

std::vector<std::byte> encodePointWise(const LazVlr& vlr, std::span<const std::byte> records) {
  const OptionalItems items = optionalItemsOf(vlr);
  const std::size_t length = vlr.recordLength();
  const std::byte* last = records.data();
  Point10Encoder points;
  GpsTimeEncoder gpsTimes(GpsTimeEncoder::Unchanged::Coded,
                          items.gpsTime == 0 ? 0 : timeAt(last + items.gpsTime));
  RgbEncoder colors;
  ByteEncoder extraBytes(items.numExtraBytes);
  RangeEncoder stream;
  for (std::size_t at = length; at < records.size(); at += length) {
    const std::byte* const record = records.data() + at;
    points.encode(record, last, stream);
    if (items.gpsTime != 0) gpsTimes.encode(timeAt(record + items.gpsTime), stream);
    if (items.color != 0) colors.encode(record + items.color, last + items.color, stream);
    if (items.extraBytes != 0) extraBytes.encode(record + items.extraBytes, last + items.extraBytes, stream);
    last = record;
  }
  const std::span<const std::byte> coded = stream.finish();
  std::vector<std::byte> chunk;
  chunk.reserve(length + coded.size());
  chunk.assign(records.data(), records.data() + length);
  chunk.insert(chunk.end(), coded.begin(), coded.end());
  return chunk;
}

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

std::vector<std::byte> layeredChunk(std::span<const std::byte> first, std::size_t numPoints,
                                    const std::vector<std::span<const std::byte>>& layers) {
  std::vector<std::byte> chunk(first.begin(), first.end());
  putWord(chunk, numPoints);
  for (const std::span<const std::byte> layer : layers) putWord(chunk, layer.size());
  for (const std::span<const std::byte> layer : layers) chunk.insert(chunk.end(), layer.begin(), layer.end());
  return chunk;
}

std::vector<std::byte> encodeLayered(const LazVlr& vlr, std::span<const std::byte> records) {
  const OptionalItems items = optionalItemsOf(vlr);
  const std::size_t length = vlr.recordLength();
  const std::byte* const first = records.data();
  const std::vector<std::byte> changes = changesWithin(records, length);
  const std::span<const std::byte> changed(changes);
  Point14Encoder points(first, changed.first(Point14Encoder::kSize));
  const std::size_t channel = Point14Encoder::channelOf(first);
  std::optional<Rgb14Encoder> colors;
  if (items.color != 0) {
    colors.emplace(channel, first + items.color, changed.subspan(items.color, items.colorSize));
  }
  std::optional<Byte14Encoder> extraBytes;
  if (items.extraBytes != 0) {
    extraBytes.emplace(channel, first + items.extraBytes, changed.subspan(items.extraBytes));
  }
  for (std::size_t at = length; at < records.size(); at += length) {
    const std::byte* const record = first + at;
    const std::size_t itemChannel = points.encode(record);
    if (colors) colors->encode(itemChannel, record + items.color);
    if (extraBytes) extraBytes->encode(itemChannel, record + items.extraBytes);
  }
  std::vector<std::span<const std::byte>> layers;
  for (std::size_t i = 0; i < Point14Encoder::kLayers; ++i) layers.push_back(points.finish(i));
  for (std::size_t i = 0; colors && i < colors->numLayers(); ++i) layers.push_back(colors->finish(i));
  for (std::size_t i = 0; extraBytes && i < extraBytes->numLayers(); ++i) {
    layers.push_back(extraBytes->finish(i));
  }
  return layeredChunk(records.first(length), records.size() / length, layers);
}

void checkItems(const LazVlr& vlr) {
  for (const Item& item : vlr.items) {
    const bool isWave = item.type == ItemType::WavePacket13 || item.type == ItemType::WavePacket14;
    if (isWave || item.version != (vlr.compressor == Compressor::Layered ? 3 : 2)) {
      throw std::invalid_argument(nameOf(item) + " is not written");
    }
  }
}

}  // namespace

std::vector<std::byte> encodeChunk(const LazVlr& vlr, std::span<const std::byte> records) {
  checkItems(vlr);
  if (records.empty() || records.size() % vlr.recordLength() != 0) {
    throw std::invalid_argument("a LAZ chunk is made of whole records, at least one");
  }
  return vlr.compressor == Compressor::Layered ? encodeLayered(vlr, records) : encodePointWise(vlr, records);
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
