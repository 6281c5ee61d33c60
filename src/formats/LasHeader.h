#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "core/FormatError.h"
#include "math/BoundingBox.h"

namespace Formats {

/// Bytes of the longest public header that is understood, that of LAS 1.5: a reader fetches this many, or all
/// that the file has.
inline constexpr std::size_t kLongestLasHeader = 393;

/// The public header as its bytes stand (ASPRS LAS 1.4 R15, 2.4; LAS 1.5), without the texts and the creation
/// date, which nothing depends on. Fields that the version or the header's size do not cover are 0.
struct LasRawHeader {
  std::uint16_t globalEncoding = 0;
  std::uint8_t versionMajor = 0;
  std::uint8_t versionMinor = 0;
  std::uint16_t headerSize = 0;
  std::uint32_t pointDataOffset = 0;
  std::uint32_t numVlrs = 0;
  std::uint8_t pointFormat = 0;  ///< bits 6 and 7 mean compression
  std::uint16_t recordLength = 0;
  std::uint32_t legacyNumPoints = 0;
  std::array<double, 3> scale{};
  std::array<double, 3> offset{};
  std::array<double, 6> bounds{};  ///< maximum and minimum of x, then of y, then of z
  std::uint64_t waveformOffset = 0;
  std::uint64_t evlrOffset = 0;
  std::uint32_t numEvlrs = 0;
  std::uint64_t numPoints = 0;
  std::uint16_t timeOffset = 0;  ///< millions of seconds
  bool has64BitCounts = false;   ///< whether the last fields from evlrOffset to numPoints are there
  bool hasTimeOffset = false;
};

/// A header that can be worked with: whatever a file states that is wrong has been refused, or put right and
/// noted among the warnings.
struct LasHeader {
  std::uint8_t versionMinor = 0;
  std::uint16_t headerSize = 0;  ///< where the VLRs begin
  std::uint32_t numVlrs = 0;     ///< as stated: it may be larger than what is there
  std::uint64_t pointDataOffset = 0;
  std::uint8_t pointFormat = 0;    ///< 0 to 10
  bool isCompressed = false;       ///< whether the points are not records, but LAZ
  std::uint16_t recordLength = 0;  ///< at least that of the point format
  std::uint64_t numPoints = 0;     ///< as stated
  /// Where something else than points begins, if anywhere: the EVLRs or the waveform record. As stated.
  std::uint64_t evlrOffset = 0;
  std::uint32_t numEvlrs = 0;
  std::uint64_t waveformOffset = 0;  ///< 0 for point formats without waveforms

  /// world = stored * scale + offset, finite for every stored 32-bit integer; scale above 0. Where the file
  /// has a negative scale the stored integers X are to be taken as ~X, which is -X - 1: the offset makes up
  /// for the 1, so that every integer has a counterpart.
  std::array<double, 3> scale{};
  std::array<double, 3> offset{};
  std::array<bool, 3> complemented{};

  Math::NBoundingBox<double, 3> statedBox;  ///< may be wrong, inverted or not finite
  bool statesWkt = false;                   ///< that the coordinate system is given as WKT
  /// To be added to a point's time to get adjusted standard time; nothing where times are seconds of a week.
  std::optional<double> toAdjustedStandardTime;
  std::vector<std::string> warnings;
};

/// Where the point records lie in a file.
struct LasPointData {
  std::uint64_t offset = 0;
  /// Whole records up to the file's end or to what stands behind the points, were they not compressed.
  std::uint64_t numPresent = 0;
};

/// Bytes of a point record without extra bytes; the format is 0 to 10.
[[nodiscard]] std::size_t lasRecordSize(std::uint8_t pointFormat);

/// @param bytes  the file's first kLongestLasHeader bytes, or all of a shorter file.
/// @throws UnsupportedFormat for what is no LAS file, or of a major version other than 1;
///         FormatError when the header is cut short.
[[nodiscard]] LasRawHeader readLasRawHeader(std::span<const std::byte> bytes, const Core::Source& source);

/// @throws UnsupportedFormat for point formats above 10; FormatError for sizes, scales and offsets that
/// cannot
///         be.
[[nodiscard]] LasHeader checkLasHeader(const LasRawHeader& raw, const Core::Source& source);

/// Finds the point records of a file of @p fileSize bytes.
/// @param signature  the two bytes at header.pointDataOffset, or nothing where the file ends before: LAS 1.0
///                   has two signature bytes in front of the points, which some files count as points.
/// @throws FormatError when the points would begin behind the file's end.
[[nodiscard]] LasPointData findLasPoints(const LasHeader& header, std::uint64_t fileSize,
                                         std::span<const std::byte> signature, const Core::Source& source);

}  // namespace Formats
