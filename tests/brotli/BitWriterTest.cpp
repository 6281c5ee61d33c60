#include <gmock/gmock.h>

#include "brotli/BitWriter.h"
#include "brotli/TestColumns.h"
#include "sample/RandomBits.h"

namespace {

using Brotli::BitWriter;
using testing::ElementsAre;
using testing::ElementsAreArray;

/// Numbers of 0 to 56 bits.
std::vector<std::pair<std::uint64_t, unsigned>> numbers() {
  Sample::RandomBits random(3);
  std::vector<std::pair<std::uint64_t, unsigned>> all;
  for (unsigned i = 0; i < 2000; ++i) {
    const unsigned count = i % (BitWriter::kMostBitsAtOnce + 1);
    all.emplace_back(random.next() & ((std::uint64_t{1} << count) - 1), count);
  }
  return all;
}

BitWriter writerOfNumbers() {
  BitWriter writer;
  for (const auto& [bits, count] : numbers()) {
    writer.reserve(count);
    writer.write(bits, count);
  }
  return writer;
}

TEST(BitWriter, PutsTheFirstBitLowest) {
  BitWriter writer;
  writer.reserve(16);
  writer.write(0b1, 1);
  writer.write(0b01, 2);
  writer.write(0b10110, 5);
  writer.write(0xA5, 8);
  EXPECT_THAT(writer.bytes(), ElementsAre(std::byte{0b10110011}, std::byte{0xA5}));
}

TEST(BitWriter, KeepsEveryBit) {
  BitWriter writer = writerOfNumbers();
  writer.reserve(8);
  writer.alignToByte();
  const std::span<const std::byte> bytes = writer.bytes();
  std::size_t position = 0;
  for (const auto& [bits, count] : numbers()) {
    for (unsigned i = 0; i < count; ++i, ++position) {
      const bool bit = (std::to_integer<unsigned>(bytes[position / 8]) >> (position % 8) & 1U) != 0;
      ASSERT_EQ(bit, (bits >> i & 1U) != 0) << position;
    }
  }
  EXPECT_EQ(bytes.size(), (position + 7) / 8);
}

TEST(BitWriter, CountsItsBits) {
  BitWriter writer;
  writer.reserve(64);
  writer.write(0, 13);
  EXPECT_EQ(writer.numBits(), 13U);
  writer.alignToByte();
  EXPECT_EQ(writer.numBits(), 16U);
  writer.alignToByte();
  EXPECT_EQ(writer.numBits(), 16U);
}

TEST(BitWriter, AppendsBytesBehindWholeOnes) {
  BitWriter writer;
  writer.reserve(64);
  writer.write(1, 3);
  writer.alignToByte();
  writer.append(std::vector{std::byte{7}, std::byte{8}});
  writer.write(9, 8);
  EXPECT_THAT(writer.bytes(), ElementsAre(std::byte{1}, std::byte{7}, std::byte{8}, std::byte{9}));
}

TEST(BitWriter, ForgetsWhatStandsBehindAMark) {
  BitWriter writer;
  writer.reserve(200);
  writer.write(0b101, 3);
  const BitWriter::Mark mark = writer.mark();
  writer.write(0xFFFFFFFF, 32);
  writer.rewind(mark);
  EXPECT_EQ(writer.numBits(), 3U);
  writer.write(0b00000, 5);
  EXPECT_THAT(writer.bytes(), ElementsAre(std::byte{0b101}));
}

TEST(BitWriter, BeginsAnewWhenCleared) {
  BitWriter writer = writerOfNumbers();
  writer.clear();
  EXPECT_EQ(writer.numBits(), 0U);
  writer.write(0x42, 8);
  EXPECT_THAT(writer.bytes(), ElementsAre(std::byte{0x42}));
}

TEST(BitCursor, WritesWhatTheWriterWouldWrite) {
  BitWriter expected = writerOfNumbers();
  BitWriter writer;
  writer.reserve(expected.numBits());
  const auto all = numbers();
  for (std::size_t begin = 0; begin < all.size(); begin += 100) {
    Brotli::BitCursor cursor(writer);
    for (std::size_t i = begin; i < begin + 100; ++i) {
      cursor.add(all[i].first, all[i].second);
      cursor.flush();
    }
  }
  EXPECT_EQ(writer.numBits(), expected.numBits());
  EXPECT_THAT(writer.bytes(), ElementsAreArray(expected.bytes()));
}

}  // namespace
