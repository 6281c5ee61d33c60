// The fields that all points of formats 6 to 10 have.
#include <algorithm>

#include "core/LittleEndian.h"
#include "formats/laz/GpsTimeDecoder.h"
#include "formats/laz/IntegerDecoder.h"
#include "formats/laz/LayeredItem.h"
#include "formats/laz/ReturnMaps.h"
#include "formats/laz/StreamingMedian.h"

namespace Formats::Laz {
namespace {

using Core::loadLittleEndian;
using Core::storeLittleEndian;

// Where fields stand in the record.
constexpr std::size_t kXAt = 0;
constexpr std::size_t kYAt = 4;
constexpr std::size_t kZAt = 8;
constexpr std::size_t kIntensityAt = 12;
constexpr std::size_t kReturnsAt = 14;
constexpr std::size_t kFlagsAt = 15;
constexpr std::size_t kClassificationAt = 16;
constexpr std::size_t kUserDataAt = 17;
constexpr std::size_t kScanAngleAt = 18;
constexpr std::size_t kSourceIdAt = 20;
constexpr std::size_t kGpsTimeAt = 22;

/// What the first layer holds of a point.
struct Place {
  std::uint32_t x = 0;
  std::uint32_t y = 0;
  unsigned returnNumber = 0;
  unsigned numReturns = 0;
};

/// The first layer: channels, returns, x and y, and what else has changed.
struct PlaceContext {
  void start(const Place& place) {
    for (auto& model : changed) model.reset();
    channel.reset();
    numReturns.reset();
    returnNumber.reset();
    returnNumberAtSameTime.reset();
    dx.reset();
    dy.reset();
    medians = {};
    last = place;
    wasTimeNew = false;
  }

  struct Medians {
    StreamingMedian x;
    StreamingMedian y;
  };

  std::array<DecodingModel<128>, 8> changed;
  DecodingModel<3> channel;
  ModelPerValue<16, 16> numReturns;
  ModelPerValue<16, 16> returnNumber;
  DecodingModel<13> returnNumberAtSameTime;
  IntegerDecoder<32, 2> dx;
  IntegerDecoder<32, 22> dy;
  std::array<Medians, 12> medians{};
  Place last;
  bool wasTimeNew = false;
};

struct ZContext {
  void start(std::uint32_t z) {
    models.reset();
    lastOfLevel.fill(z);
    last = z;
  }
  IntegerDecoder<32, 20> models;
  std::array<std::uint32_t, 8> lastOfLevel{};
  std::uint32_t last = 0;
};

struct ClassificationContext {
  void start(std::uint8_t classification) {
    models.reset();
    last = classification;
  }
  ModelPerValue<256, 64> models;
  std::uint8_t last = 0;
};

struct FlagsContext {
  void start(std::uint8_t flags) {
    models.reset();
    last = flags;
  }
  ModelPerValue<64, 64> models;
  std::uint8_t last = 0;  // edge of flight line, scan direction, four classification flags
};

struct IntensityContext {
  void start(std::uint16_t intensity) {
    models.reset();
    lastOfContext.fill(intensity);
    last = intensity;
  }
  IntegerDecoder<16, 4> models;
  std::array<std::uint16_t, 8> lastOfContext{};
  std::uint16_t last = 0;
};

struct ScanAngleContext {
  void start(std::uint16_t angle) {
    models.reset();
    last = angle;
  }
  IntegerDecoder<16, 2> models;
  std::uint16_t last = 0;
};

struct UserDataContext {
  void start(std::uint8_t data) {
    models.reset();
    last = data;
  }
  ModelPerValue<256, 64> models;
  std::uint8_t last = 0;
};

struct SourceIdContext {
  void start(std::uint16_t id) {
    models.reset();
    last = id;
  }
  IntegerDecoder<16, 1> models;
  std::uint16_t last = 0;
};

struct GpsTimeContext {
  void start(std::uint64_t time) {
    models.reset(time);
    last = time;
  }
  GpsTimeDecoder<false> models;
  std::uint64_t last = 0;
};

std::uint8_t storedFlags(std::uint8_t flags, unsigned channel) {
  return static_cast<std::uint8_t>((flags & 0xFU) | channel << 4U | (flags & 0x30U) << 2U);
}

/// The six flags of a record, without the channel between them.
std::uint8_t flagsOf(std::uint8_t stored) {
  return static_cast<std::uint8_t>((stored & 0xFU) | (stored & 0xC0U) >> 2U);
}

class Point14 final : public LayeredItem {
 public:
  Point14() {
    constexpr std::array<const char*, 9> kNames{"channel, returns, X and Y",
                                                "Z",
                                                "classification",
                                                "flags",
                                                "intensity",
                                                "scan angle",
                                                "user data",
                                                "point source id",
                                                "GPS time"};
    for (std::size_t i = 0; i < layers_.size(); ++i) layers_[i].name = std::string("POINT14, ") + kNames[i];
  }

  [[nodiscard]] std::span<Layer> layers() override { return layers_; }

