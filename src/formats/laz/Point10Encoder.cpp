#include "formats/laz/Point10Encoder.h"

#include <algorithm>

#include "core/ByteReader.h"
#include "formats/laz/RecordFields.h"
#include "formats/laz/ReturnMaps.h"

namespace Formats::Laz {
namespace {

// Of a record's first 20 bytes.
constexpr std::size_t kReturns = 14;
constexpr std::size_t kClassification = 15;
constexpr std::size_t kScanAngle = 16;
constexpr std::size_t kUserData = 17;
constexpr std::size_t kSource = 18;

// What differs from the record before.
constexpr unsigned kReturnsChanged = 1U << 5U;
constexpr unsigned kIntensityChanged = 1U << 4U;
constexpr unsigned kClassificationChanged = 1U << 3U;
constexpr unsigned kScanAngleChanged = 1U << 2U;
constexpr unsigned kUserDataChanged = 1U << 1U;
constexpr unsigned kSourceChanged = 1U << 0U;

constexpr std::size_t kByteValues = 256;
// One for what changed, one a byte, and numbers.
constexpr std::size_t kWrites = 5 + 5 * IntegerEncoder::kWrites;

unsigned returnNumberOf(unsigned returns) { return returns & 7U; }
unsigned numReturnsOf(unsigned returns) { return returns >> 3U & 7U; }

}  // namespace

Point10Encoder::Point10Encoder()
    : returns_(kByteValues),
      classifications_(kByteValues),
      userData_(kByteValues),
      intensities_(16, 4),
      sources_(16, 1),
      xs_(32, 2),
      ys_(32, kYContexts),
      zs_(32, kZContexts) {}

void Point10Encoder::encode(const std::byte* record, const std::byte* last, RangeEncoder& stream) {
  stream.makeRoom(kWrites);
  const unsigned returns = byteAt(record, kReturns);
  const std::size_t context = kReturnMap10[numReturnsOf(returns)][returnNumberOf(returns)];
  const auto ifDiffers = [record, last](std::size_t at, unsigned bit) {
    return record[at] == last[at] ? 0U : bit;
  };
  const unsigned changed = ifDiffers(kReturns, kReturnsChanged) |
                           (intensityOf(record) == lastIntensities_[context] ? 0U : kIntensityChanged) |
                           ifDiffers(kClassification, kClassificationChanged) |
                           ifDiffers(kScanAngle, kScanAngleChanged) | ifDiffers(kUserData, kUserDataChanged) |
                           (wordAt(record, kSource) == wordAt(last, kSource) ? 0U : kSourceChanged);
  stream.encode(changed_, changed);
  if (changed != 0) encodeAttributes(changed, context, record, last, stream);
  encodePosition(context, record, last, stream);
}

void Point10Encoder::encodeAttributes(unsigned changed, std::size_t returnContext, const std::byte* record,
                                      const std::byte* last, RangeEncoder& stream) {
  if ((changed & kReturnsChanged) != 0) {
    stream.encode(returns_[byteAt(last, kReturns)], byteAt(record, kReturns));
  }
  if ((changed & kIntensityChanged) != 0) {
    std::uint16_t& lastIntensity = lastIntensities_[returnContext];
    intensities_.encode(lastIntensity, intensityOf(record), std::min<std::size_t>(returnContext, 3), stream);
    lastIntensity = intensityOf(record);
  }
  if ((changed & kClassificationChanged) != 0) {
    stream.encode(classifications_[byteAt(last, kClassification)], byteAt(record, kClassification));
  }
  if ((changed & kScanAngleChanged) != 0) {
    const unsigned direction = byteAt(record, kReturns) >> 6U & 1U;
    stream.encode(scanAngles_[direction], (byteAt(record, kScanAngle) - byteAt(last, kScanAngle)) & 0xFFU);
  }
  if ((changed & kUserDataChanged) != 0) {
    stream.encode(userData_[byteAt(last, kUserData)], byteAt(record, kUserData));
  }
  if ((changed & kSourceChanged) != 0) {
    sources_.encode(wordAt(last, kSource), wordAt(record, kSource), 0, stream);
  }
}

void Point10Encoder::encodePosition(std::size_t returnContext, const std::byte* record, const std::byte* last,
                                    RangeEncoder& stream) {
  const unsigned returns = byteAt(record, kReturns);
  const std::size_t single = numReturnsOf(returns) == 1 ? 1 : 0;
  const std::int32_t xStep = wrappedDifference(xOf(record), xOf(last));
  const std::uint32_t xClass = xs_.encode(xSteps_[returnContext].get(), xStep, single, stream);
  xSteps_[returnContext].add(xStep);
  const std::int32_t yStep = wrappedDifference(yOf(record), yOf(last));
  const std::uint32_t yClass =
      ys_.encode(ySteps_[returnContext].get(), yStep, single + yContext(xClass), stream);
  ySteps_[returnContext].add(yStep);
  std::int32_t& lastZ = lastZs_[returnLevel(numReturnsOf(returns), returnNumberOf(returns))];
  zs_.encode(lastZ, zOf(record), single + zContext(xClass, yClass), stream);
  lastZ = zOf(record);
}

}  // namespace Formats::Laz
