#include "converter/LasScanReader.h"

#include <algorithm>
#include <array>
#include <string>
#include <system_error>
#include <utility>

#include "converter/ConversionError.h"
#include "converter/InputErrors.h"
#include "converter/LasRecords.h"
#include "converter/LazRecords.h"
#include "converter/LazRuns.h"
#include "converter/PlainLasRecords.h"
#include "converter/ScanFile.h"
#include "core/FormatError.h"
#include "formats/LasExtraBytes.h"
#include "formats/LasHeader.h"
#include "formats/LasPoints.h"
#include "formats/LasProjection.h"
#include "formats/LasVlr.h"
#include "formats/laz/LazVlr.h"

namespace Converter {
namespace {

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
                std::unique_ptr<LasRecords> records, const std::array<bool, 3>& complemented,
                Formats::LasPointDecoder decoder, ScanInfo info)
      : file_(std::move(file)),
        fileSize_(fileSize),
        modificationTime_(file_->modificationTime()),
        records_(std::move(records)),
        complemented_(complemented),
        decoder_(std::move(decoder)),
        info_(std::move(info)) {}

  [[nodiscard]] const ScanInfo& info() const override { return info_; }

  [[nodiscard]] std::uint64_t numBlocks() const override { return records_->numBlocks(); }

  [[nodiscard]] std::size_t mostPointsOf(std::uint64_t block) const override {
    return records_->mostPointsOf(block);
  }

  std::size_t readBlock(std::uint64_t block, const RecordTarget& target,
                        BlockCoordinates& coordinates) const override {
    coordinates.world.clear();
    coordinates.stored.resize(mostPointsOf(block) * 3);
    const bool wantsFields =
        std::any_of(target.offsets.begin(), target.offsets.end(),
                    [](std::size_t offset) { return offset != RecordTarget::kUnwanted; });
    const std::size_t count = records_->read(
        block, wantsFields ? LasRecords::Fields::All : LasRecords::Fields::Coordinates,
        [&](std::size_t first, std::span<const std::byte> records) {
          if (wantsFields) {
            decoder_.decode(records, target.records + first * target.stride, target.stride, target.offsets);
          }
          decoder_.decodeCoordinates(records, complemented_, coordinates.stored.data() + first * 3);
        });
    coordinates.stored.resize(count * 3);
    return count;
  }

  [[nodiscard]] std::vector<Math::Point<double, 3>> sample(std::size_t count) const override {
    const ScanInfo::Grid& grid = *info_.grid;
    std::vector<Math::Point<double, 3>> points;
    std::vector<std::int32_t> stored;
    records_->sample(count, [&](std::size_t /*first*/, std::span<const std::byte> records) {
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
    return points;
  }

  void checkUnchanged() const override {
    translated(Result::InputCannotRead, [&] {
      if (file_->size() == fileSize_ && file_->modificationTime() == modificationTime_) return;
      throw ConversionError(Result::InputCannotRead, info_.name + ": the file was changed while it was read");
    });
  }

 private:
  std::unique_ptr<Core::ReadableFile> file_;
  std::uint64_t fileSize_;
  std::int64_t modificationTime_;
  std::unique_ptr<LasRecords> records_;
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

/// "POINT10 version 2, BYTE version 2 in 24 bytes"
std::string listOf(const std::vector<Formats::Laz::Item>& items) {
  std::string list;
  std::size_t size = 0;
  for (const Formats::Laz::Item& item : items) {
    list += (list.empty() ? "" : ", ") + nameOf(item);
    size += item.size;
  }
  return list + " in " + std::to_string(size) + " bytes";
}

/// The record that says how the points are compressed.
Formats::Laz::LazVlr readCompression(const std::vector<Formats::LasVlr>& records,
                                     const Formats::LasHeader& header, const Core::ReadableFile& file,
                                     const Core::Source& source) {
  using namespace Formats::Laz;
  const auto record = std::find_if(records.begin(), records.end(), [](const Formats::LasVlr& one) {
    return one.is(kVlrUserId, kVlrRecordId);
  });
  if (record == records.end()) {
    throw Core::FormatError({source.name, header.headerSize}, "records of compressed points",
                            "one that says how they are compressed", "none");
  }
  std::vector<std::byte> data(std::min(record->dataSize, kLongestRecord));
  file.read(record->dataOffset, data);
  const Core::Source place{source.name, record->dataOffset};
  LazVlr vlr = readLazVlr(data, place);
  if (vlr.recordLength() != header.recordLength || !isOfPointFormat(vlr, header.pointFormat)) {
    throw Core::FormatError(place, "items of compressed points",
                            "those of point format " + std::to_string(header.pointFormat) + " in " +
                                std::to_string(header.recordLength) + " bytes",
                            listOf(vlr.items));
  }
  return vlr;
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

std::unique_ptr<LasRecords> openPlain(const Core::ReadableFile& file, const Formats::LasHeader& header,
                                      const Formats::LasPointData& points, const LasReadOptions& options,
                                      ScanInfo& info) {
  info.numPoints = numPointsOf(header, points, options, info.name, info.warnings);
  return std::make_unique<PlainLasRecords>(file, points.offset, header.recordLength, info.numPoints);
}

std::unique_ptr<LasRecords> openCompressed(const Core::ReadableFile& file, const Formats::LasHeader& header,
                                           const Formats::LasPointData& points,
                                           const std::vector<Formats::LasVlr>& vlrs,
                                           const LasReadOptions& options, ScanInfo& info) {
  const Core::Source source{info.name};
  return translated(Result::InputLazDecodeError, [&]() -> std::unique_ptr<LasRecords> {
    const Formats::Laz::LazVlr vlr = readCompression(vlrs, header, file, source);
    if (vlr.compressor == Formats::Laz::Compressor::None)
      return openPlain(file, header, points, options, info);
    LazRuns found = findLazRuns(file, header, vlr, options.allowTruncated, source);
    info.numPoints = found.numPoints;
    info.warnings.insert(info.warnings.end(), found.warnings.begin(), found.warnings.end());
    return std::make_unique<LazRecords>(file, info.name, vlr, std::move(found.runs), options.allowTruncated);
  });
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
  const auto vlrs = listRecords(header, points, *file, fileSize, info.warnings);
  std::unique_ptr<LasRecords> records = header.isCompressed
                                            ? openCompressed(*file, header, points, vlrs, options, info)
                                            : openPlain(*file, header, points, options, info);

  const auto find = [&](std::string_view userId, std::uint16_t recordId) {
    return findRecord(vlrs, userId, recordId, *file, info.warnings);
  };
  info.projection = Formats::projectionOf({find("LASF_Projection", 2112), find("liblas", 2112),
                                           find("LASF_Projection", 34735), find("LASF_Projection", 34737)},
                                          header.statesWkt, info.warnings);
  const auto extraFields = Formats::readLasExtraBytes(
      find("LASF_Spec", 4), header.recordLength - Formats::lasRecordSize(header.pointFormat), info.warnings);
  Formats::LasPointDecoder decoder(header.pointFormat, header.recordLength, extraFields);
  info.attributes = decoder.attributes();
  return std::make_unique<LasScanReader>(std::move(file), fileSize, std::move(records), header.complemented,
                                         std::move(decoder), std::move(info));
}

}  // namespace

std::unique_ptr<ScanReader> openLas(Core::FileSystem& files, const std::filesystem::path& path,
                                    const LasReadOptions& options) {
  return translated(Result::InputGetInfoError,
                    [&] { return openScan(openScanFile(files, path), path.string(), options); });
}

}  // namespace Converter
