#include <gmock/gmock.h>

#include <cstring>
#include <random>

#include "converter/MortonCode.h"
#include "converter/NodeEncoder.h"
#include "converter/WrittenOctree.h"
#include "core/Brotli.h"

namespace {

using Converter::attributeBlocks;
using Converter::positionCode;
using Converter::RecordLayout;
using testing::ElementsAre;
using testing::HasSubstr;
using Testing::plainMetaData;
using Testing::plainRecords;
using testing::ThrowsMessage;

template <class T>
T at(const std::vector<std::byte>& bytes, std::size_t offset) {
  T value;
  std::memcpy(&value, bytes.data() + offset, sizeof(T));
  return value;
}

TEST(MortonCode, EqualsTheInterleavingBitByBit) {
  std::mt19937 random(3);
  for (int i = 0; i < 10'000; ++i) {
    const auto x = static_cast<std::uint32_t>(random());
    const auto y = static_cast<std::uint32_t>(random());
    const auto z = static_cast<std::uint32_t>(random());
    Converter::PositionCode expected;
    for (unsigned k = 0; k < 16; ++k) {
      const auto bits = [&](unsigned bit) {
        return std::uint64_t{(x >> bit & 1U) | (y >> bit & 1U) << 1U | (z >> bit & 1U) << 2U} << 3 * k;
      };
      expected.low |= bits(k);
      expected.high |= bits(k + 16);
    }
    ASSERT_EQ(positionCode(x, y, z), expected) << x << ' ' << y << ' ' << z;
  }
}

TEST(MortonCode, KnowsWhichHighHalvesReadersSee) {
  EXPECT_TRUE(positionCode(0, 0, 0).readable());
  EXPECT_TRUE(positionCode((1U << 26U) - 1, 1U << 25U, 0).readable());
  EXPECT_TRUE(positionCode(1U << 30U, 1U << 20U, 0).readable()) << "low word of the high half";
  EXPECT_TRUE(positionCode(1U << 30U, 1U << 15U, 0).readable()) << "high word of the low half";
  EXPECT_FALSE(positionCode(1U << 30U, 0, 0).readable());
}

TEST(NodeEncoder, PassesUncompressedRecordsThrough) {
  const RecordLayout layout(plainMetaData().attributes);
  const auto encoder = Converter::makeNodeEncoder(PoTree::Encoding::Uncompressed, layout);
  const auto records = plainRecords({{3, 2, 1}, {0, 0, 0}});
  std::string scratch;
  const std::span<const std::byte> bytes = encoder->encode(records, scratch);
  EXPECT_EQ(bytes.data(), records.data()) << "no copy";
  EXPECT_EQ(bytes.size(), records.size());
}

TEST(NodeEncoder, WritesOneBlockAnAttributeWithExactIntegers) {
  const RecordLayout layout(plainMetaData().attributes);
  const auto blocks = attributeBlocks(plainRecords({{0, 0, 0}, {1, 2, 65536}}), layout);
  ASSERT_EQ(blocks.size(), 2U * (16 + 2 + 1 + 8));
  EXPECT_EQ(at<std::uint64_t>(blocks, 0), 0U);
  EXPECT_EQ(at<std::uint64_t>(blocks, 8), 0U);
  EXPECT_EQ(at<std::uint64_t>(blocks, 16), 4U) << "bit 16 of z";
  EXPECT_EQ(at<std::uint64_t>(blocks, 24), 1U | 2U << 3U) << "bit 0 of x, bit 1 of y";
  EXPECT_EQ(at<std::uint16_t>(blocks, 32), 1000U);
  EXPECT_EQ(at<std::uint16_t>(blocks, 34), 1001U);
  EXPECT_EQ(at<std::uint8_t>(blocks, 37), 1U);
  EXPECT_EQ(at<std::uint64_t>(blocks, 38), Converter::mortonCode(0x1234, 0x1235, 0x1236));
}

TEST(NodeEncoder, OrdersPointsByPositionCodeAndKeepsTheOrderOfEqualOnes) {
  const RecordLayout layout(plainMetaData().attributes);
  const auto blocks =
      attributeBlocks(plainRecords({{0, 0, 65536}, {5, 5, 5}, {0, 0, 1}, {5, 5, 5}, {1, 0, 0}}), layout);
  std::vector<int> order;
  for (std::size_t i = 0; i < 5; ++i) order.push_back(at<std::uint16_t>(blocks, 5 * 16 + 2 * i) - 1000);
  EXPECT_THAT(order, ElementsAre(4, 2, 1, 3, 0));
}

TEST(NodeEncoder, KeepsTheOrderOfRecordsWithoutPositions) {
  const RecordLayout layout(std::vector{Testing::makeAttribute("visibility", "uint8")});
  const std::vector<std::byte> records{std::byte{9}, std::byte{1}, std::byte{5}};
  EXPECT_EQ(attributeBlocks(records, layout), records);
}

TEST(NodeEncoder, CompressesTheBlocksAsOneBrotliStream) {
  const RecordLayout layout(plainMetaData().attributes);
  const auto encoder = Converter::makeNodeEncoder(PoTree::Encoding::Brotli, layout);
  const auto records = plainRecords({{7, 8, 9}, {1, 2, 3}});
  std::string scratch;
  const std::span<const std::byte> bytes = encoder->encode(records, scratch);
  Core::ByteBuffer decoded;
  Core::brotliDecode(bytes, 1000, decoded);
  const auto blocks = attributeBlocks(records, layout);
  ASSERT_EQ(decoded.size, blocks.size());
  EXPECT_EQ(std::memcmp(decoded.data.get(), blocks.data(), blocks.size()), 0);
}

TEST(NodeEncoder, MakesNoBytesOfNoRecords) {
  const RecordLayout layout(plainMetaData().attributes);
  std::string scratch;
  EXPECT_TRUE(Converter::makeNodeEncoder(PoTree::Encoding::Brotli, layout)->encode({}, scratch).empty());
  EXPECT_TRUE(
      Converter::makeNodeEncoder(PoTree::Encoding::Uncompressed, layout)->encode({}, scratch).empty());
}

TEST(NodeEncoder, RefusesBrotliPositionsThatReadersWouldNotFindAgain) {
  const RecordLayout layout(plainMetaData().attributes);
  EXPECT_THAT(
      [&] {
        (void)attributeBlocks(plainRecords({{1 << 30, 0, 0}}), layout);
      },
      ThrowsMessage<std::invalid_argument>(HasSubstr("position (1073741824, 0, 0)")));
}

}  // namespace
