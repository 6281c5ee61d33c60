#include "formats/laz/PointwiseItem.h"

#include <array>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "core/LittleEndian.h"
#include "formats/laz/ColorDecoder.h"
#include "formats/laz/GpsTimeDecoder.h"
#include "formats/laz/WavePacketDecoder.h"

namespace Formats::Laz {
namespace {

class GpsTime11Version1 final : public PointwiseItem {
 public:
  void start(const std::byte* first) override {
    none_.reset();
    some_.reset();
    integers_.reset();
    time_ = Core::loadLittleEndian<std::uint64_t>(first);
    usual_ = 0;
    unusual_ = 0;
  }

  void decode(RangeDecoder& decoder, std::byte* out) override {
    if (usual_ == 0) {
      withoutUsual(decoder);
    } else {
      withUsual(decoder);
    }
    Core::storeLittleEndian(out, time_);
  }

 private:
  static constexpr unsigned kLargest = 509;  // the largest multiple of the usual difference
  static constexpr unsigned kNewTime = 510;

  void withoutUsual(RangeDecoder& decoder) {
    const std::size_t code = decoder.symbol(none_);
    if (code == 1) {
      usual_ = integers_.decode(decoder, 0, 0);
      advance(usual_);
    } else if (code == 2) {
      time_ = decoder.bits64();
    }
  }

  void withUsual(RangeDecoder& decoder) {
    const auto code = static_cast<unsigned>(decoder.symbol(some_));
    if (code == 1) {
      usual_ = integers_.decode(decoder, usual_, 1);
      advance(usual_);
      unusual_ = 0;
    } else if (code == 0) {
      const std::int32_t quarter = static_cast<std::int32_t>(usual_) / 4;
      advanceUnusually(integers_.decode(decoder, static_cast<std::uint32_t>(quarter), 2));
    } else if (code < kLargest) {
      advance(integers_.decode(decoder, code * usual_, code < 10 ? 3 : code < 50 ? 4 : 5));
    } else if (code == kLargest) {
      advanceUnusually(integers_.decode(decoder, code * usual_, 5));
    } else if (code == kNewTime) {
      time_ = decoder.bits64();
    }
  }

  void advance(std::uint32_t difference) {
    time_ += static_cast<std::uint64_t>(std::int64_t{static_cast<std::int32_t>(difference)});
  }

  void advanceUnusually(std::uint32_t difference) {
    constexpr unsigned kMany = 3;
    advance(difference);
    if (++unusual_ <= kMany) return;
    usual_ = difference;
    unusual_ = 0;
  }

  DecodingModel<3> none_;    // codes without a usual difference
  DecodingModel<512> some_;  // codes with one
  IntegerDecoder<32, 6> integers_;
  std::uint64_t time_ = 0;
  std::uint32_t usual_ = 0;
  unsigned unusual_ = 0;  // how often the usual difference was not met
};

class GpsTime11Version2 final : public PointwiseItem {
 public:
  void start(const std::byte* first) override { times_.reset(Core::loadLittleEndian<std::uint64_t>(first)); }
  void decode(RangeDecoder& decoder, std::byte* out) override {
    Core::storeLittleEndian(out, times_.decode(decoder));
  }

 private:
  GpsTimeDecoder<true> times_;
};

class Rgb12Version1 final : public PointwiseItem {
 public:
  void start(const std::byte* first) override {
    used_.reset();
    bytes_.reset();
    std::memcpy(last_.data(), first, last_.size());
  }
  void decode(RangeDecoder& decoder, std::byte* out) override {
    const std::size_t used = decoder.symbol(used_);
    for (std::size_t i = 0; i < last_.size(); ++i) {
      if ((used >> i & 1U) != 0) last_[i] = static_cast<std::uint8_t>(bytes_.decode(decoder, last_[i], i));
    }
    std::memcpy(out, last_.data(), last_.size());
  }

 private:
  DecodingModel<64> used_;
  IntegerDecoder<8, 6> bytes_;
  std::array<std::uint8_t, 6> last_{};
};

class Rgb12Version2 final : public PointwiseItem {
 public:
  void start(const std::byte* first) override {
    colors_.reset();
    std::memcpy(last_.data(), first, sizeof last_);
  }
  void decode(RangeDecoder& decoder, std::byte* out) override {
    last_ = colors_.decode(decoder, last_);
    std::memcpy(out, last_.data(), sizeof last_);
  }

 private:
  ColorDecoder colors_;
  Color last_{};
};

class ByteVersion1 final : public PointwiseItem {
 public:
  explicit ByteVersion1(std::size_t size) : sizes_(size), last_(size) {}

  void start(const std::byte* first) override {
    for (auto& model : sizes_) model.reset();
    bytes_.reset();
    std::memcpy(last_.data(), first, last_.size());
  }
  void decode(RangeDecoder& decoder, std::byte* out) override {
    for (std::size_t i = 0; i < last_.size(); ++i) {
      last_[i] = static_cast<std::uint8_t>(bytes_.decode(decoder, last_[i], sizes_[i]));
    }
    std::memcpy(out, last_.data(), last_.size());
  }

 private:
  std::vector<DifferenceDecoder<8>::SizeModel> sizes_;  // one a byte
  DifferenceDecoder<8> bytes_;
  std::vector<std::uint8_t> last_;
};

class ByteVersion2 final : public PointwiseItem {
 public:
  explicit ByteVersion2(std::size_t size) : differences_(size), last_(size) {}

  void start(const std::byte* first) override {
    for (auto& model : differences_) model.reset();
    std::memcpy(last_.data(), first, last_.size());
  }
  void decode(RangeDecoder& decoder, std::byte* out) override {
    for (std::size_t i = 0; i < last_.size(); ++i) {
      last_[i] = static_cast<std::uint8_t>(last_[i] + decoder.symbol(differences_[i]));
    }
    std::memcpy(out, last_.data(), last_.size());
  }

 private:
  std::vector<DecodingModel<256>> differences_;
  std::vector<std::uint8_t> last_;
};

class WavePacket13 final : public PointwiseItem {
 public:
  void start(const std::byte* first) override {
    packets_.reset();
    last_ = WavePacket::load(first);
  }
  void decode(RangeDecoder& decoder, std::byte* out) override {
    last_ = packets_.decode(decoder, last_);
    last_.store(out);
  }

 private:
  WavePacketDecoder packets_;
  WavePacket last_;
};

}  // namespace

std::unique_ptr<PointwiseItem> makePointwiseItem(const Item& item) {
  const bool isVersion1 = item.version == 1;
  switch (item.type) {
    case ItemType::Point10:
      return makePoint10(item.version);
    case ItemType::GpsTime11:
      if (isVersion1) return std::make_unique<GpsTime11Version1>();
      return std::make_unique<GpsTime11Version2>();
    case ItemType::Rgb12:
      if (isVersion1) return std::make_unique<Rgb12Version1>();
      return std::make_unique<Rgb12Version2>();
    case ItemType::WavePacket13:
      return std::make_unique<WavePacket13>();
    case ItemType::Byte:
      if (isVersion1) return std::make_unique<ByteVersion1>(item.size);
      return std::make_unique<ByteVersion2>(item.size);
    default:
      throw std::invalid_argument(nameOf(item) + " is no item of point-wise compression");
  }
}

}  // namespace Formats::Laz
