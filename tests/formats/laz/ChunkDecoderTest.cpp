#include <gmock/gmock.h>

#include <random>

#include "formats/laz/ChunkDecoder.h"
#include "formats/laz/LayeredDecoder.h"
#include "formats/laz/PointwiseDecoder.h"
#include "formats/laz/RangeDecoder.h"
#include "support/LazFile.h"

namespace {

using Formats::Laz::LazVlr;
using Formats::Laz::Wanted;
using testing::HasSubstr;
using Testing::LazFile;

/// A chunk's bytes, in an allocation that ends with what decoders may look at.
class Chunk {
 public:
  explicit Chunk(const std::string& bytes) : size_(bytes.size()), padded_(size_ + Formats::Laz::kLookahead) {
    std::memcpy(padded_.data(), bytes.data(), size_);
  }
  [[nodiscard]] std::span<const std::byte> bytes() const { return std::span(padded_).first(size_); }

 private:
  std::size_t size_;
  std::vector<std::byte> padded_;
};

/// The records of a chunk, decoded @p atOnce at a time.
std::string decode(const LazVlr& vlr, const std::string& bytes, std::size_t numPoints,
                   std::size_t atOnce = SIZE_MAX, Wanted wanted = Wanted::All) {
  const Chunk chunk(bytes);
  const auto decoder = makeChunkDecoder(vlr);
  decoder->start(chunk.bytes(), numPoints, {"a.laz, chunk 0", 500}, wanted);
  std::string records(numPoints * vlr.recordLength(), '\x7F');
  const auto out = std::as_writable_bytes(std::span(records));
  for (std::size_t first = 0; first < numPoints;) {
    const std::size_t count = std::min(atOnce, numPoints - first);
    decoder->decode(out.subspan(first * vlr.recordLength(), count * vlr.recordLength()));
    first += count;
  }
  decoder->finish();
  return records;
}

std::string refusalOf(const LazVlr& vlr, const std::string& bytes, std::size_t numPoints) {
  try {
    (void)decode(vlr, bytes, numPoints);
  } catch (const Core::FormatError& error) {
    return error.what();
  }
  return "was decoded";
}

std::string joined(const std::vector<std::string>& records) {
  std::string all;
  for (const std::string& record : records) all += record;
  return all;
}

/// One chunk of records that vary, of a point format in items of version 1, or layered.
struct Sample {
  std::vector<std::string> records;
  LazFile file;
  std::string bytes;

