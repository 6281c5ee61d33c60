#include "converter/LasScanReader.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "converter/ConversionError.h"
#include "converter/ScanFile.h"
#include "formats/LasExtraBytes.h"
#include "formats/LasHeader.h"
#include "formats/LasPoints.h"
#include "formats/LasProjection.h"
#include "formats/LasVlr.h"

namespace Converter {
namespace {

// Read and decoded at a time, so that records are still in a near cache when they are decoded.
constexpr std::size_t kBytesPerRead = std::size_t{1} << 17U;
// Neighbouring records of a sample: fewer bytes than a disk reads at once anyway.
constexpr std::uint64_t kSampleGroup = 256;
// Coordinate systems and descriptions take kilobytes.
constexpr std::uint64_t kLongestRecord = std::uint64_t{1} << 24U;

static_assert(RecordTarget::kUnwanted == Formats::LasPointDecoder::kUnwanted);

/// The data of a record; empty, with a warning, where it is longer than any that makes sense.
std::vector<std::byte> dataOf(const Formats::LasVlr& record, const Core::ReadableFile& file,
                              std::vector<std::string>& warnings) {
  if (record.dataSize > kLongestRecord) {
    warnings.push_back("The record " + record.userId + ' ' + std::to_string(record.recordId) + " of " +
                       std::to_string(record.dataSize) + " bytes is longer than the " +
                       std::to_string(kLongestRecord) + " that are read; it is left out.");
    return {};
  }
  std::vector<std::byte> data(record.dataSize);
  file.read(record.dataOffset, data);
  return data;
}

/// The first record that is not empty.
std::vector<std::byte> findRecord(const std::vector<Formats::LasVlr>& records, std::string_view userId,
                                  std::uint16_t recordId, const Core::ReadableFile& file,
                                  std::vector<std::string>& warnings) {
  for (const Formats::LasVlr& record : records) {
    if (record.is(userId, recordId) && record.dataSize != 0) return dataOf(record, file, warnings);
  }
  return {};
}

/// All records of a file, those before the points first.
std::vector<Formats::LasVlr> listRecords(const Formats::LasHeader& header,
                                         const Formats::LasPointData& points, const Core::ReadableFile& file,
                                         std::uint64_t fileSize, std::vector<std::string>& warnings) {
  using Formats::LasVlrRegion;
  const auto fetch = [&](std::uint64_t offset, std::span<std::byte> out) { file.read(offset, out); };
  std::vector<Formats::LasVlr> records = Formats::listLasVlrs(
      {LasVlrRegion::Kind::Vlr, header.headerSize, header.pointDataOffset, header.numVlrs}, fetch, warnings);
  if (header.numEvlrs != 0 && header.evlrOffset < points.offset) {
    warnings.push_back("The extended records would begin at byte " + std::to_string(header.evlrOffset) +
                       ", before the points; they are left out.");
    return records;
  }
  const std::vector<Formats::LasVlr> behind = Formats::listLasVlrs(
      {LasVlrRegion::Kind::Evlr, header.evlrOffset, fileSize, header.numEvlrs}, fetch, warnings);
  records.insert(records.end(), behind.begin(), behind.end());
  return records;
}

class LasScanReader final : public ScanReader {
 public:
  LasScanReader(std::unique_ptr<Core::ReadableFile> file, std::uint64_t fileSize,
                const Formats::LasHeader& header, const Formats::LasPointData& points,
                Formats::LasPointDecoder decoder, ScanInfo info)
      : file_(std::move(file)),
        fileSize_(fileSize),
        modificationTime_(file_->modificationTime()),
        dataOffset_(points.offset),
        complemented_(header.complemented),
        decoder_(std::move(decoder)),
        info_(std::move(info)) {}

  [[nodiscard]] const ScanInfo& info() const override { return info_; }

  [[nodiscard]] std::uint64_t numBlocks() const override {
    return info_.numPoints / kMostPointsPerBlock + (info_.numPoints % kMostPointsPerBlock != 0 ? 1 : 0);
  }

