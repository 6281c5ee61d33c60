#include "converter/PlainLasRecords.h"

#include <algorithm>
#include <memory>

#include "converter/InputErrors.h"
#include "converter/ScanReader.h"

namespace Converter {
namespace {

constexpr std::size_t kMostPerBlock = ScanReader::kMostPointsPerBlock;
// Read at a time, so that records are still in a near cache when they are used.
constexpr std::size_t kBytesPerRead = std::size_t{1} << 17U;
// Neighbouring records of a sample: fewer bytes than a disk reads at once anyway.
constexpr std::uint64_t kSampleGroup = 256;

}  // namespace

std::uint64_t PlainLasRecords::numBlocks() const {
  return numRecords_ / kMostPerBlock + (numRecords_ % kMostPerBlock != 0 ? 1 : 0);
}

std::size_t PlainLasRecords::mostPointsOf(std::uint64_t block) const {
  const std::uint64_t left = numRecords_ - block * kMostPerBlock;
  return static_cast<std::size_t>(std::min<std::uint64_t>(left, kMostPerBlock));
}

std::size_t PlainLasRecords::read(std::uint64_t block, Fields /*fields*/, const Use& use) const {
  const std::size_t count = mostPointsOf(block);
  forEachPart(block * kMostPerBlock, count, use);
  return count;
}

void PlainLasRecords::sample(std::size_t count, const Use& use) const {
  const std::uint64_t groups = count / kSampleGroup + (count % kSampleGroup != 0 ? 1 : 0);
  if (groups == 0) return;
  if (groups >= numRecords_ / kSampleGroup) {  // groups would overlap
    forEachPart(0, static_cast<std::size_t>(numRecords_), use);
    return;
  }
  // Groups begin at whole shares of what is left for the first record of one.
  const std::uint64_t gaps = std::max<std::uint64_t>(groups, 2) - 1;
  const std::uint64_t span = numRecords_ - kSampleGroup;
  for (std::uint64_t group = 0; group < groups; ++group) {
    forEachPart(span / gaps * group + span % gaps * group / gaps, kSampleGroup, use);
  }
}

void PlainLasRecords::forEachPart(std::uint64_t firstRecord, std::size_t count, const Use& use) const {
  const std::size_t perPart = std::min(std::max(kBytesPerRead / recordLength_, std::size_t{1}), count);
  const auto buffer = std::make_unique_for_overwrite<std::byte[]>(perPart * recordLength_);
  for (std::size_t first = 0; first < count; first += perPart) {
    const std::span records(buffer.get(), std::min(perPart, count - first) * recordLength_);
    translated(Result::InputCannotRead,
               [&] { file_.read(offset_ + (firstRecord + first) * recordLength_, records); });
    use(first, records);
  }
}

}  // namespace Converter
