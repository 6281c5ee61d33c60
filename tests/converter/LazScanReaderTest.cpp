// LAZ files as scans: how chunks are found and handed out. What is in them is tested with their decoders.

#include <gmock/gmock.h>

#include <cstring>
#include <functional>

#include "converter/ConversionError.h"
#include "converter/LasScanReader.h"
#include "support/LazFile.h"
#include "support/MemoryFileSystem.h"

namespace {

using Converter::ConversionError;
using Converter::openLas;
using Converter::Result;
using Converter::ScanReader;
using testing::HasSubstr;
using testing::IsEmpty;
using Testing::LazFile;
using Testing::MemoryFileSystem;
using testing::SizeIs;

constexpr std::size_t kMost = ScanReader::kMostPointsPerBlock;

std::unique_ptr<ScanReader> openBytes(const std::string& bytes, bool allowTruncated = false) {
  MemoryFileSystem files;
  files.put("a.laz", bytes);
  return openLas(files, "a.laz", {allowTruncated});
}

/// Records of format 0 whose x is their number.
std::vector<std::string> numberedRecords(std::size_t count) {
  std::vector<std::string> records;
  for (std::size_t i = 0; i < count; ++i) {
    std::string record(20, '\0');
    Testing::put(record, 0, static_cast<std::int32_t>(i));
    records.push_back(record);
  }
  return records;
}

/// A block: its coordinates and all of its attributes.
struct Block {
  std::vector<std::int32_t> coordinates;
  std::vector<std::byte> attributes;

