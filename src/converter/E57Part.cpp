#include "converter/E57Part.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <utility>

#include "converter/ConversionError.h"
#include "converter/E57Ranges.h"
#include "converter/ScanReader.h"
#include "core/FormatError.h"
#include "core/Parallel.h"
#include "formats/e57/FieldValues.h"

namespace Converter {
namespace {

namespace E57 = Formats::E57;

using E57::PacketIndex;

static_assert(kStepsPerE57Block * PacketIndex::kRecordsPerStep == ScanReader::kMostPointsPerBlock);

// Heads of packets, which are read when a file is opened, stand far apart.
constexpr std::size_t kPagesForHeads = 2;

std::uint64_t stepsOf(const E57::Scan& scan) {
  return (scan.recordCount + PacketIndex::kRecordsPerStep - 1) / PacketIndex::kRecordsPerStep;
}

/// Of up to @p wanted whole steps from number @p step on.
std::size_t recordsOf(const E57::Scan& scan, std::uint64_t step, std::uint64_t wanted) {
  const std::uint64_t left = scan.recordCount - step * PacketIndex::kRecordsPerStep;
  return static_cast<std::size_t>(std::min(left, wanted * PacketIndex::kRecordsPerStep));
}

/// The range of the finite values of some fields.
class RangeOfValues {
 public:
  void add(const E57::PointField& field, const std::byte* column, std::size_t count) {
    std::vector<double> values(count);
    E57::decodeValues(field, column, 0, count, values.data());
    for (const double value : values) {
      if (std::isfinite(value)) add({value, value});
    }
  }
  void add(const E57::ValueRange& range) {
    if (!range_) range_ = range;
    range_->expand(range);
  }

  [[nodiscard]] const std::optional<E57::ValueRange>& range() const { return range_; }

 private:
  std::optional<E57::ValueRange> range_;
};

/// Looks at all values of some fields of a scan, or at those of 16 steps all over it.
std::optional<E57::ValueRange> lookAtValues(const E57File& file, const E57::Scan& scan,
                                            const PacketIndex& index, std::initializer_list<E57::Role> roles,
                                            bool allValues) {
  constexpr std::uint64_t kFewSteps = 16;
  std::vector<char> wanted(scan.fields.size(), 0);
  for (const E57::Role role : roles) wanted[scan.find(role).value()] = 1;
  const std::uint64_t numSteps = stepsOf(scan);
  const std::uint64_t looks = allValues ? numSteps : std::min(numSteps, kFewSteps);
  std::mutex mutex;
  RangeOfValues all;  // guarded by mutex
  Core::parallelFor(static_cast<std::size_t>(looks), [&](std::size_t look) {
    const std::uint64_t step = numSteps * look / looks;
    const std::size_t count = recordsOf(scan, step, 1);
    E57Pages pages = file.pages(kPagesForPoints);
    E57::Columns columns;
    index.read(step, count, wanted, fetchFrom(pages), file.name, columns);
    RangeOfValues range;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
      if (wanted[i] != 0) range.add(scan.fields[i], columns[i], count);
    }
    if (!range.range()) return;
    const std::lock_guard lock(mutex);
    all.add(*range.range());
  });
  return all.range();
}

/// Scans that share their bytes could make a small file as large as they like.
class SharedBytesCheck {
 public:
  SharedBytesCheck(std::uint64_t fileSize, std::string_view name) : left_(fileSize), name_(name) {}

  void add(const E57::Section& section, const E57::Scan& scan) {
    const std::uint64_t size = section.end - section.begin;
    if (size > left_) {
      throw Core::FormatError({name_, scan.sectionOffset}, "sections of points", "that they share no bytes",
                              "more bytes than the file has");
    }
    left_ -= size;
  }

 private:
  std::uint64_t left_;
  std::string_view name_;
};

}  // namespace

std::size_t E57Part::recordsIn(std::uint64_t step, std::uint64_t wanted) const {
  return recordsOf(scan, step, wanted);
}

std::uint64_t E57Part::endStep() const { return firstStep + stepsOf(scan); }

std::uint64_t E57Part::endBlock() const {
  return firstBlock + (stepsOf(scan) + kStepsPerE57Block - 1) / kStepsPerE57Block;
}

std::vector<E57Part> findE57Parts(const E57File& file, const std::vector<E57::Scan>& scans) {
  std::vector<E57Part> parts;
  SharedBytesCheck sharedBytes(file.size, file.name);
  for (const E57::Scan& scan : scans) {
    if (scan.recordCount == 0) continue;
    if (!scan.hasCartesian() && !scan.hasSpherical()) {
      throw ConversionError(Result::InputNoPositions,
                            file.name + ": the points of scan " + std::to_string(scan.number) +
                                " have neither Cartesian nor spherical coordinates");
    }
    E57Pages pages = file.pages(kPagesForHeads);
    const E57::Fetch fetch = fetchFrom(pages);
    const E57::Section section = E57::readSection(scan.sectionOffset, file.size, fetch, file.name);
    sharedBytes.add(section, scan);
    PacketIndex index(scan, section, fetch, file.name);
    const LookAtValues look = [&](std::initializer_list<E57::Role> roles, bool allValues) {
      return lookAtValues(file, scan, index, roles, allValues);
    };
    E57::PointDecoder decoder(scan, intensityScale(scan, look), colorScale(scan, look));
    const std::uint64_t firstStep = parts.empty() ? 0 : parts.back().endStep();
    const std::uint64_t firstBlock = parts.empty() ? 0 : parts.back().endBlock();
    parts.push_back({scan, std::move(index), std::move(decoder), firstStep, firstBlock});
  }
  return parts;
}

}  // namespace Converter
