// The fields that all points of formats 0 to 5 have.
#include <algorithm>
#include <array>

#include "core/LittleEndian.h"
#include "formats/laz/IntegerDecoder.h"
#include "formats/laz/PointwiseItem.h"
#include "formats/laz/ReturnMaps.h"
#include "formats/laz/StreamingMedian.h"

namespace Formats::Laz {
namespace {

struct Point10 {
  std::uint32_t x = 0;
  std::uint32_t y = 0;
  std::uint32_t z = 0;
  std::uint16_t intensity = 0;
  std::uint8_t returns = 0;  // return number, number of returns, scan direction, edge of flight line
  std::uint8_t classification = 0;
  std::uint8_t scanAngle = 0;
  std::uint8_t userData = 0;
  std::uint16_t sourceId = 0;

  static Point10 load(const std::byte* in) {
    using Core::loadLittleEndian;
    return {loadLittleEndian<std::uint32_t>(in),     loadLittleEndian<std::uint32_t>(in + 4),
            loadLittleEndian<std::uint32_t>(in + 8), loadLittleEndian<std::uint16_t>(in + 12),
            loadLittleEndian<std::uint8_t>(in + 14), loadLittleEndian<std::uint8_t>(in + 15),
            loadLittleEndian<std::uint8_t>(in + 16), loadLittleEndian<std::uint8_t>(in + 17),
            loadLittleEndian<std::uint16_t>(in + 18)};
  }

  void store(std::byte* out) const {
    for (const std::uint32_t coordinate : {x, y, z}) out = Core::storeLittleEndian(out, coordinate);
    out = Core::storeLittleEndian(out, intensity);
    for (const std::uint8_t byte : {returns, classification, scanAngle, userData}) {
      out = Core::storeLittleEndian(out, byte);
    }
    Core::storeLittleEndian(out, sourceId);
  }
};

/// The bytes of a point that change seldom, each predicted by the same of the point before.
class SeldomBytes {
 public:
  void reset() {
    returns.reset();
    classification.reset();
    userData.reset();
  }

  static std::uint8_t next(RangeDecoder& decoder, ModelPerValue<256, 256>& models, std::uint8_t last) {
    return static_cast<std::uint8_t>(decoder.symbol(models.of(last)));
  }

  ModelPerValue<256, 256> returns;
  ModelPerValue<256, 256> classification;
  ModelPerValue<256, 256> userData;
};

std::int32_t asSigned(std::uint32_t value) { return static_cast<std::int32_t>(value); }

class Point10Version2 final : public PointwiseItem {
 public:
  void start(const std::byte* first) override {
    changed_.reset();
    bytes_.reset();
    for (auto& model : scanAngle_) model.reset();
    intensity_.reset();
    sourceId_.reset();
    dx_.reset();
    dy_.reset();
    z_.reset();
    medians_ = {};
    lastIntensity_ = {};
    lastZ_ = {};
    last_ = Point10::load(first);
    last_.intensity = 0;
  }

  void decode(RangeDecoder& decoder, std::byte* out) override {
    const auto changed = static_cast<unsigned>(decoder.symbol(changed_));
    Point10 point = last_;
    if ((changed & kReturns) != 0) {
      point.returns = SeldomBytes::next(decoder, bytes_.returns, point.returns);
    }
    const unsigned returnNumber = point.returns & 7U;
    const unsigned numReturns = point.returns >> 3U & 7U;
    const std::size_t context = kReturnMap10[numReturns][returnNumber];
    std::uint16_t& intensity = lastIntensity_[context];
    if ((changed & kIntensity) != 0) {
      intensity = static_cast<std::uint16_t>(
          intensity_.decode(decoder, intensity, std::min<std::size_t>(context, 3)));
    }
    point.intensity = intensity;
    if ((changed & kOthers) != 0) decodeOthers(decoder, changed, point);
    decodePlace(decoder, numReturns == 1 ? 1 : 0, context, lastZ_[returnLevel(numReturns, returnNumber)],
                point);
    point.store(out);
    last_ = point;
  }

 private:
  // Bits of what has changed.
  static constexpr unsigned kReturns = 1U << 5U;
  static constexpr unsigned kIntensity = 1U << 4U;
  static constexpr unsigned kClassification = 1U << 3U;
  static constexpr unsigned kScanAngle = 1U << 2U;
  static constexpr unsigned kUserData = 1U << 1U;
  static constexpr unsigned kSourceId = 1U;
  static constexpr unsigned kOthers = kClassification | kScanAngle | kUserData | kSourceId;

  struct Medians {
    StreamingMedian x;
    StreamingMedian y;
  };

  void decodeOthers(RangeDecoder& decoder, unsigned changed, Point10& point) {
    if ((changed & kClassification) != 0) {
      point.classification = SeldomBytes::next(decoder, bytes_.classification, point.classification);
    }
    if ((changed & kScanAngle) != 0) {
      const std::size_t direction = point.returns >> 6U & 1U;
      point.scanAngle = static_cast<std::uint8_t>(point.scanAngle + decoder.symbol(scanAngle_[direction]));
    }
    if ((changed & kUserData) != 0) {
      point.userData = SeldomBytes::next(decoder, bytes_.userData, point.userData);
    }
    if ((changed & kSourceId) != 0) {
      point.sourceId = static_cast<std::uint16_t>(sourceId_.decode(decoder, point.sourceId));
    }
  }

