#include <gmock/gmock.h>

#include <limits>

#include "formats/LasHeader.h"
#include "formats/UnsupportedFormat.h"
#include "support/LasFile.h"

namespace {

using Formats::LasHeader;
using Formats::UnsupportedFormat;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Testing::LasFile;

LasHeader readHeader(const std::string& bytes) {
  const auto all = std::as_bytes(std::span(bytes));
  const auto head = all.first(std::min(all.size(), Formats::kLongestLasHeader));
  const Core::Source source{"a.las"};
  return Formats::checkLasHeader(Formats::readLasRawHeader(head, source), source);
}

template <class Error>
std::string refusal(const LasFile& file) {
  try {
    (void)readHeader(file.bytes());
  } catch (const Error& error) {
    return error.what();
  }
  return "was read";
}

Formats::LasPointData findPoints(const std::string& bytes) {
  const LasHeader header = readHeader(bytes);
  const auto all = std::as_bytes(std::span(bytes));
  const auto at = std::min<std::size_t>(header.pointDataOffset, all.size());
  return Formats::findLasPoints(header, bytes.size(),
                                all.subspan(at, std::min<std::size_t>(2, all.size() - at)), {"a.las"});
}

TEST(LasHeader, GivesWhatTheFileStates) {
  const LasHeader header = readHeader(
      LasFile(3).scale({0.1, 0.2, 0.3}).offset({10, 20, 30}).vlr("a", 1, "data").points(2).bytes());
  EXPECT_EQ(header.versionMinor, 2);
  EXPECT_EQ(header.headerSize, 227);
  EXPECT_EQ(header.numVlrs, 1U);
  EXPECT_EQ(header.pointDataOffset, 227U + 54 + 4);
  EXPECT_EQ(header.pointFormat, 3);
  EXPECT_EQ(header.recordLength, 34);
  EXPECT_EQ(header.numPoints, 2U);
  EXPECT_THAT(header.scale, ElementsAre(0.1, 0.2, 0.3));
  EXPECT_THAT(header.offset, ElementsAre(10, 20, 30));
  EXPECT_THAT(header.warnings, IsEmpty());
}

TEST(LasHeader, ReadsEveryVersionAndItsHeaderSize) {
  for (std::uint8_t minor = 0; minor <= 5; ++minor) {
    const LasHeader header = readHeader(LasFile(1).minorVersion(minor).points(3).bytes());
    EXPECT_EQ(header.versionMinor, minor);
    EXPECT_EQ(header.numPoints, 3U);
    EXPECT_THAT(header.warnings, IsEmpty());
  }
}

TEST(LasHeader, RefusesEveryTruncation) {
  for (std::uint8_t minor = 0; minor <= 5; ++minor) {
    const std::string whole = LasFile().minorVersion(minor).bytes();
    for (std::size_t n = 0; n < whole.size(); ++n) {
      const std::string cut(whole.data(), n);  // its own allocation, so that over-reads are seen
      EXPECT_THROW((void)readHeader(cut), Core::FormatError)
          << "LAS 1." << int{minor} << ", " << n << " bytes";
    }
  }
}

TEST(LasHeader, TakesMinimumAndMaximumFromTheirPlaces) {
  LasFile file;
  for (int i = 0; i < 6; ++i) file.patch(179 + 8 * static_cast<std::size_t>(i), i + 1.0);
  const LasHeader header = readHeader(file.bytes());
  EXPECT_EQ(header.statedBox.maximum, (Math::Point<double, 3>{{1, 3, 5}}));
  EXPECT_EQ(header.statedBox.minimum, (Math::Point<double, 3>{{2, 4, 6}}));
}

TEST(LasHeader, PassesOnABoxThatCannotBe) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_NO_THROW((void)readHeader(LasFile().patch(179, nan).patch(187, 1e300).bytes()));
}

TEST(LasHeader, SaysThatAnotherSignatureIsNoLas) {
  EXPECT_EQ(refusal<UnsupportedFormat>(LasFile().patch(0, 'X')),
            "a.las, byte 0: signature: expected LASF at the start of a LAS file, found other bytes");
}

TEST(LasHeader, SaysThatAMajorVersionIsNotRead) {
  EXPECT_EQ(refusal<UnsupportedFormat>(LasFile().patch(24, std::uint8_t{2})),
            "a.las, byte 24: version: expected 1.0 to 1.5, found 2.2");
}