  void start(const std::byte* first, std::size_t channel) override {
    const auto returns = loadLittleEndian<std::uint8_t>(first + kReturnsAt);
    const Place place{loadLittleEndian<std::uint32_t>(first + kXAt),
                      loadLittleEndian<std::uint32_t>(first + kYAt), returns & 0xFU,
                      static_cast<unsigned>(returns) >> 4U};
    channel_ = channel;
    places_.start(place, channel);
    z_.start(loadLittleEndian<std::uint32_t>(first + kZAt), channel);
    classification_.start(loadLittleEndian<std::uint8_t>(first + kClassificationAt), channel);
    flags_.start(flagsOf(loadLittleEndian<std::uint8_t>(first + kFlagsAt)), channel);
    intensity_.start(loadLittleEndian<std::uint16_t>(first + kIntensityAt), channel);
    scanAngle_.start(loadLittleEndian<std::uint16_t>(first + kScanAngleAt), channel);
    userData_.start(loadLittleEndian<std::uint8_t>(first + kUserDataAt), channel);
    sourceId_.start(loadLittleEndian<std::uint16_t>(first + kSourceIdAt), channel);
    gpsTime_.start(loadLittleEndian<std::uint64_t>(first + kGpsTimeAt), channel);
  }

  void decode(const LayeredPoints& points) override {
    decodePlaces(points);
    decodeLayer(1, points, z_, kZAt, [](ZContext& context, RangeDecoder& decoder, const PointTrace& trace) {
      std::uint32_t& z = context.lastOfLevel[trace.returnLevel];
      z = context.models.decode(decoder, z, trace.zContext);
      return z;
    });
    decodeLayer(2, points, classification_, kClassificationAt,
                [](ClassificationContext& context, RangeDecoder& decoder, const PointTrace& trace) {
                  const std::size_t isOnlyReturn = trace.returnContext == 3 ? 1 : 0;
                  auto& model = context.models.of((context.last & 31U) << 1U | isOnlyReturn);
                  return static_cast<std::uint8_t>(decoder.symbol(model));
                });
    decodeFlags(points);
    decodeLayer(4, points, intensity_, kIntensityAt,
                [](IntensityContext& context, RangeDecoder& decoder, const PointTrace& trace) {
                  std::uint16_t& intensity =
                      context.lastOfContext[trace.returnContext * 2U + (trace.isTimeNew ? 1 : 0)];
                  intensity = static_cast<std::uint16_t>(
                      context.models.decode(decoder, intensity, trace.returnContext));
                  return intensity;
                });
    decodeLayer(5, points, scanAngle_, kScanAngleAt,
                [](ScanAngleContext& context, RangeDecoder& decoder, const PointTrace& trace) {
                  if (!trace.isAngleNew) return context.last;
                  return static_cast<std::uint16_t>(
                      context.models.decode(decoder, context.last, trace.isTimeNew ? 1 : 0));
                });
    decodeLayer(6, points, userData_, kUserDataAt,
                [](UserDataContext& context, RangeDecoder& decoder, const PointTrace& /*trace*/) {
                  return static_cast<std::uint8_t>(decoder.symbol(context.models.of(context.last >> 2U)));
                });
    decodeLayer(7, points, sourceId_, kSourceIdAt,
                [](SourceIdContext& context, RangeDecoder& decoder, const PointTrace& trace) {
                  if (!trace.isSourceNew) return context.last;
                  return static_cast<std::uint16_t>(context.models.decode(decoder, context.last));
                });
    decodeLayer(8, points, gpsTime_, kGpsTimeAt,
                [](GpsTimeContext& context, RangeDecoder& decoder, const PointTrace& trace) {
                  return trace.isTimeNew ? context.models.decode(decoder) : context.last;
                });
  }

 private:
  // Bits of what has changed.
  static constexpr unsigned kChannel = 1U << 6U;
  static constexpr unsigned kSourceId = 1U << 5U;
  static constexpr unsigned kGpsTime = 1U << 4U;
  static constexpr unsigned kScanAngle = 1U << 3U;
  static constexpr unsigned kNumReturns = 1U << 2U;
  static constexpr unsigned kReturnNumber = 3U;

  void decodePlaces(const LayeredPoints& points) {
    RangeDecoder decoder = layers_[0].decoder;
    for (std::size_t i = 0; i < points.size(); ++i) {
      points.traces[i] = decodePlace(decoder, points.record(i));
    }
    layers_[0].decoder = decoder;
  }

  PointTrace decodePlace(RangeDecoder& decoder, std::byte* record) {
    PlaceContext* context = &places_.current();
    const unsigned isFirst = context->last.returnNumber == 1 ? 1 : 0;
    const unsigned isLast = context->last.returnNumber >= context->last.numReturns ? 1 : 0;
    const auto changed = static_cast<unsigned>(
        decoder.symbol(context->changed[isFirst + isLast * 2 + (context->wasTimeNew ? 4 : 0)]));
    PointTrace trace;
    if ((changed & kChannel) != 0) [[unlikely]] {
      channel_ = (channel_ + decoder.symbol(context->channel) + 1) % kChannels;
      context = &places_.select(channel_);
      trace.isChannelNew = true;
    }
    trace.channel = static_cast<std::uint8_t>(channel_);
    trace.isSourceNew = (changed & kSourceId) != 0;
    trace.isTimeNew = (changed & kGpsTime) != 0;
    trace.isAngleNew = (changed & kScanAngle) != 0;
    decodeReturns(decoder, *context, changed, trace);
    decodeXY(decoder, *context, trace);
    context->wasTimeNew = trace.isTimeNew;
    const Place& place = context->last;
    storeLittleEndian(record + kXAt, place.x);
    storeLittleEndian(record + kYAt, place.y);
    record[kReturnsAt] = static_cast<std::byte>(place.numReturns << 4U | place.returnNumber);
    return trace;
  }

