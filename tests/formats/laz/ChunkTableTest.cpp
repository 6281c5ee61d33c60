#include <gmock/gmock.h>

#include "formats/laz/ChunkTable.h"
#include "formats/laz/LazVlr.h"
#include "formats/laz/RangeDecoder.h"
#include "support/LasFile.h"
#include "support/LazEncoder.h"

namespace {

using Formats::Laz::Chunk;
using Formats::Laz::ChunkTablePlan;
using testing::ElementsAre;
using testing::HasSubstr;

/// Chunks of 100, 90 and 300 bytes.
const std::vector<std::string> kChunks{std::string(100, 'a'), std::string(90, 'b'), std::string(300, 'c')};

ChunkTablePlan plan(std::uint32_t chunkSize, std::uint64_t numPoints) {
  return {1000, 1490, chunkSize, numPoints, 20};
}

/// Reads a table of which nothing but @p table is there.
std::vector<Chunk> read(const std::string& table, const ChunkTablePlan& plan) {
  const std::string padded = table + std::string(Formats::Laz::kLookahead, '\x55');
  const auto all = std::as_bytes(std::span(padded)).first(table.size());
  const auto head = all.first(std::min(all.size(), Formats::Laz::kChunkTableHeadSize));
  const auto numChunks = readChunkTableHead(head, plan, {"a.laz", 1490});
  return readChunkTable(all.subspan(head.size()), numChunks, plan, {"a.laz", 1498});
}

std::string refusalOf(const std::string& table, const ChunkTablePlan& plan) {
  try {
    (void)read(table, plan);
  } catch (const Core::FormatError& error) {
    return error.what();
  }
  return "was read";
}

TEST(ChunkTable, TellsWhereEquallyLargeChunksAre) {
  EXPECT_THAT(read(Testing::encodeChunkTable(kChunks), plan(50, 120)),
              ElementsAre(Chunk{1000, 100, 50}, Chunk{1100, 90, 50}, Chunk{1190, 300, 20}));
}

TEST(ChunkTable, TellsWhereChunksOfAnySizeAre) {
  EXPECT_THAT(read(Testing::encodeChunkTable(kChunks, {7, 0, 90'000}), plan(UINT32_MAX, 90'007)),
              ElementsAre(Chunk{1000, 100, 7}, Chunk{1190, 300, 90'000}));
}

TEST(ChunkTable, ReadsTablesOfManyChunks) {
  std::vector<std::string> chunks;
  for (std::size_t i = 0; i < 500; ++i) chunks.emplace_back(20 + i * i % 97, 'x');
  const auto found = read(Testing::encodeChunkTable(chunks), {8, 100'000, 10, 5'000, 20});
  ASSERT_EQ(found.size(), 500U);
  std::uint64_t offset = 8;
  for (std::size_t i = 0; i < 500; ++i) {
    ASSERT_EQ(found[i], (Chunk{offset, chunks[i].size(), 10}));
    offset += chunks[i].size();
  }
}

TEST(ChunkTable, RefusesChunksThatDoNotAddUpToThePoints) {
  EXPECT_EQ(refusalOf(Testing::encodeChunkTable(kChunks), plan(50, 151)),
            "a.laz, byte 1498: points of all chunks in the chunk table: expected 151 as the header counts, "
            "found 150");
  EXPECT_THAT(refusalOf(Testing::encodeChunkTable(kChunks, {1, 2, 3}), plan(UINT32_MAX, 5)),
              HasSubstr("expected 5 as the header counts, found 6"));
}

TEST(ChunkTable, RefusesChunksThatReachBeyondTheirPlace) {
  const ChunkTablePlan tight{1000, 1489, 50, 120, 20};
  EXPECT_EQ(refusalOf(Testing::encodeChunkTable(kChunks), tight),
            "a.laz, byte 1498: chunk 2 in the chunk table: expected at most 299 bytes, found 300");
}

TEST(ChunkTable, RefusesChunksWithoutRoomForAPoint) {
  EXPECT_THAT(refusalOf(Testing::encodeChunkTable({"short"}), plan(50, 50)),
              HasSubstr("chunk 0 in the chunk table: expected at least 20 bytes, found 5"));
}

TEST(ChunkTable, TrustsNoNumberOfChunks) {
  std::string table = Testing::encodeChunkTable(kChunks);
  Testing::put(table, 4, 4'000'000'000U);
  EXPECT_EQ(refusalOf(table, plan(50, 120)),
            "a.laz, byte 1494: number of chunks: expected at most 24 in 490 bytes, found 4000000000");
}

TEST(ChunkTable, RefusesAnotherVersion) {
  std::string table = Testing::encodeChunkTable(kChunks);
  Testing::put(table, 0, 1U);
  EXPECT_THAT(refusalOf(table, plan(50, 120)), HasSubstr("version of the chunk table: expected 0, found 1"));
}

TEST(ChunkTable, RefusesEveryTruncation) {
  const std::string whole = Testing::encodeChunkTable(kChunks, {50, 60, 70});
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_NE(refusalOf(whole.substr(0, size), plan(UINT32_MAX, 180)), "was read") << size << " bytes";
  }
}

}  // namespace