  [[nodiscard]] std::size_t mostPointsOf(std::uint64_t block) const override {
    const std::uint64_t left = info_.numPoints - block * kMostPointsPerBlock;
    return static_cast<std::size_t>(std::min<std::uint64_t>(left, kMostPointsPerBlock));
  }

  std::size_t readBlock(std::uint64_t block, const RecordTarget& target,
                        BlockCoordinates& coordinates) const override {
    const std::size_t count = mostPointsOf(block);
    coordinates.world.clear();
    coordinates.stored.resize(count * 3);
    forEachPart(
        block * kMostPointsPerBlock, count, [&](std::size_t first, std::span<const std::byte> records) {
          decoder_.decode(records, target.records + first * target.stride, target.stride, target.offsets);
          decoder_.decodeCoordinates(records, complemented_, coordinates.stored.data() + first * 3);
        });
    return count;
  }

  [[nodiscard]] std::vector<Math::Point<double, 3>> sample(std::size_t count) const override {
    std::vector<Math::Point<double, 3>> points;
    const std::uint64_t total = info_.numPoints;
    const std::uint64_t groups = count / kSampleGroup + (count % kSampleGroup != 0 ? 1 : 0);
    if (groups == 0) return points;
    if (groups >= total / kSampleGroup) {  // groups would overlap
      appendWorld(0, total, points);
      return points;
    }
    // Groups begin at whole shares of what is left for the first record of one.
    const std::uint64_t gaps = std::max<std::uint64_t>(groups, 2) - 1;
    const std::uint64_t span = total - kSampleGroup;
    for (std::uint64_t group = 0; group < groups; ++group) {
      appendWorld(span / gaps * group + span % gaps * group / gaps, kSampleGroup, points);
    }
    return points;
  }

  void checkUnchanged() const override {
    withResults(Result::InputCannotRead, [&] {
      if (file_->size() == fileSize_ && file_->modificationTime() == modificationTime_) return;
      throw ConversionError(Result::InputCannotRead, info_.name + ": the file was changed while it was read");
    });
  }

 private:
  /// Reads records and hands them to @p use in parts, with the number of those before each part.
  template <class Use>
  void forEachPart(std::uint64_t firstRecord, std::size_t count, const Use& use) const {
    const std::size_t length = decoder_.recordLength();
    const std::size_t perPart = std::min(std::max(kBytesPerRead / length, std::size_t{1}), count);
    const auto buffer = std::make_unique_for_overwrite<std::byte[]>(perPart * length);
    for (std::size_t first = 0; first < count; first += perPart) {
      const std::span records(buffer.get(), std::min(perPart, count - first) * length);
      withResults(Result::InputCannotRead,
                  [&] { file_->read(dataOffset_ + (firstRecord + first) * length, records); });
      use(first, records);
    }
  }

  void appendWorld(std::uint64_t firstRecord, std::uint64_t count,
                   std::vector<Math::Point<double, 3>>& points) const {
    const ScanInfo::Grid& grid = *info_.grid;
    std::vector<std::int32_t> stored;
    forEachPart(firstRecord, static_cast<std::size_t>(count),
                [&](std::size_t, std::span<const std::byte> records) {
                  stored.resize(records.size() / decoder_.recordLength() * 3);
                  decoder_.decodeCoordinates(records, complemented_, stored.data());
                  for (std::size_t i = 0; i < stored.size(); i += 3) {
                    Math::Point<double, 3> world;
                    for (std::size_t axis = 0; axis < 3; ++axis) {
                      world[static_cast<int>(axis)] = stored[i + axis] * grid.scale[axis] + grid.offset[axis];
                    }
                    points.push_back(world);
                  }
                });
  }

