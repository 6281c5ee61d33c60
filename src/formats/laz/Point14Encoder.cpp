#include "formats/laz/Point14Encoder.h"

#include <algorithm>

#include "formats/laz/GpsTimeEncoder.h"
#include "formats/laz/IntegerEncoder.h"
#include "formats/laz/RecordFields.h"
#include "formats/laz/ReturnMaps.h"
#include "formats/laz/StreamingMedian.h"

namespace Formats::Laz {
namespace {

// Of a record's first 30 bytes.
constexpr std::size_t kIntensityOffset = 12;
constexpr std::size_t kReturnsOffset = 14;
constexpr std::size_t kFlagsOffset = 15;
constexpr std::size_t kClassificationOffset = 16;
constexpr std::size_t kUserDataOffset = 17;
constexpr std::size_t kScanAngleOffset = 18;
constexpr std::size_t kSourceOffset = 20;
constexpr std::size_t kGpsTimeOffset = 22;
constexpr unsigned kChannelBits = 0x30;  // of the flags

// What differs from the channel's record before; the lowest two bits say how the return number does.
constexpr unsigned kChannelChanged = 1U << 6U;
constexpr unsigned kSourceChanged = 1U << 5U;
constexpr unsigned kTimeChanged = 1U << 4U;
constexpr unsigned kScanAngleChanged = 1U << 3U;
constexpr unsigned kNumReturnsChanged = 1U << 2U;
constexpr unsigned kReturnNumberBits = 3;
constexpr unsigned kSameReturn = 0;
constexpr unsigned kNextReturn = 1;
constexpr unsigned kReturnBefore = 2;
constexpr unsigned kOtherReturn = 3;

constexpr std::size_t kMostReturns = 16;
constexpr std::size_t kPositionWrites = 4 + 2 * IntegerEncoder::kWrites;

unsigned returnNumberOf(const std::byte* record) { return byteAt(record, kReturnsOffset) & 15U; }
unsigned numReturnsOf(const std::byte* record) { return byteAt(record, kReturnsOffset) >> 4U; }
std::uint64_t gpsTimeOf(const std::byte* record) {
  return Core::loadLittleEndian<std::uint64_t>(record + kGpsTimeOffset);
}
std::int16_t scanAngleOf(const std::byte* record) {
  return Core::loadLittleEndian<std::int16_t>(record + kScanAngleOffset);
}

/// Edge of flight line, scan direction and the classification flags: all but the channel.
unsigned flagsOf(const std::byte* record) {
  const unsigned flags = byteAt(record, kFlagsOffset);
  return (flags >> 2U & 0x30U) | (flags & 0xFU);
}

unsigned returnChange(unsigned number, unsigned last) {
  if (number == last) return kSameReturn;
  if (number == (last + 1) % kMostReturns) return kNextReturn;
  if (number == (last + kMostReturns - 1) % kMostReturns) return kReturnBefore;
  return kOtherReturn;
}

unsigned changesOf(const std::byte* record, const std::byte* last) {
  const auto ifNot = [](bool isSame, unsigned bit) { return isSame ? 0U : bit; };
  return ifNot(wordAt(record, kSourceOffset) == wordAt(last, kSourceOffset), kSourceChanged) |
         ifNot(gpsTimeOf(record) == gpsTimeOf(last), kTimeChanged) |
         ifNot(scanAngleOf(record) == scanAngleOf(last), kScanAngleChanged) |
         ifNot(numReturnsOf(record) == numReturnsOf(last), kNumReturnsChanged) |
         returnChange(returnNumberOf(record), returnNumberOf(last));
}

}  // namespace

/// Which return of how many, and what depends on it.
struct Point14Encoder::Returns {
  Returns(const std::byte* record, bool timeHasChanged)
      : number(returnNumberOf(record)), count(numReturnsOf(record)), timeChanged(timeHasChanged ? 1 : 0) {}

  [[nodiscard]] std::size_t single() const { return count == 1 ? 1 : 0; }
  [[nodiscard]] std::size_t isFirst() const { return number == 1 ? 1 : 0; }
  [[nodiscard]] std::size_t isLast() const { return number >= count ? 1 : 0; }

