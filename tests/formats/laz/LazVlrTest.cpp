#include <gmock/gmock.h>

#include "formats/laz/LazVlr.h"
#include "support/LasFile.h"

namespace {

using Formats::Laz::Compressor;
using Formats::Laz::Item;
using Formats::Laz::ItemType;
using Formats::Laz::LazVlr;
using testing::ElementsAre;
using testing::HasSubstr;

std::string written(const LazVlr& vlr) {
  const std::vector<std::byte> data = writeLazVlr(vlr);
  return {reinterpret_cast<const char*>(data.data()), data.size()};
}

LazVlr readBack(const std::string& data) {
  return Formats::Laz::readLazVlr(std::as_bytes(std::span(data)), {"a.laz", 1000});
}

/// What refuses a record in which one number was changed.
template <class T>
std::string refusalOf(const LazVlr& vlr, std::size_t offset, T value) {
  std::string data = written(vlr);
  Testing::put(data, offset, value);
  try {
    readBack(data);
  } catch (const Core::FormatError& error) {
    return error.what();
  }
  return "was read";
}

TEST(LazVlr, IsReadAsItWasWritten) {
  for (std::uint8_t format = 0; format <= 10; ++format) {
    for (const std::uint16_t extra : {std::uint16_t{0}, std::uint16_t{7}}) {
      const LazVlr vlr = Formats::Laz::lazVlrFor(format, extra, 1000);
      EXPECT_EQ(readBack(written(vlr)), vlr) << static_cast<int>(format);
    }
  }
}

TEST(LazVlr, ListsTheItemsOfAPointFormat) {
  EXPECT_THAT(Formats::Laz::lazVlrFor(3, 2).items,
              ElementsAre(Item{ItemType::Point10, 20, 2}, Item{ItemType::GpsTime11, 8, 2},
                          Item{ItemType::Rgb12, 6, 2}, Item{ItemType::Byte, 2, 2}));
  EXPECT_THAT(Formats::Laz::lazVlrFor(10, 1).items,
              ElementsAre(Item{ItemType::Point14, 30, 3}, Item{ItemType::RgbNir14, 8, 3},
                          Item{ItemType::WavePacket14, 29, 3}, Item{ItemType::Byte14, 1, 3}));
  EXPECT_EQ(Formats::Laz::lazVlrFor(5, 0).compressor, Compressor::Chunked);
  EXPECT_EQ(Formats::Laz::lazVlrFor(6, 0).compressor, Compressor::Layered);
  EXPECT_EQ(Formats::Laz::lazVlrFor(7, 4).recordLength(), 40U);
  EXPECT_THROW((void)Formats::Laz::lazVlrFor(11, 0), std::invalid_argument);
}

TEST(LazVlr, KnowsWhichPointFormatItsItemsBelongTo) {
  const LazVlr vlr = Formats::Laz::lazVlrFor(3, 2);
  EXPECT_TRUE(isOfPointFormat(vlr, 3));
  EXPECT_FALSE(isOfPointFormat(vlr, 1)) << "colours are no extra bytes";
  EXPECT_FALSE(isOfPointFormat(vlr, 5)) << "there is no waveform";
  EXPECT_FALSE(isOfPointFormat(vlr, 7));
}

TEST(LazVlr, TakesAChunkSizeOfZeroForVariableOne) {
  std::string data = written(Formats::Laz::lazVlrFor(0, 0));
  Testing::put(data, 12, 0U);
  EXPECT_EQ(readBack(data).chunkSize, LazVlr::kVariableChunkSize);
}

TEST(LazVlr, RefusesWhatIsNotKnownAndSaysWhere) {
  const LazVlr chunked = Formats::Laz::lazVlrFor(1, 0);
  EXPECT_EQ(refusalOf(chunked, 0, std::uint16_t{4}),
            "a.laz, byte 1000: compressor: expected 0 to 3, found 4");
  EXPECT_EQ(refusalOf(chunked, 2, std::uint16_t{1}), "a.laz, byte 1002: coder: expected 0, found 1");
  EXPECT_EQ(refusalOf(chunked, 34, std::uint16_t{5}),
            "a.laz, byte 1034: item type: expected 0 or 6 to 14, found 5");
  EXPECT_EQ(refusalOf(chunked, 42, std::uint16_t{7}),
            "a.laz, byte 1042: size of the item GPSTIME11: expected 8, found 7");
  EXPECT_EQ(refusalOf(chunked, 38, std::uint16_t{3}),
            "a.laz, byte 1038: version of the item POINT10: expected 1 to 2, found 3");
  EXPECT_EQ(refusalOf(chunked, 0, std::uint16_t{3}),
            "a.laz, byte 1034: compressor: expected 1 or 2 for the item POINT10, found 3");
  EXPECT_THAT(refusalOf(Formats::Laz::lazVlrFor(6, 0), 0, std::uint16_t{2}),
              HasSubstr("expected 3 for the item POINT14"));
  EXPECT_THAT(refusalOf(Formats::Laz::lazVlrFor(6, 1), 42, std::uint16_t{0}), HasSubstr("at least 1"));
  EXPECT_THAT(refusalOf(chunked, 32, std::uint16_t{0}), HasSubstr("number of items: expected 1 to 2"));
}

TEST(LazVlr, TrustsNoNumberOfItems) {
  EXPECT_EQ(refusalOf(Formats::Laz::lazVlrFor(1, 0), 32, std::uint16_t{65535}),
            "a.laz, byte 1032: number of items: expected 1 to 2, found 65535");
}

TEST(LazVlr, RefusesEveryTruncation) {
  const std::string whole = written(Formats::Laz::lazVlrFor(3, 3));
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_THROW(readBack(whole.substr(0, size)), Core::FormatError) << size << " bytes";
  }
}

TEST(LazVlr, NamesItemsForMessages) {
  EXPECT_EQ(nameOf(Item{ItemType::RgbNir14, 8, 4}), "RGBNIR14 version 4");
}

}  // namespace
