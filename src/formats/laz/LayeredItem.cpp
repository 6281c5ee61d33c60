#include "formats/laz/LayeredItem.h"

#include <cstring>
#include <stdexcept>
#include <vector>

#include "core/LittleEndian.h"
#include "formats/laz/ColorDecoder.h"
#include "formats/laz/WavePacketDecoder.h"

namespace Formats::Laz {
namespace {

constexpr std::uint16_t kFirstSoundVersion = 4;

/// One layer of an item, with contexts of models and last values for the scanner channels.
///
/// From version 4 on a point belongs to the context of its channel. Before, encoders chose otherwise, and
/// decoders must do as they did: a point whose channel is another than the last point's belongs to the
/// context of its channel, all others to that of channel 0; and the point that goes back to a context takes
/// its models, but follows and replaces the last value of the context before.
template <class Models, class Value>
class ItemLayer {
 public:
  explicit ItemLayer(std::uint16_t version) : isSound_(version >= kFirstSoundVersion) {}

  void start(const Value& first, std::size_t channel) {
    isStarted_ = {};
    current_ = channel;
    make(channel, first);
  }

  /// Decodes the values of points, each by @p next from models, decoder and last value, and stores them by
  /// @p store.
  template <class Next, class Store>
  void decode(Layer& layer, const LayeredPoints& points, const Next& next, const Store& store) {
    if (layer.isEmpty()) {
      for (std::size_t i = 0; i < points.size(); ++i) store(points.record(i), last_[current_]);
      return;
    }
    RangeDecoder decoder = layer.decoder;
    for (std::size_t i = 0; i < points.size(); ++i) {
      Value& last = select(contextOf(points.traces[i]));
      last = next(*models_[current_], decoder, last);
      store(points.record(i), last);
    }
    layer.decoder = decoder;
  }

 private:
  [[nodiscard]] std::size_t contextOf(const PointTrace& trace) const {
    return isSound_ || trace.isChannelNew ? trace.channel : 0;
  }

  /// Goes to a context.
  /// @return the last value, which the next one follows and takes the place of.
  Value& select(std::size_t context) {
    if (context == current_) [[likely]]
      return last_[current_];
    Value& lastOfOther = last_[current_];
    const bool isNew = !isStarted_[context];
    if (isNew) make(context, lastOfOther);
    current_ = context;
    return isNew || isSound_ ? last_[context] : lastOfOther;
  }

  void make(std::size_t context, const Value& last) {
    if (!models_[context]) models_[context] = std::make_unique<Models>();
    models_[context]->reset();
    last_[context] = last;
    isStarted_[context] = true;
  }

  bool isSound_;
  std::array<std::unique_ptr<Models>, kChannels> models_;
  std::array<Value, kChannels> last_{};
  std::array<bool, kChannels> isStarted_{};
  std::size_t current_ = 0;
};

class ColorLayer {
 public:
  explicit ColorLayer(std::uint16_t version) : values_(version) {}

  void start(const std::byte* first, std::size_t channel) {
    Color color;
    std::memcpy(color.data(), first, sizeof color);
    values_.start(color, channel);
  }
  void decode(Layer& layer, const LayeredPoints& points) {
    values_.decode(
        layer, points,
        [](ColorDecoder& models, RangeDecoder& decoder, const Color& last) {
          return models.decode(decoder, last);
        },
        [](std::byte* record, const Color& color) { std::memcpy(record, color.data(), sizeof color); });
  }

 private:
  ItemLayer<ColorDecoder, Color> values_;
};

class Rgb14 final : public LayeredItem {
 public:
  explicit Rgb14(std::uint16_t version) : colors_(version) { layers_[0].name = "RGB14"; }

  [[nodiscard]] std::span<Layer> layers() override { return layers_; }
  void start(const std::byte* first, std::size_t channel) override { colors_.start(first, channel); }
  void decode(const LayeredPoints& points) override { colors_.decode(layers_[0], points); }