  std::unique_ptr<Core::ReadableFile> file_;
  std::uint64_t fileSize_;
  std::int64_t modificationTime_;
  std::uint64_t dataOffset_;
  std::array<bool, 3> complemented_;
  Formats::LasPointDecoder decoder_;
  ScanInfo info_;
};

Formats::LasHeader readHeader(const Core::ReadableFile& file, std::uint64_t fileSize,
                              const Core::Source& source) {
  std::vector<std::byte> bytes(std::min<std::uint64_t>(fileSize, Formats::kLongestLasHeader));
  file.read(0, bytes);
  return Formats::checkLasHeader(Formats::readLasRawHeader(bytes, source), source);
}

Formats::LasPointData findPoints(const Formats::LasHeader& header, const Core::ReadableFile& file,
                                 std::uint64_t fileSize, const Core::Source& source) {
  std::array<std::byte, 2> signature{};
  const bool hasRoom = header.pointDataOffset <= fileSize && fileSize - header.pointDataOffset >= 2;
  if (hasRoom) file.read(header.pointDataOffset, signature);
  return Formats::findLasPoints(header, fileSize, std::span(signature).first(hasRoom ? 2 : 0), source);
}

/// Compares the stated number of points with what is there.
std::uint64_t numPointsOf(const Formats::LasHeader& header, const Formats::LasPointData& points,
                          const LasReadOptions& options, const std::string& name,
                          std::vector<std::string>& warnings) {
  const std::string counts = "the header counts " + std::to_string(header.numPoints) +
                             " points, the file holds " + std::to_string(points.numPresent);
  if (points.numPresent < header.numPoints) {
    if (!options.allowTruncated) {
      throw ConversionError(Result::InputCannotRead, name + ", byte " + std::to_string(points.offset) +
                                                         ": the file is truncated: " + counts);
    }
    warnings.push_back("The file is truncated: " + counts + "; these are read.");
  } else if (points.numPresent > header.numPoints) {
    warnings.push_back("There is room for more points than the header counts: " + counts +
                       "; those that are counted are read.");
  }
  return std::min(header.numPoints, points.numPresent);
}

ScanInfo infoOf(const Formats::LasHeader& header, const std::string& name) {
  ScanInfo info;
  info.name = name;
  info.statedBox = header.statedBox;
  info.grid = ScanInfo::Grid{header.scale, header.offset};
  info.toAdjustedStandardTime = header.toAdjustedStandardTime;
  info.warnings = header.warnings;
  return info;
}

/// Opens what is known to be a regular file; throws what the readers of bytes throw.
std::unique_ptr<ScanReader> openScan(std::unique_ptr<Core::ReadableFile> file, const std::string& name,
                                     const LasReadOptions& options) {
  const std::uint64_t fileSize = file->size();
  if (fileSize == 0) throw ConversionError(Result::InputEmpty, name + ": the file is empty");
  const Core::Source source{name};
  const Formats::LasHeader header = readHeader(*file, fileSize, source);
  const Formats::LasPointData points = findPoints(header, *file, fileSize, source);
  ScanInfo info = infoOf(header, name);
  info.numPoints = numPointsOf(header, points, options, name, info.warnings);

  const auto records = listRecords(header, points, *file, fileSize, info.warnings);
  const auto find = [&](std::string_view userId, std::uint16_t recordId) {
    return findRecord(records, userId, recordId, *file, info.warnings);
  };
  info.projection = Formats::projectionOf({find("LASF_Projection", 2112), find("liblas", 2112),
                                           find("LASF_Projection", 34735), find("LASF_Projection", 34737)},
                                          header.statesWkt, info.warnings);
  const auto extraFields = Formats::readLasExtraBytes(
      find("LASF_Spec", 4), header.recordLength - Formats::lasRecordSize(header.pointFormat), info.warnings);
  Formats::LasPointDecoder decoder(header.pointFormat, header.recordLength, extraFields);
  info.attributes = decoder.attributes();
  return std::make_unique<LasScanReader>(std::move(file), fileSize, header, points, std::move(decoder),
                                         std::move(info));
}

}  // namespace

std::unique_ptr<ScanReader> openLas(Core::FileSystem& files, const std::filesystem::path& path,
                                    const LasReadOptions& options) {
  return withResults(Result::InputGetInfoError,
                     [&] { return openScan(openScanFile(files, path), path.string(), options); });
}

}  // namespace Converter