  bool operator==(const Block&) const = default;
};

Block blockOf(const ScanReader& scan, std::uint64_t number) {
  std::vector<std::size_t> offsets;
  std::size_t stride = 0;
  for (const auto& attribute : scan.info().attributes) {
    offsets.push_back(stride);
    stride += attribute.size();
  }
  Block block;
  block.attributes.resize(scan.mostPointsOf(number) * stride);
  Converter::BlockCoordinates coordinates;
  const std::size_t count = scan.readBlock(number, {block.attributes.data(), stride, offsets}, coordinates);
  block.attributes.resize(count * stride);
  block.coordinates = coordinates.stored;
  return block;
}

/// All blocks, one behind the other.
Block all(const ScanReader& scan) {
  Block whole;
  for (std::uint64_t number = 0; number < scan.numBlocks(); ++number) {
    const Block block = blockOf(scan, number);
    whole.coordinates.insert(whole.coordinates.end(), block.coordinates.begin(), block.coordinates.end());
    whole.attributes.insert(whole.attributes.end(), block.attributes.begin(), block.attributes.end());
  }
  return whole;
}

/// Whether a scan gives the points of a file without compression.
void expectSamePoints(const ScanReader& scan, const LazFile& file) {
  EXPECT_TRUE(all(scan) == all(*openBytes(file.lasBytes())));
}

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

/// How opening and reading a file ends.
Refusal refusalOf(const std::string& bytes, bool allowTruncated = false) {
  return refusalOf([&] { (void)all(*openBytes(bytes, allowTruncated)); });
}

TEST(LazScanReader, GivesThePointsOfTheUncompressedFile) {
  for (std::uint8_t format = 0; format <= 3; ++format) {
    const std::size_t length = Formats::Laz::lazVlrFor(format, 0).recordLength() + 4;
    LazFile file(format, Testing::variedRecords(format, length, 2500));
    expectSamePoints(*openBytes(file.chunkSize(1000).bytes()), file);
  }
  LazFile layered(6, Testing::layeredRecords(2, 2500, 3));
  expectSamePoints(*openBytes(layered.chunkSize(1000).bytes()), layered);
}

TEST(LazScanReader, ReadsChunksOfAnySizes) {
  LazFile file(1, Testing::variedRecords(1, 28, 1000));
  const auto scan = openBytes(file.variableChunks({1, 600, 2, 397}).bytes());
  EXPECT_THAT(scan->info().warnings, IsEmpty());
  expectSamePoints(*scan, file);
}

TEST(LazScanReader, ReadsSmallChunksTogether) {
  LazFile file(0, numberedRecords(1000));
  const auto scan = openBytes(file.chunkSize(3).bytes());
  EXPECT_EQ(scan->numBlocks(), 1U);
  expectSamePoints(*scan, file);
}

TEST(LazScanReader, CutsLargeChunksIntoBlocks) {
  const auto records = numberedRecords(2 * kMost + 5);
  for (const LazFile& file :
       {LazFile(0, records).chunkSize(1'000'000), LazFile(0, records).withoutChunks()}) {
    const auto scan = openBytes(file.bytes());
    ASSERT_EQ(scan->numBlocks(), 3U);
    EXPECT_EQ(scan->mostPointsOf(2), 5U);
    expectSamePoints(*scan, file);
    expectSamePoints(*scan, file);  // a second pass
  }
}

TEST(LazScanReader, CutsLargeLayeredChunksIntoBlocks) {
  LazFile file(6, Testing::layeredRecords(0, kMost + 5, 2));
  const auto scan = openBytes(file.chunkSize(1'000'000).bytes());
  ASSERT_EQ(scan->numBlocks(), 2U);
  expectSamePoints(*scan, file);
}

TEST(LazScanReader, GivesBlocksOfOneChunkInAnyOrder) {
  LazFile file(0, numberedRecords(3 * kMost));
  const auto scan = openBytes(file.withoutChunks().bytes());
  for (const std::uint64_t block : {2U, 0U, 1U, 1U, 2U}) {
    EXPECT_EQ(blockOf(*scan, block).coordinates.front(), static_cast<std::int32_t>(block * kMost));
  }
}

TEST(LazScanReader, FindsTheTableThatWasWrittenBehindAStream) {
  LazFile file(0, numberedRecords(500));
  const auto scan = openBytes(file.chunkSize(100).table(LazFile::Table::PlaceAtTheEnd).bytes());
  EXPECT_THAT(scan->info().warnings, IsEmpty());
  expectSamePoints(*scan, file);
}

TEST(LazScanReader, DoesWithoutATableWhereChunksAreEquallyLarge) {
  for (const auto table : {LazFile::Table::None, LazFile::Table::Blank}) {
    for (LazFile file : {LazFile(0, numberedRecords(950)), LazFile(6, Testing::layeredRecords(1, 950, 2))}) {
      const auto scan = openBytes(file.chunkSize(100).table(table).bytes());
      EXPECT_THAT(scan->info().warnings, testing::Contains(HasSubstr("There is no chunk table")));
      expectSamePoints(*scan, file);
    }
  }
}

TEST(LazScanReader, FindsLayeredChunksOfAnySizesWithoutATable) {
  LazFile file(6, Testing::layeredRecords(0, 300, 1));
  file.variableChunks({100, 7, 193}).table(LazFile::Table::None);
  expectSamePoints(*openBytes(file.bytes()), file);
}

TEST(LazScanReader, RefusesChunksOfAnySizesWithoutATable) {
  LazFile file(0, numberedRecords(300));
  file.variableChunks({100, 200}).table(LazFile::Table::None);
  const Refusal refusal = refusalOf(file.bytes());
  EXPECT_EQ(refusal.result, Result::InputLazDecodeError);
  EXPECT_THAT(refusal.text, HasSubstr("place of the chunk table: expected a place inside the file"));
}

TEST(LazScanReader, RefusesADamagedTable) {
  LazFile file(0, numberedRecords(300));
  std::string bytes = file.chunkSize(100).bytes();
  std::int64_t place = 0;
  std::memcpy(&place, bytes.data() + file.pointOffset(), sizeof place);
  Testing::put(bytes, static_cast<std::size_t>(place), 7U);
  const Refusal refusal = refusalOf(bytes);
  EXPECT_EQ(refusal.result, Result::InputLazDecodeError);
  EXPECT_EQ(refusal.text,
            "a.laz, byte " + std::to_string(place) + ": version of the chunk table: expected 0, found 7");
}

TEST(LazScanReader, NamesFileChunkPlaceAndItemOfDamage) {
  LazFile file(0, numberedRecords(300));
  std::string bytes = file.chunkSize(100).bytes();
  const std::size_t second = file.pointOffset() + 8 + file.chunks().front().size();
  for (std::size_t i = 0; i < 8; ++i) bytes[second + 20 + i] = static_cast<char>(0xA5 * (i + 1));
  const Refusal refusal = refusalOf(bytes);
  EXPECT_EQ(refusal.result, Result::InputLazDecodeError);
  EXPECT_THAT(refusal.text,
              testing::MatchesRegex("a.laz, chunk 1, byte [0-9]+: "
                                    "(POINT10 version 1|end of a chunk): expected .*, found .*"));
}

TEST(LazScanReader, RefusesRecordsOfTheWrongKind) {
  LazFile file(0, numberedRecords(3));
  const auto resultOf = [&](const std::function<void(Formats::Laz::LazVlr&)>& change) {
    return refusalOf(LazFile(file).vlr(change).bytes());
  };
  const Refusal length = resultOf([](auto& vlr) {
    vlr.items.push_back({Formats::Laz::ItemType::Byte, 2, 1});
  });
  EXPECT_EQ(length.result, Result::InputLazDecodeError);
  EXPECT_THAT(length.text,
              HasSubstr("items of compressed points: expected those of point format 0 in 20 bytes, "
                        "found POINT10 version 1, BYTE version 1 in 22 bytes"));
  EXPECT_EQ(resultOf([](auto& vlr) { vlr.items.front().version = 3; }).result, Result::InputLazDecodeError);
  std::string bytes = file.bytes();
  bytes.replace(bytes.find("laszip encoded"), 4, "none");
  EXPECT_EQ(refusalOf(bytes).result, Result::InputLazDecodeError);
  EXPECT_THAT(refusalOf(bytes).text, HasSubstr("expected one that says how they are compressed, found none"));
}

TEST(LazScanReader, SurvivesEveryTruncation) {
  for (LazFile file : {LazFile(0, numberedRecords(60)), LazFile(6, Testing::layeredRecords(0, 60, 1))}) {
    const std::string whole = file.chunkSize(20).bytes();
    for (std::size_t size = file.pointOffset(); size < whole.size(); ++size) {
      const Refusal refusal = refusalOf(whole.substr(0, size));
      // What is cut off may be nothing but the chunk table.
      const bool isKnown = refusal.result == Result::InputLazDecodeError ||
                           refusal.result == Result::InputCannotRead || refusal.result == Result::Success;
      EXPECT_TRUE(isKnown) << size << " bytes: " << refusal.text;
    }
  }
}

TEST(LazScanReader, RefusesATruncatedFile) {
  LazFile layered(6, Testing::layeredRecords(0, 300, 1));
  const std::string bytes = layered.chunkSize(100).bytes();
  const std::size_t twoChunks =
      layered.pointOffset() + 8 + layered.chunks()[0].size() + layered.chunks()[1].size();
  const Refusal refusal = refusalOf(bytes.substr(0, twoChunks + 50));
  EXPECT_EQ(refusal.result, Result::InputCannotRead);
  EXPECT_EQ(refusal.text, "a.laz, byte " + std::to_string(layered.pointOffset()) +
                              ": the file is truncated: the header counts 300 points, the file holds 200");
  LazFile pointwise(0, numberedRecords(300));
  const std::string cut = pointwise.chunkSize(100).bytes().substr(0, pointwise.pointOffset() + 60);
  EXPECT_EQ(refusalOf(cut).result, Result::InputLazDecodeError);
}

TEST(LazScanReader, KeepsTheWholeChunksOfATruncatedFileWhenAllowed) {
  LazFile file(6, Testing::layeredRecords(0, 300, 1));
  const std::string bytes = file.chunkSize(100).bytes();
  const auto scan = openBytes(bytes.substr(0, file.pointOffset() + 8 + file.chunks()[0].size() + 50), true);
  EXPECT_EQ(scan->info().numPoints, 100U);
  EXPECT_THAT(scan->info().warnings, testing::Contains(HasSubstr("the file holds 100; these are read")));
  EXPECT_THAT(all(*scan).coordinates, SizeIs(300));
}

TEST(LazScanReader, KeepsTheWholePointsOfATruncatedStreamWhenAllowed) {
  auto records = Testing::variedRecords(0, 20, 500);
  LazFile file(0, records);
  const std::string bytes = file.chunkSize(200).bytes();
  const std::size_t end = file.pointOffset() + 8 + file.chunks()[0].size() + file.chunks()[1].size() / 2;
  const auto scan = openBytes(bytes.substr(0, end), true);
  const auto found = all(*scan).coordinates;
  const auto whole = all(*openBytes(file.lasBytes())).coordinates;
  ASSERT_GT(found.size(), 3 * 250U);
  ASSERT_LT(found.size(), 3 * 350U);
  EXPECT_TRUE(std::equal(found.begin(), found.end(), whole.begin()));
}

TEST(LazScanReader, StopsWhereTheBytesOfABombEnd) {
  LazFile file(0, numberedRecords(10));
  const std::string bytes = file.withoutChunks().statedPoints(1'000'000'000).bytes();
  const auto scan = openBytes(bytes);
  EXPECT_EQ(refusalOf([&] { (void)blockOf(*scan, 0); }).result, Result::InputLazDecodeError);
  EXPECT_EQ(refusalOf(LazFile(0, numberedRecords(10)).statedPoints(1'000'000'000).bytes()).result,
            Result::InputLazDecodeError);
}

TEST(LazScanReader, AFileWithoutPointsHasNoBlocks) {
  const auto scan = openBytes(LazFile(0, {}).bytes());
  EXPECT_EQ(scan->numBlocks(), 0U);
  EXPECT_THAT(scan->sample(100), IsEmpty());
}

TEST(LazScanReader, SamplesChunksThatAreSpreadOverTheFile) {
  const auto scan = openBytes(LazFile(0, numberedRecords(40'000)).chunkSize(400).bytes());
  const auto points = scan->sample(4000);
  EXPECT_GE(points.size(), 4000U);
  EXPECT_LT(points.size(), 4100U);
  EXPECT_EQ(points.front()[0], 0);
  EXPECT_GT(points.back()[0], 0.01 * 35'000);
  EXPECT_EQ(scan->sample(4000), points);
  EXPECT_THAT(scan->sample(1'000'000), SizeIs(40'000));
}

TEST(LazScanReader, SamplesTheBeginningOfWhatIsOneStream) {
  const auto scan = openBytes(LazFile(0, numberedRecords(2000)).withoutChunks().bytes());
  EXPECT_THAT(scan->sample(100), SizeIs(101));
}

TEST(LazScanReader, ReadsRecordsThatAreMarkedButNotCompressed) {
  LazFile file(0, numberedRecords(5));
  std::string bytes = file.vlr([](auto& vlr) { vlr.compressor = Formats::Laz::Compressor::None; }).bytes();
  bytes.resize(file.pointOffset());
  for (const std::string& record : numberedRecords(5)) bytes += record;
  expectSamePoints(*openBytes(bytes), file);
}

}  // namespace