  unsigned number;
  unsigned count;
  std::size_t timeChanged;
};

/// Models and state of one scanner channel.
struct Point14Encoder::Channel {
  static constexpr std::size_t kReturnContexts = 6;
  static constexpr std::size_t kReturnLevels = 8;
  static constexpr std::size_t kPlaces = 4;  // among returns: in between, last, first, single
  using ByteModel = SymbolModel<256>;

  explicit Channel(const std::byte* first)
      : last(first), gpsTimes(GpsTimeEncoder::Unchanged::NotCoded, gpsTimeOf(first)) {
    lastZs.fill(zOf(first));
    lastIntensities.fill(intensityOf(first));
  }

  const std::byte* last;        // record
  std::size_t timeChanged = 0;  // in the last record

  std::array<SymbolModel<128>, 8> changed;
  SymbolModel<3> channels;
  std::array<SymbolModel<kMostReturns>, kMostReturns> numReturns;     // by the last one
  std::array<SymbolModel<kMostReturns>, kMostReturns> returnNumbers;  // by the last one
  SymbolModel<13> sameTimeReturns;
  IntegerEncoder xs{32, 2};
  IntegerEncoder ys{32, kYContexts};
  IntegerEncoder zs{32, kZContexts};
  std::array<StreamingMedian, 2 * kReturnContexts> xSteps;
  std::array<StreamingMedian, 2 * kReturnContexts> ySteps;
  std::array<std::int32_t, kReturnLevels> lastZs;

