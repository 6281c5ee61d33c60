#include <gmock/gmock.h>

#include <cstring>
#include <limits>

#include "formats/laz/ChunkEncoder.h"
#include "formats/laz/DecodedChunk.h"
#include "formats/laz/LayeredDecoder.h"
#include "support/LasFile.h"
#include "support/LasRecords.h"

namespace Testing {
namespace {

using Formats::Laz::encodeChunk;
using Formats::Laz::LazVlr;
using Formats::Laz::lazVlrFor;
using testing::HasSubstr;
using testing::ThrowsMessage;

LazVlr vlrOf(const LasRecordKind& kind) { return lazVlrFor(kind.pointFormat, kind.numExtraBytes); }

void expectBack(const LasRecordKind& kind, const std::string& records) {
  const LazVlr vlr = vlrOf(kind);
  const std::vector<std::byte> chunk = encodeChunk(vlr, bytesOf(records));
  const std::string decoded = decodedChunk(vlr, chunk, records.size() / kind.length());
  const auto difference = std::mismatch(records.begin(), records.end(), decoded.begin());
  const auto at = static_cast<std::size_t>(difference.first - records.begin());
  EXPECT_TRUE(records == decoded) << "from record " << at / kind.length() << ", byte " << at % kind.length();
}

class EveryFormat : public testing::TestWithParam<LasRecordKind> {
 protected:
  [[nodiscard]] const LasRecordKind& kind() const { return GetParam(); }
  /// One record of each of these coordinates, on all axes.
  [[nodiscard]] std::string at(const std::vector<std::int32_t>& coordinates) const {
    std::string records;
    for (const std::int32_t coordinate : coordinates) {
      std::string record(kind().length(), '\0');
      for (std::size_t axis = 0; axis < 3; ++axis) put(record, 4 * axis, coordinate);
      records += record;
    }
    return records;
  }
};

TEST_P(EveryFormat, BringsScannedRecordsBack) {
  for (unsigned seed = 0; seed < 3; ++seed) expectBack(kind(), scannedRecords(kind(), 20'000, seed));
}

TEST_P(EveryFormat, BringsAnyBytesBack) {
  for (unsigned seed = 0; seed < 3; ++seed) expectBack(kind(), randomRecords(kind(), 3'000, seed));
}

TEST_P(EveryFormat, BringsFewRecordsBack) {
  for (const std::size_t count : {1, 2, 3}) expectBack(kind(), randomRecords(kind(), count, 7));
}

TEST_P(EveryFormat, BringsTheLargestStepsBack) {
  constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
  expectBack(kind(), at({0, kLeast, kMost, kLeast, 0, kMost, -1, kLeast, kLeast, kMost, kMost, 0, 1}));
}

TEST_P(EveryFormat, BringsStepsOfEveryLengthBack) {
  std::vector<std::int32_t> coordinates;
  for (unsigned bits = 0; bits < 32; ++bits) {
    for (const int around : {-1, 0, 1}) {
      const std::uint32_t step = (1U << bits) + static_cast<std::uint32_t>(around);
      for (const std::uint32_t value : {step, 0U, 0U - step, 0U}) {
        coordinates.push_back(static_cast<std::int32_t>(value));
      }
    }
  }
  expectBack(kind(), at(coordinates));
}

TEST_P(EveryFormat, TakesFewBytesForEqualRecords) {
  std::string records;
  for (int i = 0; i < 10'000; ++i) records += scannedRecords(kind(), 1, 1);
  expectBack(kind(), records);
  EXPECT_LT(encodeChunk(vlrOf(kind()), bytesOf(records)).size(), records.size() / 80);
}

TEST_P(EveryFormat, MakesTheSameBytesAgain) {
  const std::string records = scannedRecords(kind(), 1'000, 1);
  EXPECT_EQ(encodeChunk(vlrOf(kind()), bytesOf(records)), encodeChunk(vlrOf(kind()), bytesOf(records)));
}

TEST_P(EveryFormat, RefusesWhatAreNoWholeRecords) {
  const std::string records = scannedRecords(kind(), 3, 1);
  for (const std::size_t size : {std::size_t{0}, kind().length() - 1, records.size() - 1}) {
    EXPECT_THROW((void)encodeChunk(vlrOf(kind()), bytesOf(records).first(size)), std::invalid_argument)
        << size;
  }
}

std::vector<LasRecordKind> everyKind() {
  std::vector<LasRecordKind> kinds;
  for (const std::uint8_t format : std::initializer_list<std::uint8_t>{0, 1, 2, 3, 6, 7, 8}) {
    for (const std::uint16_t numExtraBytes : std::initializer_list<std::uint16_t>{0, 1, 7})
      kinds.push_back({format, numExtraBytes});
  }
  return kinds;
}

INSTANTIATE_TEST_SUITE_P(ChunkEncoder, EveryFormat, testing::ValuesIn(everyKind()), [](const auto& test) {
  return "Format" + std::to_string(test.param.pointFormat) + "With" +
         std::to_string(test.param.numExtraBytes);
});

/// A format 6 record of zeros but for its scanner channel, its X and its classification.
std::string ofChannel(unsigned channel, std::int32_t x, unsigned classification) {
  std::string record(30, '\0');
  put(record, 0, x);
  put(record, 15, static_cast<std::uint8_t>(channel << 4U));
  put(record, 16, static_cast<std::uint8_t>(classification));
  return record;
}

TEST(ChunkEncoder, KeepsScannerChannelsApart) {
  std::string records;
  const std::vector<unsigned> channels{2, 2, 0, 3, 2, 0, 0, 1, 3, 3, 1, 2, 1, 0, 3, 0, 2};
  for (std::size_t i = 0; i < channels.size(); ++i) {
    records += ofChannel(channels[i], static_cast<std::int32_t>(1000 * channels[i] + i), 10 + channels[i]);
  }
  expectBack({6, 0}, records);
}

TEST(ChunkEncoder, LeavesLayersOfWhatNeverChangesEmpty) {
  const std::string records = ofChannel(1, 5, 7) + ofChannel(1, 6, 7) + ofChannel(3, 9, 8);
  const LazVlr vlr = vlrOf({6, 0});
  const std::vector<std::byte> chunk = encodeChunk(vlr, bytesOf(records));
  const auto head = Formats::Laz::LayeredDecoder(vlr.items).readHead(chunk, {"chunk"});
  EXPECT_EQ(head.numPoints, 3U);
  EXPECT_EQ(head.chunkSize(), chunk.size());
  ASSERT_EQ(head.layerSizes.size(), 9U);
  for (std::size_t layer = 0; layer < 9; ++layer) {
    const bool isWritten = layer < 3;  // x and y, z, classification
    EXPECT_EQ(head.layerSizes[layer] != 0, isWritten) << layer;
  }
}

TEST(ChunkEncoder, DoesNotWriteWavePackets) {
  for (const std::uint8_t format : std::initializer_list<std::uint8_t>{4, 5, 9, 10}) {
    EXPECT_THAT([format] { (void)encodeChunk(lazVlrFor(format, 0), {}); },
                ThrowsMessage<std::invalid_argument>(HasSubstr("is not written")));
  }
}

}  // namespace
}  // namespace Testing
