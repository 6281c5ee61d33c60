#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "formats/laz/RangeEncoder.h"
#include "formats/laz/RgbEncoder.h"

namespace Formats::Laz {

/// The models that an item of version 3 keeps for each scanner channel, and the item that the next one is
/// held against. When the channel changes to one that there was before, the models are that channel's, but
/// the item stays that of the channel left: so all files of this version were written.
template <class Models>
class ChannelModels {
 public:
  /// @param first  the chunk's first item, and its channel.
  ChannelModels(std::size_t channel, const std::byte* first, const Models& fresh)
      : fresh_(fresh), current_(channel) {
    begin(channel, first);
  }

  /// Holds until the next call. The item is to be replaced by the one that was coded.
  struct Selected {
    Models& models;
    const std::byte*& last;
  };

  Selected select(std::size_t channel) {
    const std::size_t before = current_;
    current_ = channel;
    const bool isNew = models_[channel] == nullptr;
    if (isNew) begin(channel, last_[before]);
    return {*models_[channel], last_[isNew ? channel : before]};
  }

 private:
  static constexpr std::size_t kChannels = 4;

  void begin(std::size_t channel, const std::byte* last) {
    models_[channel] = std::make_unique<Models>(fresh_);
    last_[channel] = last;
  }

  Models fresh_;
  std::array<std::unique_ptr<Models>, kChannels> models_;
  std::array<const std::byte*, kChannels> last_{};
  std::size_t current_;
};

/// Codes the colours of the point formats 7 and 8, item version 3: a layer for red, green and blue, and one
/// for near infrared where there is some. The chunk's records must outlive it, as for all layered items.
class Rgb14Encoder {
 public:
  /// @param channel  of the chunk's first record.
  /// @param first    its colour, which is not coded.
  /// @param changes  of each byte of it, the bits that differ in any other record: 6 bytes, or 8 with near
  ///                 infrared.
  Rgb14Encoder(std::size_t channel, const std::byte* first, std::span<const std::byte> changes);

  /// @param channel  as Point14Encoder::encode() gives it.
  void encode(std::size_t channel, const std::byte* color);

  [[nodiscard]] std::size_t numLayers() const { return hasNir_ ? 2 : 1; }
  /// Ends a layer. @return its bytes, which live as long as this object.
  [[nodiscard]] std::span<const std::byte> finish(std::size_t layer);

 private:
  struct Models {
    RgbEncoder rgb;
    NirEncoder nir;
  };

  bool hasNir_;
  std::array<bool, 2> isWritten_{};
  std::array<RangeEncoder, 2> layers_;
  ChannelModels<Models> models_;
};

/// Codes extra bytes, item version 3: a layer each.
class Byte14Encoder {
 public:
  /// The same as for colours.
  Byte14Encoder(std::size_t channel, const std::byte* first, std::span<const std::byte> changes);

  void encode(std::size_t channel, const std::byte* bytes);

  [[nodiscard]] std::size_t numLayers() const { return layers_.size(); }
  [[nodiscard]] std::span<const std::byte> finish(std::size_t layer);

 private:
  using Models = std::vector<SymbolModel<256>>;

  std::vector<std::size_t> written_;  // the bytes that change
  std::vector<RangeEncoder> layers_;
  ChannelModels<Models> models_;  // of those that change
};

}  // namespace Formats::Laz
