#include "brotli/HardColumns.h"

#include <array>
#include <bit>

#include "brotli/SurveyNode.h"
#include "sample/RandomBits.h"

namespace Testing {
namespace {

constexpr std::size_t kMebibyte = std::size_t{1} << 20U;

/// Columns as nodes of point clouds have, all random.
Columns randomColumns(std::size_t numElements) {
  Columns columns{numElements, {}, {}};
  for (const std::size_t stride : {16U, 2U, 1U, 1U, 8U, 8U}) {
    columns.add(stride, randomBytes(stride * numElements, stride));
  }
  return columns;
}

Columns noColumns() { return {100, {}, {}}; }
Columns noPoints() { return {0, {16, 8, 2, 1}, {}}; }
Columns onePoint() { return randomColumns(1); }
Columns twoPoints() { return randomColumns(2); }
Columns randomData() { return randomColumns(20'000); }

Columns allEqual() {
  Columns columns{10'000, {}, {}};
  for (const std::size_t stride : {16U, 8U, 2U, 1U}) {
    const Bytes element = randomBytes(stride, stride);
    Bytes column;
    for (std::size_t i = 0; i < columns.numElements; ++i)
      column.insert(column.end(), element.begin(), element.end());
    columns.add(stride, column);
  }
  return columns;
}

Columns allDifferent() {
  Columns columns{30'000, {}, {}};
  columns.add(8, columnOf(columns.numElements, [](std::size_t i) { return Sample::mixBits(i); }));
  columns.add(
      4, columnOf(columns.numElements, [](std::size_t i) { return static_cast<std::uint32_t>(i * 40'503); }));
  return columns.add(
      2, columnOf(columns.numElements, [](std::size_t i) { return static_cast<std::uint16_t>(i); }));
}

Columns millionPoints() {
  Columns columns{1'000'000, {}, {}};
  columns.add(8, columnOf(columns.numElements, [](std::size_t i) { return i * i / 7; }));
  columns.add(2, columnOf(columns.numElements, [](std::size_t i) {
                return static_cast<std::uint16_t>(Sample::mixBits(i) % 900);
              }));
  return columns.add(1, randomBytes(columns.numElements));
}

Columns nanDoubles() {
  constexpr std::array<std::uint64_t, 5> kSpecial{0x7FF8000000000000, 0xFFF8000000000000, 0x7FF0000000000001,
                                                  0x7FF0000000000000, 0x8000000000000000};
  Columns columns{20'000, {}, {}};
  const auto value = [&](std::size_t i) {
    const std::uint64_t bits = Sample::mixBits(i);
    if (bits % 3 != 0) return kSpecial[bits / 3 % kSpecial.size()];
    return std::bit_cast<std::uint64_t>(static_cast<double>(i) * 0.125) | (bits % 2) << 63U;
  };
  columns.add(8, columnOf(columns.numElements, value));
  return columns.add(8, columnOf(columns.numElements, [&](std::size_t i) { return kSpecial[i % 2]; }));
}

Columns randomBesideConstantBesideSorted() {
  Columns columns{15'000, {}, {}};
  columns.add(3, randomBytes(3 * columns.numElements));
  columns.add(5, Bytes(5 * columns.numElements, std::byte{7}));
  columns.add(
      8, columnOf(columns.numElements, [](std::size_t i) { return std::uint64_t{1} << 40U | i * 1001; }));
  return columns.add(1, randomBytes(columns.numElements, 2));
}

Columns longElements() {
  Columns columns{40, {}, {}};
  for (const std::size_t stride : {100U, 255U, 1000U, 70'000U}) {
    columns.add(stride, variedColumn(columns.numElements, stride));
  }
  return columns;
}

/// Two elements that are nearly the same.
Columns twoLongElements(std::size_t stride) {
  Bytes column = randomBytes(stride);
  column.resize(2 * stride);
  std::memcpy(column.data() + stride, column.data(), stride);
  column[stride + stride / 2] ^= std::byte{1};
  Columns columns{2, {}, {}};
  return columns.add(stride, column);
}
Columns elementsLongerThanABlock() { return twoLongElements(3 * kMebibyte + 1); }
Columns elementsLongerThanTheWindow() { return twoLongElements(5 * kMebibyte); }

Columns manyColumns(std::size_t numElements) {
  Columns columns{numElements, {}, {}};
  for (std::size_t i = 0; i < 300; ++i) {
    // Each with bytes of its own, so that few can share a code.
    const std::size_t stride = 1 + i % 5;
    Bytes column = randomBytes(stride * numElements, i);
    for (std::byte& byte : column) {
      byte = static_cast<std::byte>((std::to_integer<std::size_t>(byte) % (2 + i % 7) * 31 + i * 5) & 0xFFU);
    }
    columns.add(stride, column);
  }
  return columns;
}
Columns manyColumnsOfOnePoint() { return manyColumns(1); }
Columns manyColumnsOfManyPoints() { return manyColumns(2000); }

Columns copiesAcrossBlocks() {
  Columns columns{kMebibyte / 4, {}, {}};
  columns.add(9, Bytes(9 * columns.numElements, std::byte{3}));
  columns.add(8, columnOf(columns.numElements, [](std::size_t i) { return Sample::mixBits(i % 3000); }));
  return columns.add(7, variedColumn(columns.numElements, 7));
}

/// The same values again, but more elements apart than the parser's table can number.
Columns periodsLongerThanTheTable() {
  constexpr std::size_t kPeriod = 70'000;
  Columns columns{3 * kPeriod, {}, {}};
  columns.add(8, columnOf(columns.numElements, [](std::size_t i) { return Sample::mixBits(i % kPeriod); }));
  return columns.add(
      4, columnOf(columns.numElements, [](std::size_t i) { return static_cast<std::uint32_t>(i % 65'536); }));
}

/// Bytes all different and bytes all equal in turn, as long as the lengths at which codes of lengths change.
Columns rowsOfEveryLengthCode() {
  Bytes column;
  std::uint64_t seed = 0;
  for (const std::size_t border : {2U,  6U,   8U,   10U,  14U,  18U,   26U,   34U,   50U,   66U,
                                   98U, 130U, 194U, 322U, 578U, 1090U, 2114U, 2118U, 6210U, 22'594U}) {
    for (std::size_t length = border - 1; length <= border + 1; ++length) {
      const Bytes different = randomBytes(length, ++seed);
      column.insert(column.end(), different.begin(), different.end());
      column.insert(column.end(), length, static_cast<std::byte>(seed));
    }
  }
  Columns columns{column.size(), {}, {}};
  return columns.add(1, column);
}

Columns survey() { return surveyNode(20'000); }
Columns smallSurvey() { return surveyNode(300); }

}  // namespace

Columns columnOfStride(std::size_t stride) {
  Columns columns{2000, {}, {}};
  return columns.add(stride, variedColumn(columns.numElements, stride, stride));
}

std::vector<HardColumns> hardColumns() {
  return {{"NoColumns", noColumns},
          {"NoPoints", noPoints},
          {"OnePoint", onePoint},
          {"TwoPoints", twoPoints},
          {"AllEqual", allEqual},
          {"AllDifferent", allDifferent},
          {"MillionPoints", millionPoints},
          {"NanDoubles", nanDoubles},
          {"RandomBytes", randomData},
          {"RandomBesideConstantBesideSorted", randomBesideConstantBesideSorted},
          {"LongElements", longElements},
          {"ElementsLongerThanABlock", elementsLongerThanABlock},
          {"ElementsLongerThanTheWindow", elementsLongerThanTheWindow},
          {"ManyColumnsOfOnePoint", manyColumnsOfOnePoint},
          {"ManyColumnsOfManyPoints", manyColumnsOfManyPoints},
          {"CopiesAcrossBlocks", copiesAcrossBlocks},
          {"PeriodsLongerThanTheTable", periodsLongerThanTheTable},
          {"RowsOfEveryLengthCode", rowsOfEveryLengthCode},
          {"Survey", survey},
          {"SmallSurvey", smallSurvey}};
}

}  // namespace Testing
