#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "formats/laz/LazVlr.h"
#include "formats/laz/RangeDecoder.h"

namespace Formats::Laz {

/// Scanner channels: the points of each are coded apart from those of the others.
inline constexpr std::size_t kChannels = 4;

/// What the other layers need to know of a point from the first one.
struct PointTrace {
  std::uint8_t channel = 0;
  bool isChannelNew = false;  ///< whether the point before was of another channel
  std::uint8_t returnContext = 0;
  std::uint8_t returnLevel = 0;
  std::uint8_t zContext = 0;
  bool isTimeNew = false;
  bool isAngleNew = false;
  bool isSourceNew = false;
};

/// Points that are being decoded: their records, one after the other, and their traces.
struct LayeredPoints {
  std::byte* records = nullptr;  ///< the item's part of the first of them
  std::size_t recordLength = 0;
  std::span<PointTrace> traces;

  [[nodiscard]] std::size_t size() const { return traces.size(); }
  [[nodiscard]] std::byte* record(std::size_t point) const { return records + point * recordLength; }
};

/// A layer of a chunk: the stream of one attribute. One without bytes means that the attribute does not
/// change.
struct Layer {
  std::string name;  ///< for messages
  std::span<const std::byte> bytes;
  RangeDecoder decoder;

  [[nodiscard]] bool isEmpty() const { return bytes.empty(); }

  void start(std::span<const std::byte> stream) {
    bytes = stream;
    decoder = RangeDecoder(stream);
  }
};

/// Decodes one item of the points of layered chunks, point after point.
class LayeredItem {
 public:
  virtual ~LayeredItem() = default;

  /// The streams that the item has in a chunk, in their order.
  [[nodiscard]] virtual std::span<Layer> layers() = 0;

  /// Begins a chunk, whose layers were started.
  /// @param first  the item's bytes of the chunk's first point, which is stored as it is.
  virtual void start(const std::byte* first, std::size_t channel) = 0;

  /// Writes the item of the next points. The traces come from the first item, which writes them.
  virtual void decode(const LayeredPoints& points) = 0;
};

/// Contexts of an attribute, one a channel, made when a channel first comes up: Context() and start(value)
/// make one for a channel whose first value follows @p value, which is context.last of the channel before.
template <class Context>
class Channels {
 public:
  /// Begins a chunk. Contexts stay allocated.
  template <class Value>
  void start(const Value& first, std::size_t channel) {
    isStarted_ = {};
    current_ = channel;
    make(first, channel);
  }

  [[nodiscard]] Context& current() { return *contexts_[current_]; }

  /// The context of a channel, which is the current one from now on.
  Context& select(std::size_t channel) {
    if (channel != current_) [[unlikely]] {
      if (!isStarted_[channel]) make(contexts_[current_]->last, channel);
      current_ = channel;
    }
    return *contexts_[channel];
  }

 private:
  template <class Value>
  void make(const Value& last, std::size_t channel) {
    if (!contexts_[channel]) contexts_[channel] = std::make_unique<Context>();
    contexts_[channel]->start(last);
    isStarted_[channel] = true;
  }

  std::array<std::unique_ptr<Context>, kChannels> contexts_;
  std::array<bool, kChannels> isStarted_{};
  std::size_t current_ = 0;
};

/// Scanner channel of a record of point formats 6 to 10.
inline std::size_t channelOf(const std::byte* record) {
  return std::to_integer<std::size_t>(record[15]) >> 4U & 3U;
}

/// POINT14, which all records of layered chunks begin with.
[[nodiscard]] std::unique_ptr<LayeredItem> makePoint14();

/// @param item  of a type and version that belongs to layered chunks.
[[nodiscard]] std::unique_ptr<LayeredItem> makeLayeredItem(const Item& item);

}  // namespace Formats::Laz
