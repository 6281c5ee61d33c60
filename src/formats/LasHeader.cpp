#include "formats/LasHeader.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>

#include "core/ByteReader.h"
#include "formats/UnsupportedFormat.h"

namespace Formats {
namespace {

constexpr std::size_t kShortestHeader = 227;
constexpr std::size_t kHeaderWithWaveforms = 235;
constexpr std::size_t kHeaderWith64BitCounts = 375;
constexpr std::uint8_t kNewestMinorVersion = 5;
constexpr std::uint8_t kNewestPointFormat = 10;
constexpr std::uint8_t kFirstFormatOf14 = 6;
constexpr std::uint8_t kPointFormat = 0x3F;  // the other bits of the field mean compression

// Where fields stand, for errors.
constexpr std::uint64_t kVersionAt = 24;
constexpr std::uint64_t kHeaderSizeAt = 94;
constexpr std::uint64_t kPointDataOffsetAt = 96;
constexpr std::uint64_t kPointFormatAt = 104;
constexpr std::uint64_t kRecordLengthAt = 105;
constexpr std::uint64_t kScaleAt = 131;
constexpr std::uint64_t kOffsetAt = 155;

// Bits of the global encoding.
constexpr unsigned kStandardTime = 1U << 0U;
constexpr unsigned kWkt = 1U << 4U;
constexpr unsigned kTimeOffset = 1U << 6U;

constexpr double kAdjustment = 1e9;      // seconds: adjusted standard time = standard time - this
constexpr double kTimeOffsetUnit = 1e6;  // seconds

constexpr std::array<std::size_t, kNewestPointFormat + 1> kRecordSizes{20, 28, 26, 34, 57, 63,
                                                                       30, 36, 38, 59, 67};

Core::Source at(const Core::Source& source, std::uint64_t byte) {
  return {source.name, source.offset + byte};
}

void skip(Core::ByteReader& reader, std::size_t count) { (void)reader.take(count, "header"); }

template <std::size_t N>
std::array<double, N> readDoubles(Core::ByteReader& reader, std::string_view field) {
  std::array<double, N> values;
  for (double& value : values) value = reader.read<double>(field);
  return values;
}

void readLaterFields(Core::ByteReader& reader, LasRawHeader& raw) {
  if (raw.versionMinor >= 3 && raw.headerSize >= kHeaderWithWaveforms) {
    raw.waveformOffset = reader.read<std::uint64_t>("waveform data offset");
  }
  if (raw.versionMinor >= 4 && raw.headerSize >= kHeaderWith64BitCounts) {
    raw.evlrOffset = reader.read<std::uint64_t>("offset to the extended records");
    raw.numEvlrs = reader.read<std::uint32_t>("number of extended records");
    raw.numPoints = reader.read<std::uint64_t>("number of points");
    raw.has64BitCounts = true;
    skip(reader, 15 * sizeof(std::uint64_t));  // points by return
  }
  if (raw.versionMinor == kNewestMinorVersion && raw.headerSize >= kLongestLasHeader) {
    skip(reader, 2 * sizeof(double));  // the range of GPS times
    raw.timeOffset = reader.read<std::uint16_t>("time offset");
    raw.hasTimeOffset = true;
  }
}

void checkSizes(const LasRawHeader& raw, const Core::Source& source) {
  if (raw.headerSize < kShortestHeader) {
    throw Core::FormatError(at(source, kHeaderSizeAt), "header size",
                            "at least " + std::to_string(kShortestHeader), std::to_string(raw.headerSize));
  }
  if (raw.pointDataOffset < raw.headerSize) {
    throw Core::FormatError(at(source, kPointDataOffsetAt), "offset to point data",
                            "at least the header's size of " + std::to_string(raw.headerSize),
                            std::to_string(raw.pointDataOffset));
  }
  const std::uint8_t pointFormat = raw.pointFormat & kPointFormat;
  if (pointFormat > kNewestPointFormat) {
    throw UnsupportedFormat(at(source, kPointFormatAt), "point data format", "0 to 10",
                            std::to_string(pointFormat));
  }
  const bool needs64BitCounts = pointFormat >= kFirstFormatOf14 || raw.versionMinor > kNewestMinorVersion;
  if (needs64BitCounts && !raw.has64BitCounts) {
    throw Core::FormatError(
        at(source, kHeaderSizeAt), "header",
        "LAS 1.4 and 375 bytes at least for point format " + std::to_string(pointFormat),
        "LAS 1." + std::to_string(raw.versionMinor) + " and " + std::to_string(raw.headerSize) + " bytes");
  }
  const std::size_t least = kRecordSizes[pointFormat];
  if (raw.recordLength < least) {
    throw Core::FormatError(at(source, kRecordLengthAt), "point record length",
                            "at least " + std::to_string(least), std::to_string(raw.recordLength));
  }
}

/// Takes scales and offsets over, negative scales normalised.
void takeGrid(const LasRawHeader& raw, const Core::Source& source, LasHeader& header) {
  constexpr double kFarthest = 2147483648.0;  // the magnitude of the least 32-bit integer
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double scale = raw.scale[axis];
    const double offset = raw.offset[axis];
    const std::string name(1, "xyz"[axis]);
    if (!std::isfinite(scale) || scale == 0) {
      throw Core::FormatError(at(source, kScaleAt + axis * sizeof(double)), name + " scale",
                              "a number other than 0", std::to_string(scale));
    }
    if (!std::isfinite(std::abs(scale) * kFarthest + std::abs(offset))) {
      throw Core::FormatError(at(source, kOffsetAt + axis * sizeof(double)), name + " offset",
                              "coordinates that are finite",
                              std::to_string(offset) + " with a scale of " + std::to_string(scale));
    }
    header.complemented[axis] = scale < 0;
    header.scale[axis] = std::abs(scale);
    header.offset[axis] = scale < 0 ? offset - scale : offset;
    if (scale < 0) {
      header.warnings.push_back("The " + name +
                                " scale is negative; it was turned round together with the "
                                "stored numbers, coordinates stay as they are.");
    }
  }
}

void takeCounts(const LasRawHeader& raw, LasHeader& header) {
  header.numPoints = raw.has64BitCounts && raw.numPoints != 0 ? raw.numPoints : raw.legacyNumPoints;
  if (raw.numPoints != 0 && raw.legacyNumPoints != 0 && raw.numPoints != raw.legacyNumPoints) {
    header.warnings.push_back("The header counts " + std::to_string(raw.numPoints) +
                              " points in its 64-bit field, " + std::to_string(raw.legacyNumPoints) +
                              " in its 32-bit field; the 64-bit field counts.");
  }
}

void takeTime(const LasRawHeader& raw, LasHeader& header) {
  const unsigned encoding = raw.versionMinor >= 2 ? raw.globalEncoding : 0U;  // reserved before
  header.statesWkt = (encoding & kWkt) != 0;
  if ((encoding & kStandardTime) == 0) return;
  header.toAdjustedStandardTime = 0.0;
  if ((encoding & kTimeOffset) == 0 || raw.versionMinor != kNewestMinorVersion) return;
  if (raw.hasTimeOffset) {
    header.toAdjustedStandardTime = raw.timeOffset * kTimeOffsetUnit - kAdjustment;
  } else {
    header.warnings.emplace_back(
        "The header announces a time offset that it has no room for; 1000 is taken.");
  }
}

bool hasWaveforms(std::uint8_t format) { return format == 4 || format == 5 || format == 9 || format == 10; }

/// Whether LAS 1.0's two signature bytes stand where the points should: they are there, and the records fill
/// the file only behind them.
bool beginsWithSignature(const LasHeader& header, std::uint64_t available, std::span<const std::byte> bytes) {
  if (header.versionMinor > 1 || bytes.size() < 2 || available < 2) return false;
  const auto first = std::to_integer<unsigned>(bytes[0]);
  const auto second = std::to_integer<unsigned>(bytes[1]);
  const bool signature = (first == 0xDD && second == 0xCC) || (first == 0xCC && second == 0xDD);
  const std::uint64_t behind = available - 2;
  return signature && behind % header.recordLength == 0 && behind / header.recordLength == header.numPoints;
}

}  // namespace

