// What LasWriter makes of the same points with compression.

#include <gmock/gmock.h>

#include <cstring>

#include "formats/LasHeader.h"
#include "formats/LasWriter.h"
#include "formats/laz/ChunkTable.h"
#include "formats/laz/DecodedChunk.h"

namespace Testing {
namespace {

using Formats::AttributeValues;
using Formats::LasCompression;
using Formats::LasWriter;
using Formats::PointFileLayout;
using Formats::Laz::Chunk;
using Math::AttributeType;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::size_t kVlrHead = 54;
constexpr std::size_t kPlaceOfTable = 8;

PointFileLayout layoutOf(std::size_t projectionSize) {
  PointFileLayout layout;
  layout.attributes = {{"rgb", "", AttributeType::UInt16, 3, {}, {}},
                       {"id", "", AttributeType::UInt32, 1, {}, {}}};
  layout.projection.assign(projectionSize, 'P');
  return layout;
}

/// A file of that many points, and what it says at places of the standard's tables.
class File {
 public:
  File(const PointFileLayout& layout, LasCompression compression, std::size_t numPoints) {
    LasWriter writer(layout, compression);
    const std::size_t headSize = writer.head().size();
    for (std::size_t i = 0; i < numPoints; ++i) {
      const auto id = static_cast<std::uint32_t>(i);
      const std::array<double, 3> position{0.001 * id, 5, -0.25 * id};
      const std::array<std::uint16_t, 3> color{static_cast<std::uint16_t>(3 * i), 7, 65535};
      const std::array<AttributeValues, 2> values{{{reinterpret_cast<const std::byte*>(color.data()), 6},
                                                   {reinterpret_cast<const std::byte*>(&id), 4}}};
      append(writer.encode({position, values}));
    }
    append(writer.tail());
    const std::vector<std::byte> head = writer.head();
    EXPECT_EQ(head.size(), headSize);
    bytes_.insert(bytes_.begin(), head.begin(), head.end());
  }

  template <class T>
  [[nodiscard]] T at(std::size_t offset) const {
    T value;
    std::memcpy(&value, bytes_.data() + offset, sizeof(T));
    return value;
  }
  [[nodiscard]] std::span<const std::byte> bytes() const { return bytes_; }
  [[nodiscard]] std::size_t pointOffset() const { return at<std::uint32_t>(96); }
  [[nodiscard]] std::uint16_t recordLength() const { return at<std::uint16_t>(105); }
  [[nodiscard]] std::uint64_t numPoints() const { return at<std::uint64_t>(247); }

  /// Of a compressed file.
  [[nodiscard]] std::vector<Chunk> chunks() const {
    const auto table = at<std::uint64_t>(pointOffset());
    const Formats::Laz::ChunkTablePlan plan{pointOffset() + kPlaceOfTable, table,
                                            Formats::Laz::LazVlr::kUsualChunkSize, numPoints(),
                                            recordLength()};
    std::vector<std::byte> rest(bytes_.begin() + static_cast<std::ptrdiff_t>(table), bytes_.end());
    rest.resize(rest.size() + Formats::Laz::kLookahead);
    const std::uint32_t count = readChunkTableHead(std::span(rest).first(8), plan, {"file"});
    if (count == 0) return {};
    return readChunkTable(std::span(rest).subspan(8, rest.size() - 8 - Formats::Laz::kLookahead), count, plan,
                          {"file"});
  }

 private:
  void append(std::span<const std::byte> bytes) { bytes_.insert(bytes_.end(), bytes.begin(), bytes.end()); }

  std::vector<std::byte> bytes_;
};

TEST(LazWriter, HoldsTheRecordsOfTheUncompressedFile) {
  const File las(layoutOf(20), LasCompression::None, 1'234);
  const File laz(layoutOf(20), LasCompression::Laz, 1'234);
  const Formats::Laz::LazVlr vlr = Formats::Laz::lazVlrFor(7, 4);
  std::string records;
  for (const Chunk& chunk : laz.chunks()) {
    records += decodedChunk(vlr, laz.bytes().subspan(chunk.offset, chunk.size), chunk.numPoints);
  }
  const std::span<const std::byte> expected = las.bytes().subspan(las.pointOffset());
  ASSERT_EQ(records.size(), expected.size());
  EXPECT_EQ(std::memcmp(records.data(), expected.data(), records.size()), 0);
}

TEST(LazWriter, SaysInTheHeadThatAndHowPointsAreCompressed) {
  const File las(layoutOf(20), LasCompression::None, 10);
  const File laz(layoutOf(20), LasCompression::Laz, 10);
  EXPECT_EQ(laz.at<std::uint8_t>(104), 7 | 0x80);
  EXPECT_EQ(laz.recordLength(), 40);
  EXPECT_EQ(laz.at<std::uint32_t>(100), las.at<std::uint32_t>(100) + 1) << "records before the points";
  for (std::size_t at = 107; at < 375; ++at) {
    EXPECT_EQ(laz.at<std::uint8_t>(at), las.at<std::uint8_t>(at))
        << "counts, scale, offset, box: byte " << at;
  }
  const std::vector<std::byte> description = writeLazVlr(Formats::Laz::lazVlrFor(7, 4));
  const std::size_t record = laz.pointOffset() - description.size() - kVlrHead;
  EXPECT_EQ(record, las.pointOffset()) << "behind the other records";
  EXPECT_STREQ(reinterpret_cast<const char*>(laz.bytes().data()) + record + 2, "laszip encoded");
  EXPECT_EQ(laz.at<std::uint16_t>(record + 18), 22204);
  const auto data = laz.bytes().subspan(record + kVlrHead, description.size());
  EXPECT_TRUE(std::equal(data.begin(), data.end(), description.begin()));
}

TEST(LazWriter, CutsPointsIntoChunksOf50000) {
  const auto chunksOf = [](std::size_t numPoints) {
    return File({}, LasCompression::Laz, numPoints).chunks();
  };
  EXPECT_THAT(chunksOf(49'999), SizeIs(1));
  EXPECT_THAT(chunksOf(50'000), SizeIs(1));
  const std::vector<Chunk> chunks = chunksOf(50'001);
  ASSERT_THAT(chunks, SizeIs(2));
  EXPECT_EQ(chunks[1].numPoints, 1U);
}

TEST(LazWriter, WritesAFileWithoutPoints) {
  const File file({}, LasCompression::Laz, 0);
  EXPECT_EQ(file.numPoints(), 0U);
  EXPECT_EQ(file.at<std::uint64_t>(file.pointOffset()), file.pointOffset() + kPlaceOfTable);
  EXPECT_EQ(file.bytes().size(), file.pointOffset() + kPlaceOfTable + 8);
  EXPECT_THAT(file.chunks(), IsEmpty());
}

TEST(LazWriter, StoresALongProjectionBehindTheChunkTable) {
  const File file(layoutOf(70'000), LasCompression::Laz, 100);
  ASSERT_EQ(file.at<std::uint32_t>(243), 1U);
  const auto record = file.at<std::uint64_t>(235);
  EXPECT_GT(record, file.at<std::uint64_t>(file.pointOffset()));
  EXPECT_EQ(file.at<std::uint16_t>(record + 18), 2112);
  EXPECT_EQ(file.at<std::uint64_t>(record + 20), 70'001U);
  EXPECT_EQ(file.bytes().size(), record + 60 + 70'001);
}

}  // namespace
}  // namespace Testing