  static void decodeReturns(RangeDecoder& decoder, PlaceContext& context, unsigned changed,
                            PointTrace& trace) {
    Place& place = context.last;
    if ((changed & kNumReturns) != 0) {
      place.numReturns = static_cast<unsigned>(decoder.symbol(context.numReturns.of(place.numReturns)));
    }
    switch (changed & kReturnNumber) {
      case 0:
        break;
      case 1:
        place.returnNumber = (place.returnNumber + 1) % 16;
        break;
      case 2:
        place.returnNumber = (place.returnNumber + 15) % 16;
        break;
      default:
        place.returnNumber =
            trace.isTimeNew
                ? static_cast<unsigned>(decoder.symbol(context.returnNumber.of(place.returnNumber)))
                : (place.returnNumber +
                   static_cast<unsigned>(decoder.symbol(context.returnNumberAtSameTime)) + 2) %
                      16;
    }
    const unsigned isFirst = place.returnNumber == 1 ? 1 : 0;
    const unsigned isLast = place.returnNumber >= place.numReturns ? 1 : 0;
    trace.returnContext = static_cast<std::uint8_t>(isFirst * 2 + isLast);
    trace.returnLevel = static_cast<std::uint8_t>(returnLevel(place.numReturns, place.returnNumber));
  }

  static void decodeXY(RangeDecoder& decoder, PlaceContext& context, PointTrace& trace) {
    Place& place = context.last;
    const std::size_t map = kReturnMap14[place.numReturns][place.returnNumber];
    PlaceContext::Medians& medians = context.medians[2 * map + (trace.isTimeNew ? 1 : 0)];
    const unsigned isSingle = place.numReturns == 1 ? 1 : 0;
    const std::uint32_t dx =
        context.dx.decode(decoder, static_cast<std::uint32_t>(medians.x.get()), isSingle);
    place.x += dx;
    medians.x.add(static_cast<std::int32_t>(dx));
    const unsigned kx = context.dx.k();
    const std::uint32_t dy = context.dy.decode(decoder, static_cast<std::uint32_t>(medians.y.get()),
                                               isSingle + (kx < 20 ? kx & ~1U : 20));
    place.y += dy;
    medians.y.add(static_cast<std::int32_t>(dy));
    const unsigned k = (kx + context.dy.k()) / 2;
    trace.zContext = static_cast<std::uint8_t>(isSingle + (k < 18 ? k & ~1U : 18));
  }

  /// Decodes the values of a layer, each by @p next, and writes them to the records.
  template <class Context, class Next>
  void decodeLayer(std::size_t number, const LayeredPoints& points, Channels<Context>& channels,
                   std::size_t offset, const Next& next) {
    if (layers_[number].isEmpty()) {
      const auto value = channels.current().last;
      for (std::size_t i = 0; i < points.size(); ++i) storeLittleEndian(points.record(i) + offset, value);
      return;
    }
    RangeDecoder decoder = layers_[number].decoder;
    for (std::size_t i = 0; i < points.size(); ++i) {
      const PointTrace& trace = points.traces[i];
      Context& context = channels.select(trace.channel);
      context.last = next(context, decoder, trace);
      storeLittleEndian(points.record(i) + offset, context.last);
    }
    layers_[number].decoder = decoder;
  }

  void decodeFlags(const LayeredPoints& points) {
    decodeLayer(3, points, flags_, kFlagsAt,
                [](FlagsContext& context, RangeDecoder& decoder, const PointTrace& /*trace*/) {
                  return static_cast<std::uint8_t>(decoder.symbol(context.models.of(context.last)));
                });
    for (std::size_t i = 0; i < points.size(); ++i) {
      std::byte& stored = points.record(i)[kFlagsAt];
      stored = static_cast<std::byte>(
          storedFlags(std::to_integer<std::uint8_t>(stored), points.traces[i].channel));
    }
  }

  std::array<Layer, 9> layers_;
  std::size_t channel_ = 0;
  Channels<PlaceContext> places_;
  Channels<ZContext> z_;
  Channels<ClassificationContext> classification_;
  Channels<FlagsContext> flags_;
  Channels<IntensityContext> intensity_;
  Channels<ScanAngleContext> scanAngle_;
  Channels<UserDataContext> userData_;
  Channels<SourceIdContext> sourceId_;
  Channels<GpsTimeContext> gpsTime_;
};

}  // namespace

std::unique_ptr<LayeredItem> makePoint14() { return std::make_unique<Point14>(); }

}  // namespace Formats::Laz
