#include <gmock/gmock.h>

#include "formats/laz/ChunkEncoder.h"
#include "formats/laz/ChunkTable.h"
#include "formats/laz/DecodedChunk.h"
#include "formats/laz/PointAreaEncoder.h"
#include "support/LasFile.h"
#include "support/LasRecords.h"

namespace Testing {
namespace {

using Formats::Laz::Chunk;
using Formats::Laz::LazVlr;
using Formats::Laz::PointAreaEncoder;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t kChunkSize = 100;
const LasRecordKind kKind{7, 2};

void append(std::vector<std::byte>& out, std::span<const std::byte> bytes) {
  out.insert(out.end(), bytes.begin(), bytes.end());
}

LazVlr smallChunks() { return Formats::Laz::lazVlrFor(kKind.pointFormat, kKind.numExtraBytes, kChunkSize); }

/// The point area behind its first eight bytes, of records given @p atOnce at a time.
std::vector<std::byte> areaOf(const std::string& records, std::size_t atOnce) {
  PointAreaEncoder encoder(smallChunks());
  std::vector<std::byte> area;
  std::span<const std::byte> rest = bytesOf(records);
  while (!rest.empty()) {
    const std::size_t size = std::min(rest.size(), atOnce * kKind.length());
    append(area, encoder.add(rest.first(size)));
    rest = rest.subspan(size);
  }
  append(area, encoder.finish());
  return area;
}

/// What the table at the end of the area says of its chunks.
std::vector<Chunk> chunksOf(std::vector<std::byte> area, std::uint64_t chunkBytes, std::size_t numPoints) {
  const Formats::Laz::ChunkTablePlan plan{0, chunkBytes, kChunkSize, numPoints, kKind.length()};
  area.resize(area.size() + Formats::Laz::kLookahead);
  const std::span<const std::byte> table = std::span<const std::byte>(area).subspan(chunkBytes);
  const std::uint32_t count = Formats::Laz::readChunkTableHead(table.first(8), plan, {"table"});
  if (count == 0) return {};
  return readChunkTable(table.subspan(8, table.size() - 8 - Formats::Laz::kLookahead), count, plan,
                        {"table"});
}

TEST(PointAreaEncoder, CutsPointsIntoChunksOfOneSize) {
  for (const std::size_t numPoints : {1, 99, 100, 101, 200, 5'000}) {
    const std::string records = scannedRecords(kKind, numPoints, 1);
    PointAreaEncoder encoder(smallChunks());
    std::vector<std::byte> area;
    append(area, encoder.add(bytesOf(records)));
    append(area, encoder.finish());
    std::string decoded;
    for (const Chunk& chunk : chunksOf(area, encoder.chunkBytes(), numPoints)) {
      decoded +=
          decodedChunk(smallChunks(), std::span(area).subspan(chunk.offset, chunk.size), chunk.numPoints);
    }
    EXPECT_TRUE(decoded == records) << numPoints << " points";
  }
}

TEST(PointAreaEncoder, HasATableWithoutChunksForNoPoints) {
  PointAreaEncoder encoder(smallChunks());
  const std::span<const std::byte> area = encoder.finish();
  EXPECT_THAT(area, ElementsAre(std::byte{}, std::byte{}, std::byte{}, std::byte{}, std::byte{}, std::byte{},
                                std::byte{}, std::byte{}));
  EXPECT_EQ(encoder.chunkBytes(), 0U);
}

TEST(PointAreaEncoder, MakesTheSameBytesHoweverPointsCome) {
  const std::string records = scannedRecords(kKind, 1'234, 2);
  std::vector<std::byte> expected;
  std::vector<std::size_t> sizes;
  for (std::size_t first = 0; first < 1'234; first += kChunkSize) {
    const std::size_t count = std::min<std::size_t>(kChunkSize, 1'234 - first);
    const auto part = bytesOf(records).subspan(first * kKind.length(), count * kKind.length());
    sizes.push_back(encodeChunk(smallChunks(), part).size());
    append(expected, encodeChunk(smallChunks(), part));
  }
  append(expected, Formats::Laz::encodeChunkTable(sizes));
  for (const std::size_t atOnce : {1, 7, 100, 399, 400, 401, 1'234}) {
    EXPECT_TRUE(areaOf(records, atOnce) == expected) << atOnce << " at a time";
  }
}

TEST(PointAreaEncoder, KeepsPointsBackUntilTheyFillChunks) {
  PointAreaEncoder encoder(smallChunks());
  EXPECT_THAT(encoder.add(bytesOf(scannedRecords(kKind, kChunkSize, 1))), IsEmpty());
  EXPECT_EQ(encoder.chunkBytes(), 0U);
  std::uint64_t written = 0;
  for (int i = 0; i < 1'000; ++i)
    written += encoder.add(bytesOf(scannedRecords(kKind, kChunkSize, 1))).size();
  EXPECT_GT(written, 0U);
  EXPECT_EQ(written, encoder.chunkBytes());
}

}  // namespace
}  // namespace Testing
