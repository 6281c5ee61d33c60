#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <map>

#include "formats/LasHeader.h"
#include "formats/LasPoints.h"
#include "support/LasFile.h"

namespace {

using Formats::LasExtraField;
using Formats::LasPointDecoder;
using Math::AttributeType;
using testing::ElementsAre;
using testing::Pair;
using testing::UnorderedElementsAre;

std::vector<std::string> namesOf(const LasPointDecoder& decoder) {
  std::vector<std::string> names;
  for (const Math::Attribute& attribute : decoder.attributes()) names.push_back(attribute.name);
  return names;
}

double numberAt(const char* bytes, AttributeType type) {
  const auto as = [&]<class T>(T value) {
    std::memcpy(&value, bytes, sizeof(T));
    return static_cast<double>(value);
  };
  switch (type) {
    case AttributeType::Int8:
      return as(std::int8_t{});
    case AttributeType::UInt8:
      return as(std::uint8_t{});
    case AttributeType::Int16:
      return as(std::int16_t{});
    case AttributeType::UInt16:
      return as(std::uint16_t{});
    case AttributeType::Float:
      return as(float{});
    default:
      return as(double{});
  }
}

/// All attributes of records, packed one behind the other.
std::string decodeAll(const LasPointDecoder& decoder, const std::string& records) {
  std::vector<std::size_t> offsets;
  std::size_t stride = 0;
  for (const Math::Attribute& attribute : decoder.attributes()) {
    offsets.push_back(stride);
    stride += attribute.size();
  }
  std::string out(records.size() / decoder.recordLength() * stride, '\0');
  decoder.decode(std::as_bytes(std::span(records)), reinterpret_cast<std::byte*>(out.data()), stride,
                 offsets);
  return out;
}

/// The values of one record by name; the first element of arrays.
std::map<std::string, double> valuesOf(std::uint8_t format, const std::string& record) {
  const LasPointDecoder decoder(format, record.size(), {});
  const std::string out = decodeAll(decoder, record);
  std::map<std::string, double> values;
  std::size_t at = 0;
  for (const Math::Attribute& attribute : decoder.attributes()) {
    values[attribute.name] = numberAt(out.data() + at, attribute.type);
    at += attribute.size();
  }
  return values;
}

/// A record of the older layout with a value in every field.
std::string olderRecord() {
  std::string record;
  Testing::put(record, 12, std::uint16_t{60000});
  Testing::put(record, 14, std::uint8_t{0b1'0'101'011});  // edge, return 3 of 5
  Testing::put(record, 15, std::uint8_t{0b101'11111});    // withheld, synthetic, class 31
  Testing::put(record, 16, std::int8_t{-127});
  Testing::put(record, 17, std::uint8_t{9});
  Testing::put(record, 18, std::uint16_t{513});
  return record;
}

/// A record of the layout since LAS 1.4 with a value in every field.
std::string newerRecord() {
  std::string record;
  Testing::put(record, 12, std::uint16_t{60000});
  Testing::put(record, 14, std::uint8_t{0b1111'1110});    // return 14 of 15
  Testing::put(record, 15, std::uint8_t{0b0'1'10'1010});  // scan direction, channel 2, overlap, key point
  Testing::put(record, 16, std::uint8_t{255});
  Testing::put(record, 17, std::uint8_t{9});
  Testing::put(record, 18, std::int16_t{-30000});
  Testing::put(record, 20, std::uint16_t{513});
  Testing::put(record, 22, 123456.75);
  return record;
}

TEST(LasPoints, OfTheOlderLayoutComeApart) {
  EXPECT_THAT(valuesOf(0, olderRecord()),
              UnorderedElementsAre(
                  Pair("intensity", 60000), Pair("return number", 3), Pair("number of returns", 5),
                  Pair("classification flags", 5), Pair("classification", 31), Pair("scan angle rank", -127),
                  Pair("user data", 9), Pair("point source id", 513), Pair("scan flags", 8)));
}

TEST(LasPoints, OfTheNewerLayoutComeApart) {
  EXPECT_THAT(
      valuesOf(6, newerRecord()),
      UnorderedElementsAre(Pair("intensity", 60000), Pair("return number", 14), Pair("number of returns", 15),
                           Pair("classification flags", 10), Pair("classification", 255),
                           Pair("scan angle", -30000), Pair("user data", 9), Pair("point source id", 513),
                           Pair("gps-time", 123456.75), Pair("scan flags", 6)));
}

TEST(LasPoints, HaveTheirAttributesInOrder) {
  EXPECT_THAT(
      namesOf(LasPointDecoder(3, 34, {})),
      ElementsAre("intensity", "return number", "number of returns", "classification flags", "classification",
                  "scan angle rank", "user data", "point source id", "gps-time", "rgb", "scan flags"));
  EXPECT_THAT(
      namesOf(LasPointDecoder(8, 38, {})),
      ElementsAre("intensity", "return number", "number of returns", "classification flags", "classification",
                  "scan angle", "user data", "point source id", "gps-time", "rgb", "nir", "scan flags"));
}

TEST(LasPoints, KeepTimeAndColoursWhereTheirFormatHasThem) {
  // Offsets of time, colour and near infrared by point format; 0: none.
  constexpr std::array<std::array<std::size_t, 3>, 11> kOffsets{{{0, 0, 0},
                                                                 {20, 0, 0},
                                                                 {0, 20, 0},
                                                                 {20, 28, 0},
                                                                 {20, 0, 0},
                                                                 {20, 28, 0},
                                                                 {22, 0, 0},
                                                                 {22, 30, 0},
                                                                 {22, 30, 36},
                                                                 {22, 0, 0},
                                                                 {22, 30, 36}}};
  for (std::uint8_t format = 0; format <= 10; ++format) {
    std::string record(Formats::lasRecordSize(format), '\0');
    const auto& [time, rgb, nir] = kOffsets[format];
    if (time != 0) Testing::put(record, time, 1.5);
    if (rgb != 0) Testing::put(record, rgb, std::uint16_t{111});
    if (nir != 0) Testing::put(record, nir, std::uint16_t{222});
    const auto values = valuesOf(format, record);
    EXPECT_EQ(values.count("gps-time"), time != 0 ? 1U : 0U);
    if (time != 0) {
      EXPECT_EQ(values.at("gps-time"), 1.5);
    }
    EXPECT_EQ(values.count("rgb"), rgb != 0 ? 1U : 0U);
    if (rgb != 0) {
      EXPECT_EQ(values.at("rgb"), 111);
    }
    EXPECT_EQ(values.count("nir"), nir != 0 ? 1U : 0U);
    if (nir != 0) {
      EXPECT_EQ(values.at("nir"), 222);
    }
  }
}

TEST(LasPoints, KeepAllThreeColours) {
  std::string record(26, '\0');
  for (const std::size_t i : {0U, 1U, 2U})
    Testing::put(record, 20 + 2 * i, static_cast<std::uint16_t>(1000 + i));
  const LasPointDecoder decoder(2, 26, {});
  std::array<std::uint16_t, 3> rgb{};
  std::vector<std::size_t> offsets(decoder.attributes().size(), LasPointDecoder::kUnwanted);
  offsets[8] = 0;
  decoder.decode(std::as_bytes(std::span(record)), reinterpret_cast<std::byte*>(rgb.data()), sizeof(rgb),
                 offsets);
  EXPECT_THAT(rgb, ElementsAre(1000, 1001, 1002));
}

TEST(LasPoints, KeepTimesThatAreNoNumbers) {
  std::string record = newerRecord();
  Testing::put(record, 22, std::numeric_limits<double>::quiet_NaN());
  EXPECT_TRUE(std::isnan(valuesOf(6, record).at("gps-time")));
}

TEST(LasPoints, LeaveUnwantedAttributesAndTheGapsBetweenRecordsAlone) {
  const LasPointDecoder decoder(0, 20, {});
  const std::string records = olderRecord() + olderRecord();
  std::vector<std::size_t> offsets(decoder.attributes().size(), LasPointDecoder::kUnwanted);
  offsets[6] = 1;  // user data
  std::string out = "abcdefgh";
  decoder.decode(std::as_bytes(std::span(records)), reinterpret_cast<std::byte*>(out.data()), 4, offsets);
  EXPECT_EQ(out, "a\tcde\tgh");
}

TEST(LasPoints, KeepExtraBytesOfEveryType) {
  for (std::uint8_t type = 1; type <= 30; ++type) {
    std::vector<std::string> warnings;
    const std::string description = Testing::extraBytesDescription(type, "value");
    const auto fields = Formats::readLasExtraBytes(std::as_bytes(std::span(description)), 25, warnings);
    std::string record(20 + 25, '\0');
    for (std::size_t i = 20; i < record.size(); ++i) record[i] = static_cast<char>(i);
    const LasPointDecoder decoder(0, record.size(), fields);
    const std::size_t size = decoder.attributes().back().size();
    const std::string out = decodeAll(decoder, record);
    EXPECT_EQ(out.substr(out.size() - size), record.substr(20, size)) << "type " << int{type};
  }
}

TEST(LasPoints, GiveNormalsOutAsScaledDoubles) {
  std::vector<std::string> warnings;
  const std::string description = Testing::extraBytesDescription(24, "normal", 24, {0.5, 0.25, 2}, {1, 2, 3});
  const auto fields = Formats::readLasExtraBytes(std::as_bytes(std::span(description)), 6, warnings);
  std::string record(26, '\0');
  Testing::put(record, 20, std::int16_t{-2});
  Testing::put(record, 22, std::int16_t{4});
  Testing::put(record, 24, std::int16_t{-32768});
  const std::string out = decodeAll(LasPointDecoder(0, 26, fields), record);
  std::array<double, 3> normal{};
  std::memcpy(normal.data(), out.data() + out.size() - sizeof(normal), sizeof(normal));
  EXPECT_THAT(normal, ElementsAre(0, 3, -65533));
}

TEST(LasPoints, AreTheSameOneByOneAndInLargeBlocks) {
  constexpr std::size_t kCount = 1000;  // several rounds and a remainder
  std::mt19937 random(7);
  for (std::uint8_t format = 0; format <= 10; ++format) {
    const std::size_t length = Formats::lasRecordSize(format) + 3;
    std::string records(kCount * length, '\0');
    for (char& c : records) c = static_cast<char>(random());
    const LasPointDecoder decoder(format, length, {});
    std::string oneByOne;
    for (std::size_t p = 0; p < kCount; ++p)
      oneByOne += decodeAll(decoder, records.substr(p * length, length));
    EXPECT_EQ(decodeAll(decoder, records), oneByOne) << "format " << int{format};
  }
}

TEST(LasPoints, AreTheSameWithAllAttributesAtOnceAndOneAtATime) {
  constexpr std::size_t kCount = 300;
  std::mt19937 random(8);
  for (std::uint8_t format = 0; format <= 10; ++format) {
    std::string records(kCount * Formats::lasRecordSize(format), '\0');
    for (char& c : records) c = static_cast<char>(random());
    const LasPointDecoder decoder(format, Formats::lasRecordSize(format), {});
    const std::string all = decodeAll(decoder, records);
    const std::size_t stride = all.size() / kCount;
    std::string apart(all.size(), '\0');
    std::size_t offset = 0;
    for (std::size_t i = 0; i < decoder.attributes().size(); ++i) {
      std::vector<std::size_t> offsets(decoder.attributes().size(), LasPointDecoder::kUnwanted);
      offsets[i] = offset;
      offset += decoder.attributes()[i].size();
      decoder.decode(std::as_bytes(std::span(records)), reinterpret_cast<std::byte*>(apart.data()), stride,
                     offsets);
    }
    EXPECT_EQ(all, apart) << "format " << int{format};
  }
}

TEST(LasPoints, GiveTheirStoredCoordinates) {
  const std::string records = std::string(LasPointDecoder(0, 20, {}).recordLength(), '\0');
  std::string two = records + records;
  const std::array<std::int32_t, 3> second{INT32_MIN, INT32_MAX, -1};
  std::memcpy(two.data() + 20, second.data(), sizeof(second));
  std::array<std::int32_t, 6> out{};
  LasPointDecoder(0, 20, {}).decodeCoordinates(std::as_bytes(std::span(two)), {false, false, false},
                                               out.data());
  EXPECT_THAT(out, ElementsAre(0, 0, 0, INT32_MIN, INT32_MAX, -1));
  LasPointDecoder(0, 20, {}).decodeCoordinates(std::as_bytes(std::span(two)), {true, false, true},
                                               out.data());
  EXPECT_THAT(out, ElementsAre(-1, 0, -1, INT32_MAX, INT32_MAX, 0));
}

TEST(LasPoints, RefuseFieldsOutsideTheirRecord) {
  LasExtraField field;
  field.offset = 2;
  EXPECT_NO_THROW(LasPointDecoder(0, 23, std::array{field}));
  EXPECT_THROW(LasPointDecoder(0, 22, std::array{field}), std::invalid_argument);
  EXPECT_THROW(LasPointDecoder(11, 100, {}), std::invalid_argument);
  EXPECT_THROW(LasPointDecoder(3, 33, {}), std::invalid_argument);
}

}  // namespace
