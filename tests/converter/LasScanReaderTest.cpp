#include <gmock/gmock.h>

#include <numeric>

#include "converter/ConversionError.h"
#include "converter/LasScanReader.h"
#include "support/LasFile.h"
#include "support/MemoryFileSystem.h"

namespace {

using Converter::ConversionError;
using Converter::openLas;
using Converter::Result;
using Converter::ScanReader;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Testing::LasFile;
using Testing::MemoryFileSystem;
using testing::SizeIs;

std::unique_ptr<ScanReader> openFile(const LasFile& file, bool allowTruncated = false) {
  MemoryFileSystem files;
  files.put("scans/a.las", file.bytes());
  return openLas(files, "scans/a.las", {allowTruncated});
}

/// How opening ends; Success where it does not fail.
struct Refusal {
  Result result = Result::Success;
  std::string text;
};

template <class Work>
Refusal refusalOf(const Work& work) {
  try {
    work();
  } catch (const ConversionError& error) {
    return {error.result(), error.what()};
  }
  return {};
}

Refusal refusalOf(const std::string& bytes) {
  MemoryFileSystem files;
  files.put("scans/a.las", bytes);
  return refusalOf([&] { (void)openLas(files, "scans/a.las", {}); });
}

/// The stored coordinates of one block, read without attributes.
std::vector<std::int32_t> coordinatesOf(const ScanReader& scan, std::uint64_t block) {
  const std::vector<std::size_t> unwanted(scan.info().attributes.size(), Converter::RecordTarget::kUnwanted);
  Converter::BlockCoordinates coordinates;
  coordinates.world.assign(5, 1.0);
  const std::size_t count = scan.readBlock(block, {nullptr, 0, unwanted}, coordinates);
  EXPECT_EQ(count * 3, coordinates.stored.size());
  EXPECT_THAT(coordinates.world, IsEmpty());
  return coordinates.stored;
}

TEST(LasScanReader, TellsWhatTheFileHolds) {
  const auto scan = openFile(LasFile(3).scale({0.1, 0.2, 0.3}).offset({1, 2, 3}).globalEncoding(1).points(2));
  const Converter::ScanInfo& info = scan->info();
  EXPECT_EQ(info.name, "scans/a.las");
  EXPECT_EQ(info.numPoints, 2U);
  EXPECT_THAT(info.grid.value().scale, ElementsAre(0.1, 0.2, 0.3));
  EXPECT_THAT(info.grid.value().offset, ElementsAre(1, 2, 3));
  EXPECT_EQ(info.toAdjustedStandardTime, 0.0);
  EXPECT_EQ(info.projection, "");
  EXPECT_THAT(info.attributes, SizeIs(11));
  EXPECT_THAT(info.warnings, IsEmpty());
}

TEST(LasScanReader, ReadsBlocksInAnyOrder) {
  const auto scan = openFile(LasFile(1).points(65'536 + 10));
  ASSERT_EQ(scan->numBlocks(), 2U);
  EXPECT_EQ(scan->mostPointsOf(1), 10U);
  const auto second = coordinatesOf(*scan, 1);
  ASSERT_THAT(second, SizeIs(30));
  EXPECT_EQ(second[27], 65'536 + 9);
  const auto first = coordinatesOf(*scan, 0);
  for (std::size_t p = 0; p < 65'536; ++p) ASSERT_EQ(first[3 * p], static_cast<std::int32_t>(p));
}

TEST(LasScanReader, PutsAttributesWhereTheyAreWanted) {
  std::string record(20, '\0');
  LasFile file(0);
  for (int i = 0; i < 10'000; ++i) {  // more than one read
    Testing::put(record, 12, static_cast<std::uint16_t>(i));
    file.point(record);
  }
  const auto scan = openFile(file);
  std::vector<std::size_t> offsets(scan->info().attributes.size(), Converter::RecordTarget::kUnwanted);
  offsets[0] = 4;
  std::string out(10'000 * 8, '#');
  Converter::BlockCoordinates coordinates;
  scan->readBlock(0, {reinterpret_cast<std::byte*>(out.data()), 8, offsets}, coordinates);
  for (std::size_t p = 0; p < 10'000; ++p) {
    std::uint16_t intensity = 0;
    std::memcpy(&intensity, out.data() + p * 8 + 4, sizeof(intensity));
    ASSERT_EQ(intensity, p);
    ASSERT_EQ(out.substr(p * 8, 4) + out.substr(p * 8 + 6, 2), "######");
  }
}

TEST(LasScanReader, OpensAFileWithoutPoints) {
  const auto scan = openFile(LasFile(3));
  EXPECT_EQ(scan->info().numPoints, 0U);
  EXPECT_EQ(scan->numBlocks(), 0U);
  EXPECT_THAT(scan->sample(100), IsEmpty());
}

TEST(LasScanReader, KeepsCoordinatesUnderANegativeScale) {
  const auto scan = openFile(LasFile(0).scale({-0.5, 1, 1}).point(INT32_MIN, 0, 0).point(7, 0, 0));
  EXPECT_THAT(scan->info().warnings, ElementsAre(HasSubstr("x scale is negative")));
  const auto points = scan->sample(2);
  ASSERT_THAT(points, SizeIs(2));
  EXPECT_EQ(points[0][0], INT32_MIN * -0.5);
  EXPECT_EQ(points[1][0], 7 * -0.5);
}

TEST(LasScanReader, SamplesNeighboursSpreadOverTheFile) {
  const auto scan = openFile(LasFile(0).scale({1, 1, 1}).points(100'000));
  const auto points = scan->sample(1000);
  ASSERT_THAT(points, SizeIs(4 * 256));
  EXPECT_EQ(points.front()[0], 0);
  EXPECT_EQ(points[255][0], 255);
  EXPECT_EQ(points.back()[0], 99'999);
  EXPECT_NEAR(points[256][0], 33'248, 1);
  EXPECT_EQ(scan->sample(1000), points);
}

TEST(LasScanReader, SamplesAllPointsOfASmallFile) {
  const auto scan = openFile(LasFile(0).scale({1, 1, 1}).points(300));
  EXPECT_THAT(scan->sample(299), SizeIs(300));
  EXPECT_THAT(scan->sample(1'000'000), SizeIs(300));
  EXPECT_THAT(scan->sample(1), SizeIs(300)) << "one group is nearly the whole file";
  EXPECT_THAT(scan->sample(0), IsEmpty());
}

TEST(LasScanReader, ReadsLittleForASample) {
  MemoryFileSystem files;
  files.put("a.las", LasFile(0).points(100'000).bytes());
  const auto scan = openLas(files, "a.las", {});
  const std::uint64_t before = files.bytesRead();
  (void)scan->sample(1000);
  EXPECT_EQ(files.bytesRead() - before, 4U * 256 * 20);
}

TEST(LasScanReader, ReadsExtraBytesFromRecordsBeforeOrBehindThePoints) {
  const std::string description = Testing::extraBytesDescription(3, "amplitude");
  for (const auto& file : {LasFile(6).recordLength(32).vlr("LASF_Spec", 4, description).points(1),
                           LasFile(6).recordLength(32).points(1).evlr("LASF_Spec", 4, description)}) {
    const auto scan = openFile(file);
    EXPECT_EQ(scan->info().attributes.back().name, "amplitude");
    EXPECT_THAT(scan->info().warnings, IsEmpty());
  }
}

TEST(LasScanReader, ReadsTheProjectionFromRecordsBeforeOrBehindThePoints) {
  for (const auto& file :
       {LasFile(6).vlr("LASF_Projection", 2112, "").vlr("LASF_Projection", 2112, "PROJCS[1]"),
        LasFile(6).points(1).evlr("LASF_Projection", 2112, "PROJCS[1]"),
        LasFile(2).vlr("liblas", 2112, "PROJCS[1]")}) {
    EXPECT_EQ(openFile(LasFile(file).globalEncoding(16))->info().projection, "PROJCS[1]");
  }
}

TEST(LasScanReader, LeavesOutRecordsThatReachBeyondTheirPlace) {
  const auto scan = openFile(
      LasFile(0).vlr("LASF_Projection", 2112, "PROJCS[1]").points(1).patch(227 + 20, std::uint16_t{500}));
  EXPECT_EQ(scan->info().projection, "");
  EXPECT_EQ(scan->info().numPoints, 1U);
  EXPECT_THAT(scan->info().warnings, ElementsAre(HasSubstr("longer than the room")));
}

TEST(LasScanReader, LeavesOutRecordsThatCountsAnnounceInVain) {
  const auto scan =
      openFile(LasFile(6).points(1).evlr("a", 1, "x").patch(100, UINT32_MAX).patch(243, UINT32_MAX));
  EXPECT_EQ(scan->info().numPoints, 1U);
  EXPECT_THAT(scan->info().warnings, SizeIs(2));
}

TEST(LasScanReader, LeavesOutExtendedRecordsThatWouldStandBeforeThePoints) {
  const auto scan = openFile(LasFile(6).points(1).evlr("a", 1, "x").patch(235, std::uint64_t{10}));
  EXPECT_EQ(scan->info().numPoints, 1U);
  EXPECT_THAT(scan->info().warnings, testing::Contains(HasSubstr("byte 10, before the points")));
}

TEST(LasScanReader, LeavesOutProjectionsOfImpossibleLength) {
  MemoryFileSystem files;
  files.put("a.las", LasFile(6).evlr("LASF_Projection", 2112, std::string((1U << 24U) + 1, 'x')).bytes());
  const auto scan = openLas(files, "a.las", {});
  EXPECT_EQ(scan->info().projection, "");
  EXPECT_THAT(scan->info().warnings, ElementsAre(HasSubstr("16777217 bytes")));
  EXPECT_LT(files.bytesRead(), 1000U);
}

TEST(LasScanReader, ReportsRecordsThatTheHeaderDoesNotCount) {
  const auto scan = openFile(LasFile(1).points(5).statedPoints(3));
  EXPECT_EQ(scan->info().numPoints, 3U);
  EXPECT_THAT(
      scan->info().warnings,
      ElementsAre("There is room for more points than the header counts: the header counts 3 points, the "
                  "file holds 5; those that are counted are read."));
}

TEST(LasScanReader, RefusesATruncatedFileNamingBothCounts) {
  const Refusal refusal = refusalOf(LasFile(1).points(5).statedPoints(1000).bytes());
  EXPECT_EQ(refusal.result, Result::InputCannotRead);
  EXPECT_EQ(refusal.text,
            "scans/a.las, byte 227: the file is truncated: the header counts 1000 points, the file "
            "holds 5");
}

TEST(LasScanReader, ReadsTheWholeRecordsOfATruncatedFileWhenAllowed) {
  const auto scan = openFile(LasFile(1).points(5).statedPoints(6).tail("half a record"), true);
  EXPECT_EQ(scan->info().numPoints, 5U);
  EXPECT_THAT(scan->info().warnings, ElementsAre(HasSubstr("the header counts 6 points, the file holds 5")));
  EXPECT_EQ(coordinatesOf(*scan, 0)[12], 4);
}

TEST(LasScanReader, TakesNoCountForGranted) {
  const Refusal refusal = refusalOf(LasFile(6).points(1).statedPoints(UINT64_MAX).bytes());
  EXPECT_EQ(refusal.result, Result::InputCannotRead);
  EXPECT_THAT(refusal.text, HasSubstr("18446744073709551615"));
}

TEST(LasScanReader, SaysThatAFileIsEmpty) {
  EXPECT_EQ(refusalOf(std::string()).result, Result::InputEmpty);
  EXPECT_EQ(refusalOf(std::string()).text, "scans/a.las: the file is empty");
}

TEST(LasScanReader, RefusesEveryTruncationOfTheHeader) {
  const std::string whole = LasFile(7).points(1).bytes();
  for (std::size_t n = 1; n < 375; ++n) {
    EXPECT_EQ(refusalOf(whole.substr(0, n)).result, Result::InputGetInfoError) << n << " bytes";
  }
  EXPECT_EQ(refusalOf(whole.substr(0, whole.size() - 1)).result, Result::InputCannotRead);
}

TEST(LasScanReader, TellsKindsThatAreNotReadFromDamage) {
  const auto resultOf = [](const LasFile& file) { return refusalOf(file.bytes()).result; };
  EXPECT_EQ(resultOf(LasFile().patch(0, 'Z')), Result::InputPointCloudFormatUnsupported);
  EXPECT_EQ(resultOf(LasFile().patch(24, std::uint8_t{2})), Result::InputPointCloudFormatUnsupported);
  EXPECT_EQ(resultOf(LasFile(10).patch(104, std::uint8_t{11})), Result::InputPointCloudFormatUnsupported);
  EXPECT_EQ(resultOf(LasFile().recordLength(19)), Result::InputGetInfoError);
  EXPECT_EQ(resultOf(LasFile().patch(96, 5000U)), Result::InputGetInfoError);
  EXPECT_EQ(resultOf(LasFile().scale({0, 1, 1})), Result::InputGetInfoError);
}

TEST(LasScanReader, TellsWhyAFileDoesNotOpen) {
  MemoryFileSystem files;
  const auto refusal = [&](const char* path) { return refusalOf([&] { (void)openLas(files, path, {}); }); };
  EXPECT_EQ(refusal("missing.las").result, Result::InputFileNotFound);
  EXPECT_THAT(refusal("missing.las").text, HasSubstr("missing.las"));
  EXPECT_EQ(refusal("folder.las/").result, Result::InputNotFile);
}

TEST(LasScanReader, NamesTheFileWhereReadingFails) {
  const std::string bytes = LasFile(6).vlr("LASF_Projection", 2112, "PROJCS[1]").points(2).bytes();
  for (std::size_t reads = 0;; ++reads) {
    MemoryFileSystem files;
    files.put("a.las", bytes);
    files.failReadsAfter(reads);
    const Refusal refusal = refusalOf([&] { (void)coordinatesOf(*openLas(files, "a.las", {}), 0); });
    if (refusal.result == Result::Success) {
      EXPECT_GE(reads, 3U);
      break;
    }
    EXPECT_EQ(refusal.result, Result::InputCannotRead);
    EXPECT_THAT(refusal.text, HasSubstr("a.las"));
  }
}

TEST(LasScanReader, NoticesThatTheFileWasChanged) {
  MemoryFileSystem files;
  const std::string bytes = LasFile(0).points(3).bytes();
  files.put("a.las", bytes);
  const auto scan = openLas(files, "a.las", {});
  EXPECT_NO_THROW(scan->checkUnchanged());
  files.put("a.las", bytes);
  const Refusal rewritten = refusalOf([&] { scan->checkUnchanged(); });
  EXPECT_EQ(rewritten.result, Result::InputCannotRead);
  EXPECT_EQ(rewritten.text, "a.las: the file was changed while it was read");
}

TEST(LasScanReader, NamesThePlaceWhereAFileHasBecomeShorter) {
  MemoryFileSystem files;
  const std::string bytes = LasFile(0).points(3).bytes();
  files.put("a.las", bytes);
  const auto scan = openLas(files, "a.las", {});
  files.put("a.las", bytes.substr(0, bytes.size() - 1));
  const Refusal refusal = refusalOf([&] { (void)coordinatesOf(*scan, 0); });
  EXPECT_EQ(refusal.result, Result::InputCannotRead);
  EXPECT_EQ(refusal.text, "a.las, byte 227: bytes to read: expected 60, found 59");
}

}  // namespace
