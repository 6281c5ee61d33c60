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
  /// Begins a chunk with an item that is not coded.
  void start(std::size_t channel, const std::byte* first) {
    last_.fill(nullptr);
    current_ = channel;
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
    const bool isNew = last_[channel] == nullptr;
    if (isNew) begin(channel, last_[before]);
    return {*models_[channel], last_[isNew ? channel : before]};
  }

 private:
  static constexpr std::size_t kChannels = 4;

  void begin(std::size_t channel, const std::byte* last) {
    if (models_[channel] == nullptr) models_[channel] = std::make_unique<Models>();
    models_[channel]->reset();
    last_[channel] = last;
  }

  std::array<std::unique_ptr<Models>, kChannels> models_;  // made when they are first needed
  std::array<const std::byte*, kChannels> last_{};  // of the chunk; null for a channel that it has not had
  std::size_t current_ = 0;
};

/// Codes the colours of the point formats 7 and 8, item version 3: a layer for red, green and blue, and one
/// for near infrared where there is some. A chunk's records must outlive its encoding, as for all layered
/// items.
class Rgb14Encoder {
 public:
  /// @param hasNir  whether items are of 8 bytes, not of 6.
  explicit Rgb14Encoder(bool hasNir) : hasNir_(hasNir) {}

  /// Begins a chunk.
  /// @param channel  of its first record.
  /// @param first    its first colour, which is not coded.
  /// @param changes  of each byte of it, the bits that differ in any other record.
  void start(std::size_t channel, const std::byte* first, std::span<const std::byte> changes);

  /// @param channel  as Point14Encoder::encode() gives it.
  void encode(std::size_t channel, const std::byte* color);

  /// Ends the layers, whose bytes stay until the next start(): empty ones of what never changes.
  void finish(std::vector<std::span<const std::byte>>& layers);

 private:
  struct Models {
    RgbEncoder rgb;
    NirEncoder nir;
    void reset();
  };

  bool hasNir_;
  std::array<bool, 2> isWritten_{};
  std::array<RangeEncoder, 2> layers_;
  ChannelModels<Models> models_;
};

/// Codes extra bytes, item version 3: a layer each.
class Byte14Encoder {
 public:
  explicit Byte14Encoder(std::size_t numBytes) : layers_(numBytes) {}

  /// The same as for colours.
  void start(std::size_t channel, const std::byte* first, std::span<const std::byte> changes);
  void encode(std::size_t channel, const std::byte* bytes);
  void finish(std::vector<std::span<const std::byte>>& layers);

 private:
  struct Models {
    std::vector<SymbolModel<256>> bytes;  // one for each of the item's, once it is coded
    void reset();
  };

  std::vector<std::size_t> written_;  // the bytes that change
  std::vector<RangeEncoder> layers_;
  ChannelModels<Models> models_;
};

}  // namespace Formats::Laz