  Sample(std::uint8_t format, std::vector<std::string> points)
      : records(std::move(points)), file(format, records), bytes(file.chunks().front()) {}
};

Sample version1(std::uint8_t format, std::size_t numExtraBytes, std::size_t count) {
  const std::size_t length = Formats::Laz::lazVlrFor(format, 0).recordLength() + numExtraBytes;
  return {format, Testing::variedRecords(format, length, count)};
}

TEST(ChunkDecoder, DecodesItemsOfVersion1) {
  for (std::uint8_t format = 0; format <= 3; ++format) {
    for (const std::size_t extra : {0U, 3U}) {
      const Sample sample = version1(format, extra, 3000);
      EXPECT_TRUE(decode(sample.file.vlr(), sample.bytes, 3000) == joined(sample.records))
          << static_cast<int>(format) << " with " << extra;
    }
  }
}

TEST(ChunkDecoder, DecodesLayersOfSeveralScannerChannels) {
  for (const unsigned channels : {1U, 2U, 4U}) {
    const Sample sample(6, Testing::layeredRecords(2, 3000, channels));
    EXPECT_TRUE(decode(sample.file.vlr(), sample.bytes, 3000) == joined(sample.records)) << channels;
  }
}

TEST(ChunkDecoder, ChoosesTheContextsOfVersion4ByThePointsChannel) {
  const auto records = Testing::layeredRecords(2, 2000, 4);
  LazFile version4(6, records);
  version4.byteVersion(4);
  const std::string bytes = version4.chunks().front();
  EXPECT_TRUE(decode(version4.vlr(), bytes, 2000) == joined(records));
  EXPECT_NE(bytes, LazFile(6, records).chunks().front());
}

TEST(ChunkDecoder, DecodesAsManyPointsAtATimeAsAreWanted) {
  for (const Sample& sample : {version1(3, 1, 700), Sample(6, Testing::layeredRecords(1, 1200, 3))}) {
    const std::size_t count = sample.records.size();
    const std::string whole = decode(sample.file.vlr(), sample.bytes, count);
    for (const std::size_t atOnce : {1U, 2U, 511U, 513U}) {
      EXPECT_TRUE(decode(sample.file.vlr(), sample.bytes, count, atOnce) == whole) << atOnce;
    }
  }
}

TEST(ChunkDecoder, BeginsEachChunkAnew) {
  const Sample sample = version1(2, 0, 400);
  const auto decoder = makeChunkDecoder(sample.file.vlr());
  const Chunk chunk(sample.bytes);
  std::string records(400 * 26, '\0');
  for (int round = 0; round < 3; ++round) {
    decoder->start(chunk.bytes(), 400, {"a.laz"}, Wanted::All);
    decoder->decode(std::as_writable_bytes(std::span(records)));
    EXPECT_TRUE(records == joined(sample.records)) << round;
  }
}

TEST(ChunkDecoder, DecodesCoordinatesAlone) {
  const Sample sample(6, Testing::layeredRecords(2, 900, 2));
  const std::string records = decode(sample.file.vlr(), sample.bytes, 900, SIZE_MAX, Wanted::Coordinates);
  for (std::size_t i = 0; i < 900; ++i)
    ASSERT_EQ(records.substr(i * 32, 12), sample.records[i].substr(0, 12));
}

TEST(ChunkDecoder, DecodesAChunkOfOnePoint) {
  for (const Sample& sample : {version1(1, 0, 1), Sample(6, Testing::layeredRecords(0, 1, 1))}) {
    EXPECT_EQ(decode(sample.file.vlr(), sample.bytes, 1), sample.records.front());
  }
}

TEST(ChunkDecoder, RefusesEveryTruncationOfAStream) {
  const Sample sample = version1(3, 2, 40);
  for (std::size_t size = 0; size < sample.bytes.size(); ++size) {
    EXPECT_NE(refusalOf(sample.file.vlr(), sample.bytes.substr(0, size), 40), "was decoded")
        << size << " bytes";
  }
}

TEST(ChunkDecoder, RefusesEveryTruncationOfLayers) {
  const Sample sample(6, Testing::layeredRecords(1, 40, 2));
  for (std::size_t size = 0; size < sample.bytes.size(); ++size) {
    EXPECT_NE(refusalOf(sample.file.vlr(), sample.bytes.substr(0, size), 40), "was decoded")
        << size << " bytes";
  }
}

TEST(ChunkDecoder, NamesTheItemThatEndsTooSoon) {
  const Sample sample = version1(0, 0, 40);
  EXPECT_THAT(
      refusalOf(sample.file.vlr(), sample.bytes.substr(0, 100), 40),
      testing::AllOf(HasSubstr("a.laz, chunk 0, byte 600: POINT10 version 1: expected more bytes for point "),
                     HasSubstr("found their end, or nonsense before")));
}

TEST(ChunkDecoder, NamesTheLayerThatEndsTooSoon) {
  const Sample sample(6, Testing::layeredRecords(0, 300, 1));
  std::string bytes = sample.bytes;
  const std::size_t places = 30 + 4;  // the sizes of the layers of x and y, and of z
  const auto moved = static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[places + 4]));
  Testing::put(bytes, places + 4, moved - 20);  // z loses what intensities get
  Testing::put(bytes, places + 16, 20U);
  EXPECT_THAT(refusalOf(sample.file.vlr(), bytes, 300), HasSubstr("layer POINT14, "));
}

TEST(ChunkDecoder, RefusesBytesBehindTheLastPoint) {
  const Sample sample = version1(0, 0, 40);
  EXPECT_THAT(refusalOf(sample.file.vlr(), sample.bytes + "more", 40),
              HasSubstr("end of a chunk: expected at byte"));
  EXPECT_THAT(refusalOf(sample.file.vlr(), sample.bytes, 39), HasSubstr("end of a chunk"));
}

TEST(ChunkDecoder, RefusesLayersThatDoNotFitTheChunk) {
  const Sample sample(6, Testing::layeredRecords(0, 40, 1));
  std::string bytes = sample.bytes;
  Testing::put(bytes, 34, 4'000'000'000U);
  EXPECT_THAT(refusalOf(sample.file.vlr(), bytes, 40), HasSubstr("sizes of the layers of a chunk: expected"));
  bytes = sample.bytes;
  Testing::put(bytes, 34, 0U);
  EXPECT_THAT(refusalOf(sample.file.vlr(), bytes, 40), HasSubstr("layer of X and Y: expected some bytes"));
}

TEST(ChunkDecoder, RefusesLayersOfAnotherNumberOfPoints) {
  const Sample sample(6, Testing::layeredRecords(0, 40, 1));
  EXPECT_THAT(
      refusalOf(sample.file.vlr(), sample.bytes, 41),
      HasSubstr("byte 530: number of points in a chunk: expected 41 by the chunk table and the header, "
                "found 40"));
}

TEST(ChunkDecoder, SurvivesAnyBytes) {
  std::mt19937 random(11);
  for (std::uint8_t format = 0; format <= 10; ++format) {
    const LazVlr vlr = Formats::Laz::lazVlrFor(format, 2);
    for (int round = 0; round < 20; ++round) {
      std::string bytes(vlr.recordLength() + 400, '\0');
      std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
      if (format >= 6) {
        Testing::put(bytes, vlr.recordLength(), 5000U);
        const std::size_t numLayers = Formats::Laz::LayeredDecoder(vlr.items).headSize() / 4;
        for (std::size_t at = vlr.recordLength() + 4; at < vlr.recordLength() + 4 * numLayers && at < 200;
             at += 4) {
          Testing::put(bytes, at, 10U);
        }
      }
      EXPECT_NE(refusalOf(vlr, bytes, 5000), "was decoded");
    }
  }
}

}  // namespace
