#include <gmock/gmock.h>

#include <limits>
#include <stdexcept>

#include "brotli/ColumnEncoder.h"
#include "brotli/SurveyNode.h"
#include "brotli/TestColumns.h"
#include "core/Brotli.h"

namespace {

using Testing::Bytes;
using Testing::Columns;
using Testing::encoded;

Columns oneColumn(std::size_t stride, const Bytes& column) {
  return {column.size() / stride, {stride}, column};
}

TEST(ColumnEncoder, DecodersGetTheColumns) {
  const Columns columns{2, {1, 2}, Testing::randomBytes(6)};
  EXPECT_EQ(Testing::decoded(encoded(columns), 6), columns.data);
}

TEST(ColumnEncoder, RandomBytesCostEightBytesAndOneInAThousandAtMost) {
  for (std::size_t size = 0; size < 3000; ++size) {
    const Columns columns = oneColumn(1, Testing::randomBytes(size, size));
    ASSERT_LE(encoded(columns).size(), size + size / 1000 + 8) << size;
  }
}

TEST(ColumnEncoder, ManyColumnsOfFewRandomBytesCostNoMore) {
  for (std::size_t numColumns = 1; numColumns < 3000; numColumns += 61) {
    const Columns columns{1, std::vector<std::size_t>(numColumns, 1), Testing::randomBytes(numColumns)};
    ASSERT_LE(encoded(columns).size(), numColumns + numColumns / 1000 + 8) << numColumns;
  }
}

TEST(ColumnEncoder, EqualElementsTakeNextToNothing) {
  const Columns columns{100'000, {16, 8}, Bytes(2'400'000, std::byte{5})};
  EXPECT_LT(encoded(columns).size(), 64U);
}

TEST(ColumnEncoder, GivesTheSameBytesWhateverItEncodedBefore) {
  const Columns columns = Testing::surveyNode(3000);
  const Bytes expected = encoded(columns);
  Brotli::ColumnEncoder used;
  for (const Columns& other : {oneColumn(8, Testing::randomBytes(80'000)), oneColumn(1, Bytes(70'000)),
                               oneColumn(5, Testing::variedColumn(9000, 5)), columns}) {
    (void)used.encode(other.data, other.numElements, other.strides);
    EXPECT_THAT(used.encode(columns.data, columns.numElements, columns.strides),
                testing::ElementsAreArray(expected));
  }
}

TEST(ColumnEncoder, RefusesColumnsThatDoNotMakeUpTheData) {
  Brotli::ColumnEncoder encoder;
  const Bytes data(12);
  const auto encode = [&](std::size_t numElements, const std::vector<std::size_t>& strides) {
    (void)encoder.encode(data, numElements, strides);
  };
  EXPECT_THAT(
      [&] {
        encode(3, {2, 1});
      },
      testing::ThrowsMessage<std::invalid_argument>(
          "brotli columns: 3 elements of 3 bytes are not 12 bytes"));
  EXPECT_THROW(encode(5, {2, 1}), std::invalid_argument);
  EXPECT_THROW(encode(0, {2, 1}), std::invalid_argument);
  EXPECT_THROW(encode(4, {}), std::invalid_argument);
  EXPECT_THROW(encode(4, {3, 0}), std::invalid_argument);
  EXPECT_NO_THROW(encode(4, {2, 1}));
}

TEST(ColumnEncoder, RefusesStridesWhoseSumWraps) {
  Brotli::ColumnEncoder encoder;
  const Bytes data(2);
  const std::vector<std::size_t> strides{std::numeric_limits<std::size_t>::max(), 2};
  EXPECT_THROW((void)encoder.encode(data, 2, strides), std::invalid_argument);
}

std::size_t searched(const Columns& columns) { return Core::brotliEncode(columns.data, 5).size(); }

TEST(ColumnEncoder, SortedPositionsTakeLessThanByAGeneralSearch) {
  const Columns positions = Testing::columnAlone(Testing::surveyNode(20'000), 0);
  ASSERT_EQ(positions.strides, std::vector<std::size_t>{16});
  EXPECT_LT(encoded(positions).size(), searched(positions));
}

TEST(ColumnEncoder, TimesAndColoursTogetherTakeLessThanByAGeneralSearch) {
  const Columns node = Testing::surveyNode(20'000);
  Columns columns = Testing::columnAlone(node, 9);
  columns.add(8, Testing::columnAlone(node, 10).data);
  EXPECT_LT(encoded(columns).size(), searched(columns));
}

TEST(ColumnEncoder, NodesOfASparseSurveyTakeHardlyMoreThanByAGeneralSearch) {
  for (const std::uint64_t points : {300U, 2000U, 20'000U}) {
    const Columns node = Testing::surveyNode(points);
    EXPECT_LT(encoded(node).size(), searched(node) * 102 / 100) << points << " points";
  }
}

}  // namespace
