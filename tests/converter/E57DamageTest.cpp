// E57 files that are damaged, incomplete or made to do harm: how opening or reading them ends.
#include <gmock/gmock.h>

#include "converter/ConversionError.h"
#include "converter/E57ScanReader.h"
#include "support/E57File.h"
#include "support/LasFile.h"
#include "support/MemoryFileSystem.h"

namespace {

using Converter::ConversionError;
using Converter::Result;
using Testing::cartesianFields;
using Testing::E57File;
using Testing::E57Scan;
using testing::HasSubstr;
using Testing::MemoryFileSystem;

/// How opening a file and reading all of its points ends; Success with the number of points.
struct Ending {
  Result result = Result::Success;
  std::string text;
};

Ending endingOf(const std::string& bytes, std::size_t reads = SIZE_MAX) {
  MemoryFileSystem files;
  files.put("a.e57", bytes);
  files.failReadsAfter(reads);
  try {
    const auto scan = Converter::openE57(files, "a.e57");
    const std::vector<std::size_t> unwanted(scan->info().attributes.size(),
                                            Converter::RecordTarget::kUnwanted);
    Converter::BlockCoordinates coordinates;
    std::size_t points = 0;
    for (std::uint64_t block = 0; block < scan->numBlocks(); ++block) {
      points += scan->readBlock(block, {nullptr, 0, unwanted}, coordinates);
    }
    return {Result::Success, std::to_string(points)};
  } catch (const ConversionError& error) {
    return {error.result(), error.what()};
  }
}

Ending endingOf(const E57File& file) { return endingOf(file.bytes()); }

void expectEnding(const Ending& ending, Result result, const std::string& text) {
  EXPECT_EQ(ending.result, result) << ending.text;
  EXPECT_THAT(ending.text, HasSubstr(text));
}

template <class Value>
std::string little(Value value) {
  std::string bytes;
  Testing::put(bytes, 0, value);
  return bytes;
}

/// 300 points: the section takes several pages.
E57Scan somePoints() {
  const std::vector<double> values(300, 1.5);
  return {cartesianFields(values, values, values), {}, {}, {}, {}};
}

TEST(E57Damage, AMissingFileAndAnEmptyOneHaveTheirOwnResults) {
  MemoryFileSystem files;
  try {
    (void)Converter::openE57(files, "a.e57");
    FAIL();
  } catch (const ConversionError& error) {
    EXPECT_EQ(error.result(), Result::InputFileNotFound);
  }
  expectEnding(endingOf(std::string()), Result::InputEmpty, "a.e57: the file is empty");
}

TEST(E57Damage, OtherFilesUnderItsNameAreUnsupported) {
  expectEnding(endingOf(std::string(2048, 'x')), Result::InputPointCloudFormatUnsupported, "signature");
  expectEnding(endingOf("ASTM-E5"), Result::InputGetInfoError, "signature");
}

TEST(E57Damage, APageThatIsDamagedIsNamedWhereverItLies) {
  const std::string whole = E57File().scan(somePoints()).bytes();
  ASSERT_EQ(endingOf(whole).text, "300");
  for (std::size_t page = 0; page < whole.size() / 1024; ++page) {
    std::string bytes = whole;
    bytes[page * 1024 + 700] = static_cast<char>(bytes[page * 1024 + 700] ^ 1);
    expectEnding(endingOf(bytes), Result::InputCannotRead,
                 "byte " + std::to_string(page * 1024) + ": checksum of page " + std::to_string(page));
  }
}

TEST(E57Damage, EveryTruncationIsRefused) {
  const std::string whole = E57File().scan(somePoints()).bytes();
  for (std::size_t size = 48; size < whole.size(); size += 97) {
    expectEnding(endingOf(whole.substr(0, size)), Result::InputCannotRead, "truncated");
  }
  expectEnding(endingOf(whole + std::string(1024, '\0')), Result::InputCannotRead, "truncated or damaged");
}

TEST(E57Damage, ReadsThatFailAreToldAsSuch) {
  const std::string whole = E57File().scan(somePoints()).bytes();
  for (std::size_t reads = 0; reads < 5; ++reads) {
    EXPECT_EQ(endingOf(whole, reads).result, Result::InputCannotRead) << reads;
  }
}

TEST(E57Damage, AnXmlSectionOutsideTheFileIsRefused) {
  expectEnding(endingOf(E57File().scan(somePoints()).patch(24, little(std::uint64_t{1} << 40U))),
               Result::InputGetInfoError, "offset of the XML section");
  expectEnding(endingOf(E57File().scan(somePoints()).patch(32, little(std::uint64_t{1} << 40U))),
               Result::InputGetInfoError, "length of the XML section");
}

TEST(E57Damage, XmlThatIsMalformedForeignOrABombIsRefused) {
  const auto withXml = [](const std::string& xml) { return endingOf(E57File().xml(xml)); };
  expectEnding(withXml("<e57Root"), Result::InputGetInfoError, "a.e57, XML section: document, byte");
  expectEnding(withXml("<kml/>"), Result::InputGetInfoError, "root element");
  expectEnding(withXml(R"(<!DOCTYPE e [<!ENTITY a "aaaa">]><e57Root>&a;</e57Root>)"),
               Result::InputGetInfoError, "no type declaration");
}

TEST(E57Damage, FilesWithoutScansOrPointsOpenAndAreEmpty) {
  expectEnding(endingOf(E57File()), Result::Success, "0");
  expectEnding(endingOf(E57File().xml("<e57Root/>")), Result::Success, "0");
  expectEnding(endingOf(E57File().scan({cartesianFields({}, {}, {}), {}, {}, {}, {}})), Result::Success, "0");
  expectEnding(endingOf(E57File().scan({})), Result::Success, "0");
}

TEST(E57Damage, PointsWithoutCoordinatesAreRefused) {
  const E57Scan scan{{Testing::doubleField("cartesianX", {1}), Testing::doubleField("cartesianY", {1}),
                      Testing::doubleField("sphericalRange", {1})},
                     {},
                     {},
                     {},
                     {}};
  expectEnding(endingOf(E57File().scan({}).scan(scan)), Result::InputNoPositions,
               "a.e57: the points of scan 1 have neither Cartesian nor spherical coordinates");
}

TEST(E57Damage, APrototypeThatIsMissingIsOneWithoutCoordinates) {
  E57Scan scan;
  scan.recordCount = 5;
  expectEnding(endingOf(E57File().scan(scan)), Result::InputNoPositions, "scan 0");
}

TEST(E57Damage, MoreRecordsThanTheBytesGiveAreRefused) {
  for (const std::uint64_t count : {std::uint64_t{301}, std::uint64_t{1} << 40U, std::uint64_t{INT64_MAX}}) {
    E57Scan scan = somePoints();
    scan.recordCount = count;
    expectEnding(endingOf(E57File().scan(scan)), Result::InputCannotRead, "records");
  }
}

TEST(E57Damage, PacketsThatCannotBeAreRefused) {
  const auto patched = [](std::size_t offset, const std::string& bytes) {
    return endingOf(E57File().scan(somePoints()).patch(E57File::kFirstPacket + offset, bytes));
  };
  expectEnding(patched(0, "\x07"), Result::InputCannotRead, "byte 80: packet type");
  expectEnding(patched(2, little(std::uint16_t{0})), Result::InputCannotRead, "packet length");
  expectEnding(patched(2, little(std::uint16_t{0xFFFF})), Result::InputCannotRead, "packet length");
  expectEnding(patched(4, little(std::uint16_t{2})), Result::InputCannotRead, "number of byte streams");
  expectEnding(patched(6, little(std::uint16_t{0xFFFF})), Result::InputCannotRead,
               "byte streams of a packet");
}

TEST(E57Damage, ASectionThatCannotBeIsRefused) {
  const auto patched = [](std::size_t offset, std::uint64_t value) {
    return endingOf(E57File().scan(somePoints()).patch(E57File::kFirstSection + offset, little(value)));
  };
  expectEnding(patched(0, 2), Result::InputCannotRead, "section id: expected 1, found 2");
  expectEnding(patched(8, std::uint64_t{1} << 40U), Result::InputCannotRead, "truncated");
  expectEnding(patched(16, 0), Result::InputCannotRead, "offset of the data packets");
}

TEST(E57Damage, FieldsThatCannotBeAreRefused) {
  E57Scan scan = somePoints();
  scan.fields[0].attributes = R"(type="ScaledInteger" scale="0")";
  expectEnding(endingOf(E57File().scan(scan)), Result::InputGetInfoError, "cartesianX, scale");
  scan.fields[0].attributes = R"(type="Integer" minimum="2" maximum="1")";
  expectEnding(endingOf(E57File().scan(scan)), Result::InputGetInfoError, "cartesianX, maximum");
}

TEST(E57Damage, AConstantFieldTakesNoBytes) {
  E57Scan scan = somePoints();
  scan.fields[1] = Testing::integerField("cartesianY", 7, 7, std::vector<std::int64_t>(300, 7));
  expectEnding(endingOf(E57File().scan(scan)), Result::Success, "300");
}

TEST(E57Damage, ScansThatShareTheirBytesAreRefused) {
  const E57File once = E57File().scan(somePoints());
  const auto points = [](std::uint64_t count) {
    return R"(<vectorChild><points type="CompressedVector" fileOffset="48" recordCount=")" +
           std::to_string(count) +
           R"("><prototype><cartesianX type="Float"/><cartesianY type="Float"/><cartesianZ type="Float"/>)"
           R"(</prototype></points></vectorChild>)";
  };
  std::string scans;
  for (int i = 0; i < 20; ++i) scans += points(300);
  expectEnding(endingOf(E57File(once).xml("<e57Root><data3D>" + scans + "</data3D></e57Root>")),
               Result::InputCannotRead, "sections of points: expected that they share no bytes");
}

TEST(E57Damage, AnyByteOfTheFileMayBeWrongUnderARightChecksum) {
  E57Scan scan = somePoints();
  scan.elements = Testing::e57Pose("1 0 0 0", "1 2 3");
  const std::size_t size = E57File().scan(scan).bytes().size() / 1024 * 1020;
  for (std::size_t offset = 0; offset < size; offset += offset < 120 ? 1 : 61) {
    for (const char* const byte : {"\x01", "<", "\xFF"}) {
      (void)endingOf(E57File().scan(scan).patch(offset, byte));  // ends, by success or a ConversionError
    }
  }
}

}  // namespace