std::size_t lasRecordSize(std::uint8_t pointFormat) { return kRecordSizes.at(pointFormat); }

LasRawHeader readLasRawHeader(std::span<const std::byte> bytes, const Core::Source& source) {
  Core::ByteReader reader(bytes, source);
  constexpr std::string_view kSignature = "LASF";
  const auto signature = reader.take(kSignature.size(), "signature");
  if (std::memcmp(signature.data(), kSignature.data(), kSignature.size()) != 0) {
    throw UnsupportedFormat(source, "signature", "LASF at the start of a LAS file", "other bytes");
  }
  LasRawHeader raw;
  skip(reader, 2);  // file source id
  raw.globalEncoding = reader.read<std::uint16_t>("global encoding");
  skip(reader, 16);  // project id
  raw.versionMajor = reader.read<std::uint8_t>("version");
  raw.versionMinor = reader.read<std::uint8_t>("version");
  if (raw.versionMajor != 1) {
    throw UnsupportedFormat(at(source, kVersionAt), "version", "1.0 to 1.5",
                            std::to_string(raw.versionMajor) + '.' + std::to_string(raw.versionMinor));
  }
  skip(reader, 32 + 32 + 2 + 2);  // system, software, creation day and year
  raw.headerSize = reader.read<std::uint16_t>("header size");
  raw.pointDataOffset = reader.read<std::uint32_t>("offset to point data");
  raw.numVlrs = reader.read<std::uint32_t>("number of variable-length records");
  raw.pointFormat = reader.read<std::uint8_t>("point data format");
  raw.recordLength = reader.read<std::uint16_t>("point record length");
  raw.legacyNumPoints = reader.read<std::uint32_t>("number of points");
  skip(reader, 5 * sizeof(std::uint32_t));  // points by return
  raw.scale = readDoubles<3>(reader, "scale");
  raw.offset = readDoubles<3>(reader, "offset");
  raw.bounds = readDoubles<6>(reader, "bounds");
  readLaterFields(reader, raw);
  return raw;
}