 private:
  std::array<Layer, 1> layers_;
  ColorLayer colors_;
};

struct NirModels {
  void reset() {
    used.reset();
    low.reset();
    high.reset();
  }
  DecodingModel<4> used;  // which bytes differ from the last value's
  DecodingModel<256> low;
  DecodingModel<256> high;
};

class RgbNir14 final : public LayeredItem {
 public:
  explicit RgbNir14(std::uint16_t version) : colors_(version), nir_(version) {
    layers_[0].name = "RGBNIR14, colour";
    layers_[1].name = "RGBNIR14, near infrared";
  }

  [[nodiscard]] std::span<Layer> layers() override { return layers_; }
  void start(const std::byte* first, std::size_t channel) override {
    colors_.start(first, channel);
    nir_.start(Core::loadLittleEndian<std::uint16_t>(first + kNirAt), channel);
  }
  void decode(const LayeredPoints& points) override {
    colors_.decode(layers_[0], points);
    nir_.decode(layers_[1], points, nextNir,
                [](std::byte* record, std::uint16_t nir) { Core::storeLittleEndian(record + kNirAt, nir); });
  }

 private:
  static constexpr std::size_t kNirAt = sizeof(Color);

  static std::uint16_t nextNir(NirModels& models, RangeDecoder& decoder, std::uint16_t last) {
    const std::size_t used = decoder.symbol(models.used);
    std::size_t low = last & 0xFFU;
    std::size_t high = static_cast<std::size_t>(last) >> 8U;
    if ((used & 1U) != 0) low = (low + decoder.symbol(models.low)) & 0xFFU;
    if ((used & 2U) != 0) high = (high + decoder.symbol(models.high)) & 0xFFU;
    return static_cast<std::uint16_t>(high << 8U | low);
  }

  std::array<Layer, 2> layers_;
  ColorLayer colors_;
  ItemLayer<NirModels, std::uint16_t> nir_;
};

class WavePacket14 final : public LayeredItem {
 public:
  explicit WavePacket14(std::uint16_t version) : packets_(version) { layers_[0].name = "WAVEPACKET14"; }

  [[nodiscard]] std::span<Layer> layers() override { return layers_; }
  void start(const std::byte* first, std::size_t channel) override {
    packets_.start(WavePacket::load(first), channel);
  }
  void decode(const LayeredPoints& points) override {
    packets_.decode(
        layers_[0], points,
        [](WavePacketDecoder& models, RangeDecoder& decoder, const WavePacket& last) {
          return models.decode(decoder, last);
        },
        [](std::byte* record, const WavePacket& packet) { packet.store(record); });
  }

 private:
  std::array<Layer, 1> layers_;
  ItemLayer<WavePacketDecoder, WavePacket> packets_;
};

class Byte14 final : public LayeredItem {
 public:
  explicit Byte14(const Item& item) : layers_(item.size) {
    for (std::size_t i = 0; i < layers_.size(); ++i) {
      layers_[i].name = "BYTE14, byte " + std::to_string(i);
      bytes_.emplace_back(item.version);
    }
  }

  [[nodiscard]] std::span<Layer> layers() override { return layers_; }
  void start(const std::byte* first, std::size_t channel) override {
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
      bytes_[i].start(std::to_integer<std::uint8_t>(first[i]), channel);
    }
  }
  void decode(const LayeredPoints& points) override {
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
      bytes_[i].decode(
          layers_[i], points,
          [](DecodingModel<256>& model, RangeDecoder& decoder, std::uint8_t last) {
            return static_cast<std::uint8_t>(last + decoder.symbol(model));
          },
          [i](std::byte* record, std::uint8_t byte) { record[i] = std::byte{byte}; });
    }
  }

 private:
  std::vector<Layer> layers_;
  std::vector<ItemLayer<DecodingModel<256>, std::uint8_t>> bytes_;
};

}  // namespace

std::unique_ptr<LayeredItem> makeLayeredItem(const Item& item) {
  switch (item.type) {
    case ItemType::Point14:
      return makePoint14();
    case ItemType::Rgb14:
      return std::make_unique<Rgb14>(item.version);
    case ItemType::RgbNir14:
      return std::make_unique<RgbNir14>(item.version);
    case ItemType::WavePacket14:
      return std::make_unique<WavePacket14>(item.version);
    case ItemType::Byte14:
      return std::make_unique<Byte14>(item);
    default:
      throw std::invalid_argument(nameOf(item) + " is no item of layered chunks");
  }
}

}  // namespace Formats::Laz
