#include "formats/laz/LazVlr.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string>

#include "core/ByteReader.h"
#include "core/LittleEndian.h"

namespace Formats::Laz {
namespace {

constexpr std::size_t kFixedSize = 34;
constexpr std::size_t kItemSize = 6;
constexpr std::uint16_t kArithmeticCoder = 0;
// What writeLazVlr() names as the writer: a version of the format whose readers know all items.
constexpr std::uint8_t kWriterMajor = 3;
constexpr std::uint8_t kWriterMinor = 4;

/// What is known of a type of items.
struct Kind {
  ItemType type;
  std::string_view name;
  std::uint16_t size;  ///< 0: any from 1 on
  std::uint16_t oldestVersion;
  std::uint16_t newestVersion;
  bool isLayered;
};

constexpr std::array<Kind, 10> kKinds{{
    {ItemType::Byte, "BYTE", 0, 1, 2, false},
    {ItemType::Point10, "POINT10", 20, 1, 2, false},
    {ItemType::GpsTime11, "GPSTIME11", 8, 1, 2, false},
    {ItemType::Rgb12, "RGB12", 6, 1, 2, false},
    {ItemType::WavePacket13, "WAVEPACKET13", 29, 1, 1, false},
    {ItemType::Point14, "POINT14", 30, 2, 4, true},  // 2: a prototype of 3
    {ItemType::Rgb14, "RGB14", 6, 3, 4, true},
    {ItemType::RgbNir14, "RGBNIR14", 8, 3, 4, true},
    {ItemType::WavePacket14, "WAVEPACKET14", 29, 3, 4, true},
    {ItemType::Byte14, "BYTE14", 0, 3, 4, true},
}};

const Kind* kindOf(ItemType type) {
  const auto* const found =
      std::find_if(kKinds.begin(), kKinds.end(), [&](const Kind& kind) { return kind.type == type; });
  return found == kKinds.end() ? nullptr : found;
}

std::string versionsOf(const Kind& kind) {
  const std::string oldest = std::to_string(kind.oldestVersion);
  return kind.oldestVersion == kind.newestVersion ? oldest
                                                  : oldest + " to " + std::to_string(kind.newestVersion);
}

/// Reads the items and names the place of one that cannot be.
class ItemReader {
 public:
  ItemReader(Core::ByteReader& reader, const Core::Source& source, Compressor compressor)
      : reader_(reader), source_(source), compressor_(compressor) {}

  Item read() {
    begin_ = reader_.position();
    Item item;
    item.type = static_cast<ItemType>(reader_.read<std::uint16_t>("item type"));
    item.size = reader_.read<std::uint16_t>("item size");
    item.version = reader_.read<std::uint16_t>("item version");
    check(item);
    return item;
  }

 private:
  void check(const Item& item) const {
    const Kind* const kind = kindOf(item.type);
    if (kind == nullptr) refuse(0, "item type", "0 or 6 to 14", static_cast<unsigned>(item.type));
    const std::string name(kind->name);
    if (item.size != kind->size && (kind->size != 0 || item.size == 0)) {
      refuse(2, "size of the item " + name, kind->size == 0 ? "at least 1" : std::to_string(kind->size),
             item.size);
    }
    if (compressor_ == Compressor::None) return;
    if (item.version < kind->oldestVersion || item.version > kind->newestVersion) {
      refuse(4, "version of the item " + name, versionsOf(*kind), item.version);
    }
    if (kind->isLayered != (compressor_ == Compressor::Layered)) {
      refuse(0, "compressor", kind->isLayered ? "3 for the item " + name : "1 or 2 for the item " + name,
             static_cast<unsigned>(compressor_));
    }
  }

  [[noreturn]] void refuse(std::size_t offset, const std::string& field, const std::string& expected,
                           unsigned found) const {
    throw Core::FormatError({source_.name, source_.offset + begin_ + offset}, field, expected,
                            std::to_string(found));
  }