  void decodePlace(RangeDecoder& decoder, unsigned isSingle, std::size_t context, std::uint32_t& lastZ,
                   Point10& point) {
    Medians& medians = medians_[context];
    const std::uint32_t dx = dx_.decode(decoder, static_cast<std::uint32_t>(medians.x.get()), isSingle);
    point.x += dx;
    medians.x.add(asSigned(dx));
    const unsigned kx = dx_.k();
    const std::uint32_t dy = dy_.decode(decoder, static_cast<std::uint32_t>(medians.y.get()),
                                        isSingle + (kx < 20 ? kx & ~1U : 20));
    point.y += dy;
    medians.y.add(asSigned(dy));
    const unsigned k = (kx + dy_.k()) / 2;
    lastZ = z_.decode(decoder, lastZ, isSingle + (k < 18 ? k & ~1U : 18));
    point.z = lastZ;
  }

  DecodingModel<64> changed_;
  SeldomBytes bytes_;
  std::array<DecodingModel<256>, 2> scanAngle_;  // by scan direction
  IntegerDecoder<16, 4> intensity_;
  IntegerDecoder<16, 1> sourceId_;
  IntegerDecoder<32, 2> dx_;
  IntegerDecoder<32, 22> dy_;
  IntegerDecoder<32, 20> z_;
  std::array<Medians, 16> medians_{};
  std::array<std::uint16_t, 16> lastIntensity_{};
  std::array<std::uint32_t, 8> lastZ_{};
  Point10 last_;
};

/// The last three of some differences.
class LastThree {
 public:
  [[nodiscard]] std::int32_t median() const {
    const auto [a, b, c] = values_;
    return std::max(std::min(a, b), std::min(std::max(a, b), c));
  }
  void add(std::int32_t value) { values_ = {values_[1], values_[2], value}; }

 private:
  std::array<std::int32_t, 3> values_{};
};

class Point10Version1 final : public PointwiseItem {
 public:
  void start(const std::byte* first) override {
    changed_.reset();
    bytes_.reset();
    dx_.reset();
    dy_.reset();
    z_.reset();
    intensity_.reset();
    scanAngle_.reset();
    sourceId_.reset();
    lastDx_ = {};
    lastDy_ = {};
    last_ = Point10::load(first);
  }

  void decode(RangeDecoder& decoder, std::byte* out) override {
    Point10& point = last_;
    const std::uint32_t dx = dx_.decode(decoder, static_cast<std::uint32_t>(lastDx_.median()));
    point.x += dx;
    lastDx_.add(asSigned(dx));
    const std::uint32_t dy =
        dy_.decode(decoder, static_cast<std::uint32_t>(lastDy_.median()), std::min(dx_.k(), 19U));
    point.y += dy;
    lastDy_.add(asSigned(dy));
    const unsigned k = (dx_.k() + dy_.k()) / 2;
    point.z = z_.decode(decoder, point.z, std::min(k, 19U));
    const auto changed = static_cast<unsigned>(decoder.symbol(changed_));
    if (changed != 0) decodeOthers(decoder, changed, k < 3 ? 1 : 0, point);
    point.store(out);
  }

 private:
  // Bits of what has changed.
  static constexpr unsigned kIntensity = 1U << 5U;
  static constexpr unsigned kReturns = 1U << 4U;
  static constexpr unsigned kClassification = 1U << 3U;
  static constexpr unsigned kScanAngle = 1U << 2U;
  static constexpr unsigned kUserData = 1U << 1U;
  static constexpr unsigned kSourceId = 1U;

  void decodeOthers(RangeDecoder& decoder, unsigned changed, unsigned isNear, Point10& point) {
    if ((changed & kIntensity) != 0) {
      point.intensity = static_cast<std::uint16_t>(intensity_.decode(decoder, point.intensity));
    }
    if ((changed & kReturns) != 0) {
      point.returns = SeldomBytes::next(decoder, bytes_.returns, point.returns);
    }
    if ((changed & kClassification) != 0) {
      point.classification = SeldomBytes::next(decoder, bytes_.classification, point.classification);
    }
    if ((changed & kScanAngle) != 0) {
      point.scanAngle = static_cast<std::uint8_t>(scanAngle_.decode(decoder, point.scanAngle, isNear));
    }
    if ((changed & kUserData) != 0) {
      point.userData = SeldomBytes::next(decoder, bytes_.userData, point.userData);
    }
    if ((changed & kSourceId) != 0) {
      point.sourceId = static_cast<std::uint16_t>(sourceId_.decode(decoder, point.sourceId));
    }
  }

  DecodingModel<64> changed_;
  SeldomBytes bytes_;
  IntegerDecoder<32, 1> dx_;
  IntegerDecoder<32, 20> dy_;
  IntegerDecoder<32, 20> z_;
  IntegerDecoder<16, 1> intensity_;
  IntegerDecoder<8, 2> scanAngle_;
  IntegerDecoder<16, 1> sourceId_;
  LastThree lastDx_;
  LastThree lastDy_;
  Point10 last_;
};

}  // namespace

std::unique_ptr<PointwiseItem> makePoint10(std::uint16_t version) {
  if (version == 1) return std::make_unique<Point10Version1>();
  return std::make_unique<Point10Version2>();
}

}  // namespace Formats::Laz
