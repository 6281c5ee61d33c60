#include <gmock/gmock.h>

#include "brotli/LengthCodes.h"

namespace {

/// A row of a table of RFC 7932: extra bits, first and last length.
struct Row {
  unsigned extraBits;
  std::uint32_t first;
  std::uint32_t last;
};

// Section 5.
constexpr std::array<Row, 24> kInsertRows{
    {{0, 0, 0},        {0, 1, 1},        {0, 2, 2},         {0, 3, 3},
     {0, 4, 4},        {0, 5, 5},        {1, 6, 7},         {1, 8, 9},
     {2, 10, 13},      {2, 14, 17},      {3, 18, 25},       {3, 26, 33},
     {4, 34, 49},      {4, 50, 65},      {5, 66, 97},       {5, 98, 129},
     {6, 130, 193},    {7, 194, 321},    {8, 322, 577},     {9, 578, 1089},
     {10, 1090, 2113}, {12, 2114, 6209}, {14, 6210, 22593}, {24, 22594, 16799809}}};
constexpr std::array<Row, 24> kCopyRows{
    {{0, 2, 2},     {0, 3, 3},     {0, 4, 4},     {0, 5, 5},      {0, 6, 6},        {0, 7, 7},
     {0, 8, 8},     {0, 9, 9},     {1, 10, 11},   {1, 12, 13},    {2, 14, 17},      {2, 18, 21},
     {3, 22, 29},   {3, 30, 37},   {4, 38, 53},   {4, 54, 69},    {5, 70, 101},     {5, 102, 133},
     {6, 134, 197}, {7, 198, 325}, {8, 326, 581}, {9, 582, 1093}, {10, 1094, 2117}, {24, 2118, 16779333}}};
// Section 6.
constexpr std::array<Row, 26> kBlockCountRows{{{2, 1, 4},         {2, 5, 8},
                                               {2, 9, 12},        {2, 13, 16},
                                               {3, 17, 24},       {3, 25, 32},
                                               {3, 33, 40},       {3, 41, 48},
                                               {4, 49, 64},       {4, 65, 80},
                                               {4, 81, 96},       {4, 97, 112},
                                               {5, 113, 144},     {5, 145, 176},
                                               {5, 177, 208},     {5, 209, 240},
                                               {6, 241, 304},     {6, 305, 368},
                                               {7, 369, 496},     {8, 497, 752},
                                               {9, 753, 1264},    {10, 1265, 2288},
                                               {11, 2289, 4336},  {12, 4337, 8432},
                                               {13, 8433, 16624}, {24, 16625, 16793840}}};

template <std::size_t Size>
void expectRows(const Brotli::LengthRanges<Size>& ranges, const std::array<Row, Size>& rows) {
  for (std::size_t code = 0; code < Size; ++code) {
    for (const std::uint32_t length : {rows[code].first, rows[code].last}) {
      EXPECT_EQ(ranges.codeOf(length), code) << length;
      EXPECT_EQ(ranges.extra(code, length).value, length - rows[code].first);
      EXPECT_EQ(ranges.extra(code, length).count, rows[code].extraBits);
    }
  }
}

TEST(LengthCodes, RangesAreThoseOfTheFormat) {
  expectRows(Brotli::kInsertRanges, kInsertRows);
  expectRows(Brotli::kCopyRanges, kCopyRows);
  expectRows(Brotli::kBlockCountRanges, kBlockCountRows);
}

TEST(LengthCodes, TablesOfSmallLengthsAgreeWithTheRanges) {
  for (std::uint32_t length = 0; length < 30'000; ++length) {
    ASSERT_EQ(Brotli::insertCode(length), Brotli::kInsertRanges.codeOf(length)) << length;
  }
  for (std::uint32_t length = 2; length < 30'000; ++length) {
    ASSERT_EQ(Brotli::copyCode(length), Brotli::kCopyRanges.codeOf(length)) << length;
  }
}

/// The cells of the table of section 5: first symbol, insert and copy codes, and whether the distance is the
/// last.
struct Cell {
  std::size_t first;
  std::size_t insert;
  std::size_t copy;
  bool lastDistance;
};
constexpr std::array<Cell, 11> kCells{{{0, 0, 0, true},
                                       {64, 0, 8, true},
                                       {128, 0, 0, false},
                                       {192, 0, 8, false},
                                       {256, 8, 0, false},
                                       {320, 8, 8, false},
                                       {384, 0, 16, false},
                                       {448, 16, 0, false},
                                       {512, 8, 16, false},
                                       {576, 16, 8, false},
                                       {640, 16, 16, false}}};

TEST(LengthCodes, CommandSymbolsAreThoseOfTheFormat) {
  for (const Cell& cell : kCells) {
    for (std::size_t insert = 0; insert < 8; ++insert) {
      for (std::size_t copy = 0; copy < 8; ++copy) {
        EXPECT_EQ(Brotli::commandSymbol(cell.insert + insert, cell.copy + copy, cell.lastDistance),
                  cell.first + insert * 8 + copy);
      }
    }
  }
}

/// The formula of section 4, without direct codes.
std::uint32_t distanceOf(std::uint32_t symbol, std::uint32_t extra, unsigned postfixBits) {
  const std::uint32_t code = (symbol - 16) >> postfixBits;
  const std::uint32_t postfix = (symbol - 16) & ((1U << postfixBits) - 1);
  const std::uint32_t extraBits = 1 + ((symbol - 16) >> (postfixBits + 1));
  const std::uint32_t offset = ((2 + (code & 1U)) << extraBits) - 4;
  return ((offset + extra) << postfixBits) + postfix + 1;
}

TEST(LengthCodes, DistancesComeBackByTheFormulaOfTheFormat) {
  for (unsigned postfixBits = 0; postfixBits <= Brotli::DistanceCodes::kMostPostfixBits; ++postfixBits) {
    const Brotli::DistanceCodes codes{postfixBits};
    for (std::uint32_t distance = 1; distance < 1U << 22U; distance += distance < 100'000 ? 1 : 997) {
      const Brotli::DistanceCodes::Code code = codes.codeOf(distance);
      ASSERT_EQ(distanceOf(code.symbol, code.extra.value, postfixBits), distance);
      ASSERT_EQ(code.extra.count, 1 + ((code.symbol - 16U) >> (postfixBits + 1)));
      ASSERT_LT(code.extra.value, 1U << code.extra.count);
      ASSERT_LT(code.symbol, codes.numSymbols());
    }
  }
}

}  // namespace