  Core::ByteReader& reader_;
  Core::Source source_;
  Compressor compressor_;
  std::size_t begin_ = 0;  // of the item at hand
};

void checkNumItems(std::uint16_t numItems, const Core::ByteReader& reader, const Core::Source& source) {
  const std::size_t room = reader.remaining() / kItemSize;
  if (numItems != 0 && numItems <= room) return;
  throw Core::FormatError({source.name, source.offset + 32}, "number of items",
                          "1 to " + std::to_string(room), std::to_string(numItems));
}

std::vector<Item> itemsOf(std::uint8_t pointFormat, std::uint16_t numExtraBytes) {
  const Item point10{ItemType::Point10, 20, 2};
  const Item time{ItemType::GpsTime11, 8, 2};
  const Item rgb12{ItemType::Rgb12, 6, 2};
  const Item wave13{ItemType::WavePacket13, 29, 1};
  const Item point14{ItemType::Point14, 30, 3};
  const Item rgb14{ItemType::Rgb14, 6, 3};
  const Item rgbNir{ItemType::RgbNir14, 8, 3};
  const Item wave14{ItemType::WavePacket14, 29, 3};
  const std::array<std::vector<Item>, 11> standard{{{point10},
                                                    {point10, time},
                                                    {point10, rgb12},
                                                    {point10, time, rgb12},
                                                    {point10, time, wave13},
                                                    {point10, time, rgb12, wave13},
                                                    {point14},
                                                    {point14, rgb14},
                                                    {point14, rgbNir},
                                                    {point14, wave14},
                                                    {point14, rgbNir, wave14}}};
  if (pointFormat >= standard.size()) {
    throw std::invalid_argument("LAS point format " + std::to_string(pointFormat));
  }
  std::vector<Item> items = standard[pointFormat];
  const bool isLayered = items.front() == point14;
  if (numExtraBytes != 0) {
    items.push_back(isLayered ? Item{ItemType::Byte14, numExtraBytes, 3}
                              : Item{ItemType::Byte, numExtraBytes, 2});
  }
  return items;
}

}  // namespace

std::string nameOf(const Item& item) {
  const Kind* const kind = kindOf(item.type);
  return (kind == nullptr ? std::to_string(static_cast<unsigned>(item.type)) : std::string(kind->name)) +
         " version " + std::to_string(item.version);
}

std::size_t LazVlr::recordLength() const {
  std::size_t length = 0;
  for (const Item& item : items) length += item.size;
  return length;
}

LazVlr readLazVlr(std::span<const std::byte> data, const Core::Source& source) {
  Core::ByteReader reader(data, source);
  LazVlr vlr;
  const auto compressor = reader.read<std::uint16_t>("compressor");
  if (compressor > static_cast<std::uint16_t>(Compressor::Layered)) {
    throw Core::FormatError(source, "compressor", "0 to 3", std::to_string(compressor));
  }
  vlr.compressor = static_cast<Compressor>(compressor);
  const auto coder = reader.read<std::uint16_t>("coder");
  if (coder != kArithmeticCoder) {
    throw Core::FormatError({source.name, source.offset + 2}, "coder", std::to_string(kArithmeticCoder),
                            std::to_string(coder));
  }
  (void)reader.take(8, "writer's version and options");
  vlr.chunkSize = reader.read<std::uint32_t>("chunk size");
  const bool hasChunks = vlr.compressor == Compressor::Chunked || vlr.compressor == Compressor::Layered;
  if (vlr.chunkSize == 0 || !hasChunks) vlr.chunkSize = LazVlr::kVariableChunkSize;
  (void)reader.take(16, "special records");
  const auto numItems = reader.read<std::uint16_t>("number of items");
  checkNumItems(numItems, reader, source);
  ItemReader items(reader, source, vlr.compressor);
  for (std::uint16_t i = 0; i < numItems; ++i) vlr.items.push_back(items.read());
  return vlr;
}

std::vector<std::byte> writeLazVlr(const LazVlr& vlr) {
  using Core::storeLittleEndian;
  std::vector<std::byte> data(kFixedSize + vlr.items.size() * kItemSize);
  std::byte* out = data.data();
  out = storeLittleEndian(out, static_cast<std::uint16_t>(vlr.compressor));
  out = storeLittleEndian(out, kArithmeticCoder);
  out = storeLittleEndian(out, kWriterMajor);
  out = storeLittleEndian(out, kWriterMinor);
  out = storeLittleEndian(out, std::uint16_t{0});  // revision
  out = storeLittleEndian(out, std::uint32_t{0});  // options
  out = storeLittleEndian(out, vlr.chunkSize);
  out = storeLittleEndian(out, std::int64_t{-1});  // no special records
  out = storeLittleEndian(out, std::int64_t{-1});
  out = storeLittleEndian(out, static_cast<std::uint16_t>(vlr.items.size()));
  for (const Item& item : vlr.items) {
    out = storeLittleEndian(out, static_cast<std::uint16_t>(item.type));
    out = storeLittleEndian(out, item.size);
    out = storeLittleEndian(out, item.version);
  }
  return data;
}

LazVlr lazVlrFor(std::uint8_t pointFormat, std::uint16_t numExtraBytes, std::uint32_t chunkSize) {
  LazVlr vlr;
  vlr.items = itemsOf(pointFormat, numExtraBytes);
  vlr.compressor = vlr.items.front().type == ItemType::Point14 ? Compressor::Layered : Compressor::Chunked;
  vlr.chunkSize = chunkSize;
  return vlr;
}

bool isOfPointFormat(const LazVlr& vlr, std::uint8_t pointFormat) {
  const std::vector<Item> standard = itemsOf(pointFormat, 0);
  if (vlr.items.size() < standard.size()) return false;
  for (std::size_t i = 0; i < vlr.items.size(); ++i) {
    const ItemType type = vlr.items[i].type;
    const bool isExtra = type == ItemType::Byte || type == ItemType::Byte14;
    if (i < standard.size() ? type != standard[i].type : !isExtra) return false;
  }
  return true;
}

}  // namespace Formats::Laz