LasHeader checkLasHeader(const LasRawHeader& raw, const Core::Source& source) {
  checkSizes(raw, source);
  LasHeader header;
  header.versionMinor = raw.versionMinor;
  header.headerSize = raw.headerSize;
  header.numVlrs = raw.numVlrs;
  header.pointDataOffset = raw.pointDataOffset;
  header.pointFormat = raw.pointFormat & kPointFormat;
  header.isCompressed = raw.pointFormat != header.pointFormat;
  header.recordLength = raw.recordLength;
  header.evlrOffset = raw.evlrOffset;
  header.numEvlrs = raw.numEvlrs;
  if (hasWaveforms(header.pointFormat)) header.waveformOffset = raw.waveformOffset;
  for (int axis = 0; axis < 3; ++axis) {
    header.statedBox.maximum[axis] = raw.bounds[2 * static_cast<std::size_t>(axis)];
    header.statedBox.minimum[axis] = raw.bounds[2 * static_cast<std::size_t>(axis) + 1];
  }
  if (raw.versionMinor > kNewestMinorVersion) {
    header.warnings.push_back("The version is 1." + std::to_string(raw.versionMinor) +
                              ", newer than any that is known; the file is read like LAS 1.4.");
  }
  if (hasWaveforms(header.pointFormat)) {
    header.warnings.emplace_back("The points refer to waveforms; these are left out.");
  }
  takeGrid(raw, source, header);
  takeCounts(raw, header);
  takeTime(raw, header);
  return header;
}

LasPointData findLasPoints(const LasHeader& header, std::uint64_t fileSize,
                           std::span<const std::byte> signature, const Core::Source& source) {
  if (header.pointDataOffset > fileSize) {
    throw Core::FormatError(at(source, kPointDataOffsetAt), "offset to point data",
                            "at most the file's size of " + std::to_string(fileSize),
                            std::to_string(header.pointDataOffset));
  }
  LasPointData points{header.pointDataOffset, 0};
  if (beginsWithSignature(header, fileSize - points.offset, signature)) points.offset += 2;
  std::uint64_t end = fileSize;
  const auto endAt = [&](std::uint64_t next) {
    if (next >= points.offset && next < end) end = next;
  };
  if (header.numEvlrs != 0) endAt(header.evlrOffset);
  if (header.waveformOffset != 0) endAt(header.waveformOffset);
  points.numPresent = (end - points.offset) / header.recordLength;
  return points;
}

}  // namespace Formats