TEST(LasHeader, TellsCompressedPointsByTheUpperBitsOfTheFormat) {
  for (const int format : {0x81, 0x41, 0xC1}) {
    const LasHeader header = readHeader(LasFile(1).patch(104, static_cast<std::uint8_t>(format)).bytes());
    EXPECT_TRUE(header.isCompressed);
    EXPECT_EQ(header.pointFormat, 1);
  }
  EXPECT_FALSE(readHeader(LasFile(1).bytes()).isCompressed);
}

TEST(LasHeader, SaysThatPointFormatsAboveTenAreNotRead) {
  EXPECT_EQ(refusal<UnsupportedFormat>(LasFile(10).patch(104, std::uint8_t{11})),
            "a.las, byte 104: point data format: expected 0 to 10, found 11");
}

TEST(LasHeader, RefusesRecordsShorterThanTheirPointFormat) {
  EXPECT_EQ(refusal<Core::FormatError>(LasFile(3).recordLength(33)),
            "a.las, byte 105: point record length: expected at least 34, found 33");
  EXPECT_EQ(readHeader(LasFile(3).recordLength(61).bytes()).recordLength, 61);
}

TEST(LasHeader, RefusesAHeaderSizeBelowTheShortest) {
  EXPECT_EQ(refusal<Core::FormatError>(LasFile().patch(94, std::uint16_t{226})),
            "a.las, byte 94: header size: expected at least 227, found 226");
}

TEST(LasHeader, RefusesPointsThatBeginInsideIt) {
  EXPECT_EQ(refusal<Core::FormatError>(LasFile().patch(96, std::uint32_t{226})),
            "a.las, byte 96: offset to point data: expected at least the header's size of 227, found 226");
}

TEST(LasHeader, RefusesPointFormatsOf14WithoutItsCounts) {
  EXPECT_EQ(
      refusal<Core::FormatError>(LasFile(6).minorVersion(2)),
      "a.las, byte 94: header: expected LAS 1.4 and 375 bytes at least for point format 6, found LAS 1.2 "
      "and 227 bytes");
}

TEST(LasHeader, MayBeLongerThanItsVersionsFields) {
  EXPECT_EQ(readHeader(LasFile().headerSize(500).points(1).bytes()).numPoints, 1U);
}

TEST(LasHeader, ReadsNewerMinorVersionsLike14WithAWarning) {
  const LasHeader header = readHeader(LasFile(6).minorVersion(9).points(2).bytes());
  EXPECT_EQ(header.numPoints, 2U);
  EXPECT_THAT(header.warnings, ElementsAre(HasSubstr("1.9")));
}

TEST(LasHeader, RefusesNewerMinorVersionsWhoseHeaderDoesNotCover14) {
  EXPECT_THAT(refusal<Core::FormatError>(LasFile(0).minorVersion(6).patch(94, std::uint16_t{300})),
              HasSubstr("375 bytes at least"));
}

