#include <gmock/gmock.h>

#include <cstring>

#include "math/ExtraColumns.h"
#include "math/SoAPointContainer.h"

namespace {

using Math::AttributeType;
using Math::ExtraColumns;
using testing::ElementsAre;
using testing::IsEmpty;

Math::Attribute attribute(std::string name, AttributeType type, std::uint32_t numElements = 1) {
  return {std::move(name), "", type, numElements, {}, {}};
}

ExtraColumns timeAndColour() {
  return ExtraColumns({attribute("time", AttributeType::Double), attribute("rgb", AttributeType::UInt16, 3)});
}

template <class T>
std::vector<T> valuesOf(const ExtraColumns& columns, const char* name) {
  const std::span<const std::byte> bytes = columns.bytes(columns.find(name).value());
  std::vector<T> values(bytes.size() / sizeof(T));
  std::memcpy(values.data(), bytes.data(), bytes.size());
  return values;
}

template <class T>
void store(ExtraColumns& columns, const char* name, const std::vector<T>& values) {
  const std::size_t column = columns.find(name).value();
  const std::size_t pointSize = columns.attributes()[column].size();
  const std::size_t count = values.size() * sizeof(T) / pointSize;
  columns.prepare(column, count, count);
  columns.store(column, 0, count, std::as_bytes(std::span(values)).data(), pointSize);
}

TEST(ExtraColumns, AreAbsentUntilTheyAreWritten) {
  ExtraColumns columns = timeAndColour();
  EXPECT_THAT(columns.bytes(0), IsEmpty());
  columns.resize(5);
  EXPECT_THAT(columns.bytes(1), IsEmpty());
  EXPECT_EQ(columns.byteSize(), 0U);
}

TEST(ExtraColumns, AreFoundByTheirNames) {
  EXPECT_EQ(timeAndColour().find("rgb"), 1U);
  EXPECT_EQ(timeAndColour().find("RGB"), std::nullopt);
  EXPECT_EQ(ExtraColumns().find("rgb"), std::nullopt);
  EXPECT_THAT(ExtraColumns().attributes(), IsEmpty());
}

TEST(ExtraColumns, TakeValuesThatStandApart) {
  ExtraColumns columns = timeAndColour();
  const std::vector<std::uint16_t> records = {1, 2, 3, 99, 4, 5, 6, 99};
  columns.prepare(1, 2, 2);
  columns.store(1, 0, 2, std::as_bytes(std::span(records)).data(), 8);
  EXPECT_THAT(valuesOf<std::uint16_t>(columns, "rgb"), ElementsAre(1, 2, 3, 4, 5, 6));
  columns.store(1, 1, 1, std::as_bytes(std::span(records)).data(), 8);
  EXPECT_THAT(valuesOf<std::uint16_t>(columns, "rgb"), ElementsAre(1, 2, 3, 1, 2, 3));
}

TEST(ExtraColumns, OfEverySizeTakeValuesThatStandApart) {
  std::vector<std::byte> records(40);
  for (std::size_t i = 0; i < records.size(); ++i) records[i] = static_cast<std::byte>(i);
  for (std::uint32_t size = 1; size <= 20; ++size) {
    ExtraColumns columns({attribute("any", AttributeType::UInt8, size)});
    columns.prepare(0, 2, 2);
    columns.store(0, 0, 2, records.data(), 20);
    std::vector<std::byte> expected(records.begin(), records.begin() + size);
    expected.insert(expected.end(), records.begin() + 20, records.begin() + 20 + size);
    EXPECT_EQ(valuesOf<std::byte>(columns, "any"), expected) << size;
  }
}

TEST(ExtraColumns, GrowByZerosAndShrink) {
  ExtraColumns columns = timeAndColour();
  store<double>(columns, "time", {1.5, 2.5});
  columns.resize(4);
  EXPECT_THAT(valuesOf<double>(columns, "time"), ElementsAre(1.5, 2.5, 0, 0));
  columns.resize(1);
  EXPECT_THAT(valuesOf<double>(columns, "time"), ElementsAre(1.5));
  columns.resize(0);
  columns.resize(3);
  EXPECT_THAT(columns.bytes(0), IsEmpty());
}

TEST(ExtraColumns, HoldZerosBehindWhatTheCallerWrites) {
  ExtraColumns columns = timeAndColour();
  columns.prepare(0, 3, 1);
  const double value = 7;
  columns.store(0, 0, 1, std::as_bytes(std::span(&value, 1)).data(), sizeof(value));
  EXPECT_THAT(valuesOf<double>(columns, "time"), ElementsAre(7, 0, 0));
}

TEST(ExtraColumns, CompletedAreZerosWhereNothingWasWritten) {
  ExtraColumns columns = timeAndColour();
  store<double>(columns, "time", {1.5, 2.5});
  columns.complete(2);
  EXPECT_THAT(valuesOf<double>(columns, "time"), ElementsAre(1.5, 2.5));
  EXPECT_THAT(valuesOf<std::uint16_t>(columns, "rgb"), ElementsAre(0, 0, 0, 0, 0, 0));
}

TEST(ExtraColumns, AreChosenByIndicesInTheirOrder) {
  ExtraColumns columns = timeAndColour();
  store<double>(columns, "time", {10, 11, 12});
  const std::vector<std::uint32_t> indices = {2, 0, 0};
  const ExtraColumns chosen = ExtraColumns::fromIndices(columns, indices);
  EXPECT_THAT(valuesOf<double>(chosen, "time"), ElementsAre(12, 10, 10));
  EXPECT_THAT(chosen.bytes(1), IsEmpty());
  EXPECT_EQ(chosen.attributes().data(), columns.attributes().data());  // one list for all
}

TEST(ExtraColumns, OfAContainerFollowItsSizeAndCountInItsBytes) {
  Math::NodePoints points;
  points.resize(3);
  points.complete();
  const std::size_t without = points.byteSize();
  points.setExtras(timeAndColour());
  points.complete();
  EXPECT_EQ(points.byteSize(), without + 3 * (8 + 6));
  const std::vector<std::uint32_t> indices = {1, 2};
  const Math::NodePoints chosen = Math::NodePoints::fromIndices(points, indices);
  EXPECT_EQ(chosen.extras().bytes(0).size(), 16U);
  points.resize(0);
  EXPECT_THAT(points.extras().bytes(0), IsEmpty());
}

}  // namespace
