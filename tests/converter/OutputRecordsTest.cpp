#include <gmock/gmock.h>

#include <cmath>
#include <cstring>

#include "converter/OutputRecords.h"
#include "support/ListScan.h"

namespace {

using Converter::AttributeStatistics;
using Converter::CloudRecords;
using Converter::OutputRecords;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Testing::scanColumn;
using Testing::ScanColumn;

/// Points whose attributes are these columns, at the position (1, 2, 3).
struct Cloud {
  CloudRecords records;
  std::string bytes;
  std::vector<std::string> remarks;
  std::unique_ptr<OutputRecords> output;

  explicit Cloud(const std::vector<ScanColumn>& columns) {
    for (const ScanColumn& column : columns) {
      records.attributes.push_back(column.attribute);
      records.offsets.push_back(records.stride);
      records.stride += column.attribute.size();
    }
    const std::size_t count = columns[0].bytes.size() / columns[0].attribute.size();
    for (std::size_t i = 0; i < count; ++i) {
      bytes += std::string("\1\0\0\0\2\0\0\0\3\0\0\0", 12);
      for (const ScanColumn& column : columns)
        bytes += column.bytes.substr(i * column.attribute.size(), column.attribute.size());
    }
    AttributeStatistics statistics(records);
    statistics.add({reinterpret_cast<const std::byte*>(bytes.data()), records.stride, count});
    output = std::make_unique<OutputRecords>(records, statistics.facts(), remarks);
  }

  [[nodiscard]] std::string converted(std::size_t point) const {
    std::string out(output->stride(), '\xee');
    output->convert(reinterpret_cast<const std::byte*>(bytes.data()) + point * records.stride,
                    reinterpret_cast<std::byte*>(out.data()));
    return out;
  }

  [[nodiscard]] std::string record(std::size_t point) const {
    return bytes.substr(point * records.stride, records.stride);
  }
};

template <class T>
T valueAt(const std::string& record, std::size_t offset) {
  T value;
  std::memcpy(&value, record.data() + offset, sizeof value);
  return value;
}

TEST(OutputRecords, AreThoseOfTheConversionWhereNothingHasToChange) {
  const Cloud cloud({scanColumn<std::uint16_t>("intensity", {7, 9}),
                     scanColumn<double>("gps-time", {1.5, -2}),
                     scanColumn<std::uint8_t>("scan flags", {0, 4})});
  EXPECT_EQ(cloud.converted(0), cloud.record(0));
  EXPECT_EQ(cloud.converted(1), cloud.record(1));
  const auto& attributes = cloud.output->attributes();
  ASSERT_EQ(attributes.size(), 4);
  EXPECT_EQ(attributes[0].name, "position");
  EXPECT_EQ(attributes[0].size, 12);
  EXPECT_EQ(attributes[1].type, "uint16");
  EXPECT_THAT(attributes[2].min, ElementsAre(-2));
  EXPECT_THAT(attributes[2].max, ElementsAre(1.5));
  EXPECT_THAT(cloud.remarks, IsEmpty());
}

TEST(OutputRecords, LeaveScanFlagsOutThatAreZeroForAllPoints) {
  const Cloud cloud({scanColumn<std::uint8_t>("user data", {0, 0}),
                     scanColumn<std::uint8_t>("scan flags", {0, 0}),
                     scanColumn<std::uint16_t>("nir", {5, 6})});
  EXPECT_EQ(cloud.output->stride(), 15);
  EXPECT_EQ(valueAt<std::uint16_t>(cloud.converted(1), 13), 6);
  EXPECT_EQ(cloud.output->attributes().back().name, "nir");
}

TEST(OutputRecords, Store64BitIntegersAsDoubleWhereAllAreExact) {
  const Cloud cloud({scanColumn<std::int64_t>("id", {-5, 1LL << 60U}),
                     scanColumn<std::uint64_t>("key", {1ULL << 63U, 3}),
                     scanColumn<std::uint8_t>("user data", {1, 2})});
  EXPECT_EQ(cloud.output->attributes()[1].type, "double");
  EXPECT_THAT(cloud.output->attributes()[1].min, ElementsAre(-5));
  EXPECT_EQ(valueAt<double>(cloud.converted(0), 12), -5);
  EXPECT_EQ(valueAt<double>(cloud.converted(1), 12), std::ldexp(1, 60));
  EXPECT_EQ(valueAt<double>(cloud.converted(0), 20), std::ldexp(1, 63));
  EXPECT_EQ(cloud.converted(1).back(), 2);
  EXPECT_THAT(cloud.remarks, ElementsAre(HasSubstr("\"id\""), HasSubstr("\"key\"")));
}

TEST(OutputRecords, Store64BitIntegersInTwoHalvesWhereOneIsNotExact) {
  const Cloud cloud({scanColumn<std::int64_t>("id", {-1, 0, 5, 0x1234'5678'9abc'def1}, 2)});
  const auto& attributes = cloud.output->attributes();
  ASSERT_EQ(attributes.size(), 3);
  EXPECT_EQ(attributes[1].name, "id_low");
  EXPECT_EQ(attributes[2].name, "id_high");
  EXPECT_EQ(attributes[1].type, "uint32");
  EXPECT_EQ(attributes[1].numElements, 2);
  EXPECT_EQ(valueAt<std::uint32_t>(cloud.converted(0), 12), UINT32_MAX);
  EXPECT_EQ(valueAt<std::uint32_t>(cloud.converted(1), 16), 0x9abc'def1);
  EXPECT_EQ(valueAt<std::uint32_t>(cloud.converted(0), 20), UINT32_MAX);
  EXPECT_EQ(valueAt<std::uint32_t>(cloud.converted(1), 24), 0x1234'5678);
  EXPECT_THAT(cloud.remarks, ElementsAre(HasSubstr("id_high")));
}

TEST(OutputRecords, HalvesDoNotTakeTheNameOfAnotherAttribute) {
  const Cloud cloud({scanColumn<std::uint8_t>("id_low", {7}), scanColumn<std::int64_t>("id", {INT64_MAX}),
                     scanColumn<std::uint8_t>("id_high", {8})});
  std::set<std::string> names;
  for (const auto& attribute : cloud.output->attributes()) names.insert(attribute.name);
  EXPECT_EQ(names.size(), 5);
  EXPECT_TRUE(names.contains("id_low"));
  EXPECT_TRUE(names.contains("id_high"));
}

TEST(OutputRecords, KeepDescriptionScaleAndOffset) {
  ScanColumn column = scanColumn<std::int16_t>("height", {3});
  column.attribute.description = "above ground";
  column.attribute.scale = {0.01};
  column.attribute.offset = {-5};
  const Cloud cloud({column});
  EXPECT_EQ(cloud.output->attributes()[1].description, "above ground");
  EXPECT_THAT(cloud.output->attributes()[1].scale, ElementsAre(0.01));
  EXPECT_THAT(cloud.output->attributes()[1].offset, ElementsAre(-5));
}

}  // namespace
