#include "support/LazEncoder.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>

#include "formats/laz/StreamingMedian.h"
#include "support/LasFile.h"

namespace Testing {
namespace {

using Formats::Laz::SymbolModel;

template <class T>
T get(const std::string& bytes, std::size_t offset) {
  T value;
  std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

std::uint8_t byteOf(const std::string& record, std::size_t offset) {
  return get<std::uint8_t>(record, offset);
}

/// An item of version 1 of the points of one chunk.
class Item {
 public:
  virtual ~Item() = default;
  virtual void encode(RangeEncoder& out, const std::string& last, const std::string& next) = 0;
};

using ByteModels = std::map<std::uint8_t, SymbolModel<256>>;  // by the last value

class Point10 final : public Item {
 public:
  void encode(RangeEncoder& out, const std::string& last, const std::string& next) override {
    const auto difference = [&](std::size_t at) {
      return get<std::uint32_t>(next, at) - get<std::uint32_t>(last, at);
    };
    dx_.encode(out, median(lastDx_), difference(0));
    push(lastDx_, difference(0));
    dy_.encode(out, median(lastDy_), difference(4), std::min(dx_.k(), 19U));
    push(lastDy_, difference(4));
    const unsigned k = (dx_.k() + dy_.k()) / 2;
    z_.encode(out, get<std::uint32_t>(last, 8), get<std::uint32_t>(next, 8), std::min(k, 19U));
    const auto differs = [&](std::size_t at, std::size_t size) {
      return last.compare(at, size, next, at, size) != 0;
    };
    out.symbol(changed_, (differs(12, 2) ? 32U : 0U) | (differs(14, 1) ? 16U : 0U) |
                             (differs(15, 1) ? 8U : 0U) | (differs(16, 1) ? 4U : 0U) |
                             (differs(17, 1) ? 2U : 0U) | (differs(18, 2) ? 1U : 0U));
    const auto seldom = [&](ByteModels& models, std::size_t at) {
      if (differs(at, 1)) out.symbol(models[byteOf(last, at)], byteOf(next, at));
    };
    if (differs(12, 2)) {
      intensity_.encode(out, get<std::uint16_t>(last, 12), get<std::uint16_t>(next, 12));
    }
    seldom(returns_, 14);
    seldom(classification_, 15);
    if (differs(16, 1)) angle_.encode(out, byteOf(last, 16), byteOf(next, 16), k < 3 ? 1 : 0);
    seldom(userData_, 17);
    if (differs(18, 2)) source_.encode(out, get<std::uint16_t>(last, 18), get<std::uint16_t>(next, 18));
  }

 private:
  static std::uint32_t median(std::array<std::int32_t, 3> values) {
    std::sort(values.begin(), values.end());
    return static_cast<std::uint32_t>(values[1]);
  }
  static void push(std::array<std::int32_t, 3>& values, std::uint32_t value) {
    values = {values[1], values[2], static_cast<std::int32_t>(value)};
  }

  SymbolModel<64> changed_;
  ByteModels returns_;
  ByteModels classification_;
  ByteModels userData_;
  IntegerEncoder<32, 1> dx_;
  IntegerEncoder<32, 20> dy_;
  IntegerEncoder<32, 20> z_;
  IntegerEncoder<16, 1> intensity_;
  IntegerEncoder<8, 2> angle_;
  IntegerEncoder<16, 1> source_;
  std::array<std::int32_t, 3> lastDx_{};
  std::array<std::int32_t, 3> lastDy_{};
};

class GpsTime11 final : public Item {
 public:
  void encode(RangeEncoder& out, const std::string& last, const std::string& next) override {
    const std::int64_t difference = get<std::int64_t>(next, 20) - get<std::int64_t>(last, 20);
    const bool isShort = difference == static_cast<std::int32_t>(difference);
    if (usual_ == 0) {
      out.symbol(none_, difference == 0 ? 0 : isShort ? 1 : 2);
      if (difference != 0 && isShort) {
        usual_ = static_cast<std::int32_t>(difference);
        integers_.encode(out, 0, static_cast<std::uint32_t>(usual_), 0);
      }
    } else {
      withUsual(out, difference, isShort);
      if (difference == 0 || isShort) return;
    }
    if (!isShort) {
      for (const unsigned shift : {0U, 16U, 32U, 48U}) {
        out.bits(16, static_cast<std::uint32_t>(get<std::uint64_t>(next, 20) >> shift & 0xFFFFU));
      }
    }
  }

 private:
  void withUsual(RangeEncoder& out, std::int64_t difference, bool isShort) {
    const std::int64_t multiple = difference / usual_;
    const auto stored = static_cast<std::uint32_t>(difference);
    if (difference == 0) {
      out.symbol(some_, 511);
    } else if (!isShort) {
      out.symbol(some_, 510);
    } else if (multiple >= 2 && multiple <= 508) {
      out.symbol(some_, static_cast<std::size_t>(multiple));
      integers_.encode(out, static_cast<std::uint32_t>(multiple * usual_), stored,
                       multiple < 10   ? 3
                       : multiple < 50 ? 4
                                       : 5);
    } else {
      out.symbol(some_, 1);
      integers_.encode(out, static_cast<std::uint32_t>(usual_), stored, 1);
      usual_ = static_cast<std::int32_t>(difference);
    }
  }

  SymbolModel<3> none_;
  SymbolModel<512> some_;
  IntegerEncoder<32, 6> integers_;
  std::int32_t usual_ = 0;
};

class Rgb12 final : public Item {
 public:
  explicit Rgb12(std::size_t offset) : offset_(offset) {}

  void encode(RangeEncoder& out, const std::string& last, const std::string& next) override {
    std::size_t used = 0;
    for (std::size_t i = 0; i < 6; ++i) used |= (last[offset_ + i] != next[offset_ + i] ? 1U : 0U) << i;
    out.symbol(used_, used);
    for (std::size_t i = 0; i < 6; ++i) {
      if ((used >> i & 1U) != 0) bytes_.encode(out, byteOf(last, offset_ + i), byteOf(next, offset_ + i), i);
    }
  }

 private:
  std::size_t offset_;
  SymbolModel<64> used_;
  IntegerEncoder<8, 6> bytes_;
};

class Bytes final : public Item {
 public:
  explicit Bytes(std::size_t offset) : offset_(offset) {}

  void encode(RangeEncoder& out, const std::string& last, const std::string& next) override {
    for (std::size_t i = offset_; i < next.size(); ++i) {
      bytes_.encode(out, byteOf(last, i), byteOf(next, i), i - offset_);
    }
  }

 private:
  std::size_t offset_;
  IntegerEncoder<8, 64> bytes_;
};

/// Of one scanner channel: its models and its last point.
struct Channel {
  SymbolModel<128> changed;
  SymbolModel<3> channel;
  IntegerEncoder<32, 2> dx;
  IntegerEncoder<32, 22> dy;
  IntegerEncoder<32, 20> z;
  Formats::Laz::StreamingMedian x;
  Formats::Laz::StreamingMedian y;
  std::string last;
};

unsigned channelOf(const std::string& record) { return byteOf(record, 15) >> 4U & 3U; }

/// The layers of x and y, and of z.
std::array<std::string, 2> encodePlaces(const std::vector<std::string>& records) {
  std::array<std::unique_ptr<Channel>, 4> channels;
  unsigned current = channelOf(records.front());
  channels[current] = std::make_unique<Channel>();
  channels[current]->last = records.front();
  RangeEncoder places;
  RangeEncoder heights;
  for (std::size_t i = 1; i < records.size(); ++i) {
    const std::string& record = records[i];
    const unsigned next = channelOf(record);
    places.symbol(channels[current]->changed, next == current ? 0 : 64);
    if (next != current) {
      places.symbol(channels[current]->channel, (next + 3 - current) % 4);
      if (!channels[next]) {
        channels[next] = std::make_unique<Channel>();
        channels[next]->last = channels[current]->last;
      }
      current = next;
    }
    Channel& channel = *channels[current];
    const auto dx = get<std::uint32_t>(record, 0) - get<std::uint32_t>(channel.last, 0);
    const auto dy = get<std::uint32_t>(record, 4) - get<std::uint32_t>(channel.last, 4);
    channel.dx.encode(places, static_cast<std::uint32_t>(channel.x.get()), dx, 1);
    const unsigned kx = channel.dx.k();
    channel.dy.encode(places, static_cast<std::uint32_t>(channel.y.get()), dy, 1 + (kx < 20 ? kx & ~1U : 20));
    channel.x.add(static_cast<std::int32_t>(dx));
    channel.y.add(static_cast<std::int32_t>(dy));
    const unsigned k = (kx + channel.dy.k()) / 2;
    channel.z.encode(heights, get<std::uint32_t>(channel.last, 8), get<std::uint32_t>(record, 8),
                     1 + (k < 18 ? k & ~1U : 18));
    channel.last = record;
  }
  return {places.finish(), heights.finish()};
}

/// The layer of extra byte number @p at of the record.
std::string encodeByteLayer(const std::vector<std::string>& records, std::size_t at, std::uint16_t version) {
  std::array<std::unique_ptr<SymbolModel<256>>, 4> models;
  std::array<std::uint8_t, 4> last{};
  unsigned current = channelOf(records.front());
  models[current] = std::make_unique<SymbolModel<256>>();
  last[current] = byteOf(records.front(), at);
  RangeEncoder out;
  for (std::size_t i = 1; i < records.size(); ++i) {
    const unsigned channel = channelOf(records[i]);
    const bool isOther = channel != channelOf(records[i - 1]);
    const unsigned context = version >= 4 || isOther ? channel : 0;
    unsigned owner = version >= 4 ? context : current;  // of the last value
    if (!models[context]) {
      models[context] = std::make_unique<SymbolModel<256>>();
      last[context] = last[current];
      owner = context;
    }
    current = context;
    const std::uint8_t byte = byteOf(records[i], at);
    out.symbol(*models[context], static_cast<std::uint8_t>(byte - last[owner]));
    last[owner] = byte;
  }
  return out.finish();
}

}  // namespace

void RangeEncoder::bit(Formats::Laz::BitModel& model, bool bit) {
  const std::uint32_t split = model.ofZero() * (length_ >> Formats::Laz::BitModel::kProbabilityBits);
  narrow(bit ? split : 0, bit ? length_ - split : split);
  model.count(bit);
}

void RangeEncoder::bits(unsigned count, std::uint32_t value) {
  if (count > 19) {
    bits(16, value & 0xFFFFU);
    return bits(count - 16, value >> 16U);
  }
  const std::uint32_t unit = length_ >> count;
  narrow(value * unit, unit);
}

void RangeEncoder::narrow(std::uint32_t low, std::uint32_t length) {
  const std::uint32_t before = base_;
  base_ += low;
  length_ = length;
  if (base_ < before) {  // carry
    std::size_t at = bytes_.size() - 1;
    for (; static_cast<unsigned char>(bytes_[at]) == 0xFF; --at) bytes_[at] = 0;
    ++bytes_[at];
  }
  for (; length_ < 1U << 24U; length_ <<= 8U, base_ <<= 8U) bytes_ += static_cast<char>(base_ >> 24U);
}

std::string RangeEncoder::finish() {
  const bool isLong = length_ > 1U << 25U;
  narrow(isLong ? 1U << 24U : 1U << 23U, isLong ? 1U << 23U : 1U << 15U);
  return bytes_ + std::string(isLong ? 3 : 2, '\0');
}

std::string encodeVersion1(std::uint8_t pointFormat, const std::vector<std::string>& records) {
  std::vector<std::unique_ptr<Item>> items;
  items.push_back(std::make_unique<Point10>());
  std::size_t size = 20;
  if (pointFormat == 1 || pointFormat == 3) {
    items.push_back(std::make_unique<GpsTime11>());
    size += 8;
  }
  if (pointFormat >= 2) {
    items.push_back(std::make_unique<Rgb12>(size));
    size += 6;
  }
  if (records.front().size() > size) items.push_back(std::make_unique<Bytes>(size));
  RangeEncoder out;
  for (std::size_t i = 1; i < records.size(); ++i) {
    for (const auto& item : items) item->encode(out, records[i - 1], records[i]);
  }
  return records.front() + out.finish();
}

std::string encodeLayered(const std::vector<std::string>& records, std::uint16_t byteVersion) {
  constexpr std::size_t kStandardSize = 30;
  std::vector<std::string> layers(9);
  const auto places = encodePlaces(records);
  std::copy(places.begin(), places.end(), layers.begin());
  for (std::size_t at = kStandardSize; at < records.front().size(); ++at) {
    layers.push_back(encodeByteLayer(records, at, byteVersion));
  }
  std::string chunk = records.front();
  put(chunk, chunk.size(), static_cast<std::uint32_t>(records.size()));
  for (const std::string& layer : layers) put(chunk, chunk.size(), static_cast<std::uint32_t>(layer.size()));
  for (const std::string& layer : layers) chunk += layer;
  return chunk;
}

std::string encodeChunkTable(const std::vector<std::string>& chunks) { return encodeChunkTable(chunks, {}); }

std::string encodeChunkTable(const std::vector<std::string>& chunks,
                             const std::vector<std::uint32_t>& counts) {
  RangeEncoder out;
  IntegerEncoder<32, 2> integers;
  std::uint32_t lastCount = 0;
  std::uint32_t lastSize = 0;
  for (std::size_t i = 0; i < chunks.size(); ++i) {
    if (!counts.empty()) {
      integers.encode(out, lastCount, counts[i], 0);
      lastCount = counts[i];
    }
    const auto size = static_cast<std::uint32_t>(chunks[i].size());
    integers.encode(out, lastSize, size, 1);
    lastSize = size;
  }
  std::string table(4, '\0');
  put(table, 4, static_cast<std::uint32_t>(chunks.size()));
  return chunks.empty() ? table : table + out.finish();
}

}  // namespace Testing
