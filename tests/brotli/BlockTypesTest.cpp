#include <gmock/gmock.h>

#include "brotli/BlockTypes.h"
#include "brotli/StreamReader.h"
#include "sample/RandomBits.h"

namespace {

using Brotli::BlockTypes;

struct Row {
  std::size_t type;
  std::uint32_t count;
  bool operator==(const Row&) const = default;
};

constexpr std::array<std::uint32_t, 26> kFirstCounts{1,   5,   9,   13,   17,   25,   33,   41,   49,
                                                     65,  81,  97,  113,  145,  177,  209,  241,  305,
                                                     369, 497, 753, 1265, 2289, 4337, 8433, 16625};
constexpr std::array<unsigned, 26> kCountBits{2, 2, 2, 2, 3, 3, 3, 3, 4,  4,  4,  4,  5,
                                              5, 5, 5, 6, 6, 7, 8, 9, 10, 11, 12, 13, 24};

std::uint32_t takeCount(Testing::BitReader& bits, const Testing::StreamCode& code) {
  const std::size_t symbol = code.take(bits);
  return kFirstCounts.at(symbol) + static_cast<std::uint32_t>(bits.take(kCountBits.at(symbol)));
}

/// Rows as a decoder finds them (RFC 7932, section 6).
std::vector<Row> readRows(Testing::BitReader& bits, std::size_t numRows) {
  const std::size_t numTypes = Testing::takeSmallNumber(bits);
  if (numTypes < 2) return {};
  const Testing::StreamCode types(bits, numTypes + 2);
  const Testing::StreamCode counts(bits, 26);
  std::vector<Row> rows{{0, takeCount(bits, counts)}};
  std::size_t secondLast = 1;
  while (rows.size() < numRows) {
    const std::size_t last = rows.back().type;
    const std::size_t symbol = types.take(bits);
    const std::size_t type = symbol == 0 ? secondLast : symbol == 1 ? (last + 1) % numTypes : symbol - 2;
    secondLast = last;
    rows.push_back({type, takeCount(bits, counts)});
  }
  return rows;
}

/// Adds the rows, writes them as a stream has them, and reads them.
std::vector<Row> writtenAndRead(const std::vector<Row>& rows, BlockTypes& types) {
  Brotli::BitWriter out;
  out.reserve(20'000 + rows.size() * 64);
  for (const Row& row : rows) types.add(row.type, row.count);
  types.describe(out);
  const std::uint64_t described = out.numBits();
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (i > 0) types.enterNext(out);
    EXPECT_EQ(types.type(), rows[i].type);
    EXPECT_EQ(types.left(), rows[i].count);
  }
  EXPECT_EQ(out.numBits() - described, types.switchBits());
  out.alignToByte();
  Testing::BitReader bits(out.bytes());
  return readRows(bits, rows.size());
}

TEST(BlockTypes, DecodersFindTheRows) {
  const std::vector<Row> rows{{0, 3}, {1, 50}, {0, 7}, {2, 20'000}, {1, 1}, {2, 9}, {1, 700}, {0, 16'624}};
  BlockTypes types;
  EXPECT_EQ(writtenAndRead(rows, types), rows);
  EXPECT_EQ(types.numTypes(), 3U);
}

TEST(BlockTypes, DecodersFindRowsOfAsManyTypesAsThereMayBe) {
  std::vector<Row> rows;
  for (std::size_t i = 0; i < BlockTypes::kMostTypes; ++i)
    rows.push_back({i, static_cast<std::uint32_t>(i + 1)});
  Sample::RandomBits random(5);
  while (rows.size() < 2000) {
    const Row row{random.next() % BlockTypes::kMostTypes,
                  static_cast<std::uint32_t>(random.next() % 30'000 + 1)};
    if (row.type != rows.back().type) rows.push_back(row);
  }
  BlockTypes types;
  EXPECT_EQ(writtenAndRead(rows, types), rows);
}

TEST(BlockTypes, EveryCountComesBack) {
  for (const std::uint32_t first : kFirstCounts) {
    for (const std::uint32_t count : {first, first + 1, std::max(first, 2U) - 1}) {
      const std::vector<Row> rows{{0, count}, {1, count}};
      BlockTypes types;
      EXPECT_EQ(writtenAndRead(rows, types), rows);
    }
  }
}

TEST(BlockTypes, OneTypeTakesABit) {
  BlockTypes types;
  Brotli::BitWriter out;
  out.reserve(8);
  types.add(0, 17);
  types.describe(out);
  EXPECT_EQ(out.numBits(), 1U);
  EXPECT_EQ(types.left(), 17U);
  EXPECT_EQ(types.switchBits(), 0U);
}

TEST(BlockTypes, NeighboursOfOneTypeAreOneRow) {
  BlockTypes types;
  Brotli::BitWriter out;
  out.reserve(1000);
  for (const Row& row : {Row{0, 3}, Row{0, 4}, Row{1, 0}, Row{0, 5}, Row{1, 6}})
    types.add(row.type, row.count);
  types.describe(out);
  EXPECT_EQ(types.left(), 12U);
  types.enterNext(out);
  EXPECT_EQ(types.type(), 1U);
  EXPECT_EQ(types.left(), 6U);
}

TEST(BlockTypes, CountDownWhatIsTaken) {
  BlockTypes types;
  Brotli::BitWriter out;
  out.reserve(8);
  types.add(0, 10);
  types.describe(out);
  types.take(4);
  EXPECT_EQ(types.left(), 6U);
}

TEST(BlockTypes, BeginAnewWhenCleared) {
  BlockTypes types;
  writtenAndRead({{0, 3}, {1, 50}}, types);
  types.clear();
  const std::vector<Row> rows{{0, 8}, {1, 2}, {2, 5}};
  EXPECT_EQ(writtenAndRead(rows, types), rows);
}

TEST(SmallNumber, ComesBack) {
  for (std::size_t number = 1; number <= 256; ++number) {
    Brotli::BitWriter out;
    out.reserve(32);
    Brotli::writeSmallNumber(number, out);
    out.alignToByte();
    Testing::BitReader bits(out.bytes());
    EXPECT_EQ(Testing::takeSmallNumber(bits), number);
  }
}

}  // namespace