TEST(LasHeader, Prefers64BitCountsAndSaysSo) {
  const LasHeader header = readHeader(LasFile(6).statedPoints(5'000'000'000).patch(107, 7U).bytes());
  EXPECT_EQ(header.numPoints, 5'000'000'000U);
  EXPECT_THAT(header.warnings, ElementsAre(HasSubstr("5000000000")));
}

TEST(LasHeader, FallsBackToThe32BitCount) {
  EXPECT_EQ(readHeader(LasFile(6).statedPoints(0).patch(107, 7U).bytes()).numPoints, 7U);
  EXPECT_EQ(readHeader(LasFile(1).minorVersion(4).headerSize(227).statedPoints(7).bytes()).numPoints, 7U);
}

TEST(LasHeader, RefusesScalesThatGiveNoCoordinates) {
  for (const double scale :
       {0.0, -0.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    EXPECT_THAT(refusal<Core::FormatError>(LasFile().scale({1, scale, 1})), HasSubstr("byte 139: y scale"));
  }
}

TEST(LasHeader, RefusesOffsetsThatGiveNoFiniteCoordinates) {
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_THAT(refusal<Core::FormatError>(LasFile().offset({0, 0, -infinity})),
              HasSubstr("byte 171: z offset"));
  EXPECT_THAT(refusal<Core::FormatError>(LasFile().scale({1e300, 1, 1})), HasSubstr("byte 155: x offset"));
}

TEST(LasHeader, TurnsANegativeScaleRound) {
  const LasHeader header = readHeader(LasFile().scale({0.5, -0.25, 1}).offset({0, 100, 0}).bytes());
  EXPECT_THAT(header.scale, ElementsAre(0.5, 0.25, 1));
  EXPECT_THAT(header.offset, ElementsAre(0, 100.25, 0));
  EXPECT_THAT(header.complemented, ElementsAre(false, true, false));
  for (const std::int32_t x : {0, 5, -5, INT32_MAX, INT32_MIN}) {
    EXPECT_EQ(~x * header.scale[1] + header.offset[1], x * -0.25 + 100);
  }
}

TEST(LasHeader, KnowsHowTimesAreEncoded) {
  const auto shift = [](std::uint8_t minor, std::uint16_t encoding) {
    return readHeader(LasFile(1).minorVersion(minor).globalEncoding(encoding).bytes()).toAdjustedStandardTime;
  };
  EXPECT_EQ(shift(2, 0), std::nullopt) << "seconds of the week";
  EXPECT_EQ(shift(2, 1), 0.0);
  EXPECT_EQ(shift(1, 1), std::nullopt) << "the field is reserved before 1.2";
  EXPECT_EQ(shift(4, 1 + 64), 0.0) << "the time offset came with 1.5";
}

TEST(LasHeader, AppliesTheTimeOffsetOf15) {
  const auto file = LasFile(6).minorVersion(5).globalEncoding(1 + 64).patch(391, std::uint16_t{1400});
  EXPECT_EQ(readHeader(file.bytes()).toAdjustedStandardTime, 4e8);
}

TEST(LasHeader, KnowsWhetherWktIsStated) {
  EXPECT_TRUE(readHeader(LasFile(6).globalEncoding(16).bytes()).statesWkt);
  EXPECT_FALSE(readHeader(LasFile(6).globalEncoding(0xFFEF).bytes()).statesWkt);
}

TEST(LasHeader, SaysThatWaveformsAreLeftOut) {
  for (const int format : {4, 5, 9, 10}) {
    const LasHeader header = readHeader(LasFile(static_cast<std::uint8_t>(format)).bytes());
    EXPECT_THAT(header.warnings, ElementsAre(HasSubstr("waveforms")));
  }
}

TEST(LasPointData, HoldsWholeRecordsUpToTheFilesEnd) {
  const auto points = findPoints(LasFile(1).vlr("a", 1, "x").points(3).tail("cut").bytes());
  EXPECT_EQ(points.offset, 227U + 54 + 1);
  EXPECT_EQ(points.numPresent, 3U);
}

TEST(LasPointData, EndsAtTheExtendedRecords) {
  EXPECT_EQ(findPoints(LasFile(6).points(3).evlr("a", 1, std::string(100, 'x')).bytes()).numPresent, 3U);
}

TEST(LasPointData, EndsAtTheWaveforms) {
  const auto file = LasFile(9).points(2).tail(std::string(200, 'w')).patch(227, std::uint64_t{375 + 2 * 59});
  EXPECT_EQ(findPoints(file.bytes()).numPresent, 2U);
}

TEST(LasPointData, IsNotEndedByWhatLiesBeforeItOrBehindTheFile) {
  const auto evlrAt = [](std::uint64_t offset) {
    return LasFile(6).points(3).evlr("a", 1, "").patch(235, offset).bytes();
  };
  EXPECT_EQ(findPoints(evlrAt(100)).numPresent, 5U)
      << "60 bytes of the extended record are room for two more";
  EXPECT_EQ(findPoints(evlrAt(1U << 30U)).numPresent, 5U);
}

TEST(LasPointData, RefusesAnOffsetBehindTheFile) {
  EXPECT_THROW((void)findPoints(LasFile().patch(96, 228U).bytes()), Core::FormatError);
  EXPECT_EQ(findPoints(LasFile().bytes()).numPresent, 0U) << "at its end is none the less a place";
}

TEST(LasPointData, BeginsBehindTheSignatureOfLas10) {
  for (const char* signature : {"\xDD\xCC", "\xCC\xDD"}) {
    const std::string counted = LasFile(1).minorVersion(0).gap(signature).points(3).patch(96, 227U).bytes();
    EXPECT_EQ(findPoints(counted).offset, 229U) << "the offset points at the signature";
    const std::string skipped = LasFile(1).minorVersion(0).gap(signature).points(3).bytes();
    EXPECT_EQ(findPoints(skipped).offset, 229U) << "the offset points behind it";
  }
}

TEST(LasPointData, TakesSignatureBytesForPointsWhereTheFileSaysSo) {
  const std::string record = "\xDD\xCC" + std::string(26, '\0');
  EXPECT_EQ(findPoints(LasFile(1).minorVersion(0).point(record).bytes()).offset, 227U);
}

}  // namespace