  std::array<ByteModel, 64> classifications;
  std::array<SymbolModel<64>, 64> flags;  // by the last ones
  IntegerEncoder intensities{16, kPlaces};
  std::array<std::uint16_t, 2 * kPlaces> lastIntensities;
  IntegerEncoder scanAngles{16, 2};
  std::array<ByteModel, 64> userData;
  IntegerEncoder sources{16, 1};
  GpsTimeEncoder gpsTimes;
};

std::size_t Point14Encoder::channelOf(const std::byte* record) {
  return byteAt(record, kFlagsOffset) >> 4U & 3U;
}

Point14Encoder::Point14Encoder(const std::byte* first, std::span<const std::byte> changes)
    : current_(channelOf(first)) {
  const auto anyOf = [&](std::size_t offset, std::size_t size) {
    return anyBit(changes.subspan(offset, size));
  };
  isWritten_[kPosition] = true;
  isWritten_[kHeight] = true;
  isWritten_[kClassification] = anyOf(kClassificationOffset, 1);
  isWritten_[kFlags] = (byteAt(changes.data(), kFlagsOffset) & ~kChannelBits) != 0;
  isWritten_[kIntensity] = anyOf(kIntensityOffset, 2);
  isWritten_[kScanAngle] = anyOf(kScanAngleOffset, 2);
  isWritten_[kUserData] = anyOf(kUserDataOffset, 1);
  isWritten_[kSource] = anyOf(kSourceOffset, 2);
  isWritten_[kGpsTime] = anyOf(kGpsTimeOffset, 8);
  channels_[current_] = std::make_unique<Channel>(first);
}

Point14Encoder::~Point14Encoder() = default;

std::span<const std::byte> Point14Encoder::finish(std::size_t layer) {
  return isWritten_[layer] ? layers_[layer].finish() : std::span<const std::byte>();
}

/// With room for a number.
inline RangeEncoder& Point14Encoder::streamOf(Layer layer) {
  layers_[layer].makeRoom(IntegerEncoder::kWrites);
  return layers_[layer];
}

std::size_t Point14Encoder::encode(const std::byte* record) {
  RangeEncoder& stream = layers_[kPosition];
  stream.makeRoom(kPositionWrites);
  Channel& before = *channels_[current_];
  const Returns lastReturns(before.last, before.timeChanged != 0);
  const std::size_t context = lastReturns.isFirst() | lastReturns.isLast() << 1U | before.timeChanged << 2U;
  const std::size_t channel = channelOf(record);
  const bool isSwitch = channel != current_;
  if (channels_[channel] == nullptr) channels_[channel] = std::make_unique<Channel>(before.last);
  Channel& now = *channels_[channel];
  const unsigned changed = changesOf(record, now.last) | (isSwitch ? kChannelChanged : 0U);
  stream.encode(before.changed[context], changed);
  if (isSwitch) stream.encode(before.channels, (channel + kChannels - current_ - 1) % kChannels);
  const Returns returns(record, (changed & kTimeChanged) != 0);
  encodeReturns(returns, now.last, now);
  encodePosition(returns, record, now);
  encodeAttributes(returns, changed, record, now);
  now.last = record;
  now.timeChanged = returns.timeChanged;
  current_ = channel;
  return isSwitch ? channel : 0;
}

void Point14Encoder::encodeReturns(const Returns& returns, const std::byte* last, Channel& channel) {
  RangeEncoder& stream = layers_[kPosition];
  const unsigned lastCount = numReturnsOf(last);
  const unsigned lastNumber = returnNumberOf(last);
  if (returns.count != lastCount) stream.encode(channel.numReturns[lastCount], returns.count);
  if (returnChange(returns.number, lastNumber) != kOtherReturn) return;
  if (returns.timeChanged != 0) {
    stream.encode(channel.returnNumbers[lastNumber], returns.number);
  } else {
    stream.encode(channel.sameTimeReturns, (returns.number + kMostReturns - lastNumber - 2) % kMostReturns);
  }
}

void Point14Encoder::encodePosition(const Returns& returns, const std::byte* record, Channel& channel) {
  RangeEncoder& stream = layers_[kPosition];
  const std::size_t context = 2U * kReturnMap14[returns.count][returns.number] + returns.timeChanged;
  const std::size_t single = returns.single();
  const std::int32_t xStep = wrappedDifference(xOf(record), xOf(channel.last));
  const std::uint32_t xClass = channel.xs.encode(channel.xSteps[context].get(), xStep, single, stream);
  channel.xSteps[context].add(xStep);
  const std::int32_t yStep = wrappedDifference(yOf(record), yOf(channel.last));
  const std::uint32_t yClass =
      channel.ys.encode(channel.ySteps[context].get(), yStep, single + yContext(xClass), stream);
  channel.ySteps[context].add(yStep);

  std::int32_t& lastZ = channel.lastZs[returnLevel(returns.count, returns.number)];
  channel.zs.encode(lastZ, zOf(record), single + zContext(xClass, yClass), streamOf(kHeight));
  lastZ = zOf(record);
}

void Point14Encoder::encodeAttributes(const Returns& returns, unsigned changed, const std::byte* record,
                                      Channel& channel) {
  const std::byte* const last = channel.last;
  const std::size_t place = returns.isFirst() << 1U | returns.isLast();
  if (isWritten_[kClassification]) {
    const std::size_t context = (byteAt(last, kClassificationOffset) & 31U) << 1U | (place == 3 ? 1U : 0U);
    streamOf(kClassification).encode(channel.classifications[context], byteAt(record, kClassificationOffset));
  }
  if (isWritten_[kFlags]) streamOf(kFlags).encode(channel.flags[flagsOf(last)], flagsOf(record));
  if (isWritten_[kIntensity]) {
    std::uint16_t& lastIntensity = channel.lastIntensities[2 * place + returns.timeChanged];
    channel.intensities.encode(lastIntensity, intensityOf(record), place, streamOf(kIntensity));
    lastIntensity = intensityOf(record);
  }
  if ((changed & kScanAngleChanged) != 0) {
    channel.scanAngles.encode(scanAngleOf(last), scanAngleOf(record), returns.timeChanged,
                              streamOf(kScanAngle));
  }
  if (isWritten_[kUserData]) {
    const unsigned lastData = byteAt(last, kUserDataOffset);
    streamOf(kUserData).encode(channel.userData[lastData >> 2U], byteAt(record, kUserDataOffset));
  }
  if ((changed & kSourceChanged) != 0) {
    channel.sources.encode(wordAt(last, kSourceOffset), wordAt(record, kSourceOffset), 0, streamOf(kSource));
  }
  if (returns.timeChanged != 0) channel.gpsTimes.encode(gpsTimeOf(record), layers_[kGpsTime]);
}

}  // namespace Formats::Laz
