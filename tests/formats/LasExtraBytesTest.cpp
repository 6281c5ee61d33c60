#include <gmock/gmock.h>

#include <limits>

#include "formats/LasExtraBytes.h"
#include "support/LasFile.h"

namespace {

using Formats::LasExtraField;
using Math::AttributeType;
using testing::ElementsAre;
using Testing::extraBytesDescription;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::uint8_t kUInt8 = 1;
constexpr std::uint8_t kUInt16 = 3;
constexpr std::uint8_t kFloat = 9;

struct Read {
  std::vector<LasExtraField> fields;
  std::vector<std::string> warnings;

  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const LasExtraField& field : fields) all.push_back(field.attribute.name);
    return all;
  }
};

Read read(const std::string& record, std::size_t numExtraBytes) {
  Read result;
  result.fields =
      Formats::readLasExtraBytes(std::as_bytes(std::span(record)), numExtraBytes, result.warnings);
  return result;
}

TEST(LasExtraBytes, HaveTenTypesAlonePairedAndTripled) {
  constexpr std::array<AttributeType, 10> kTypes{
      AttributeType::UInt8,  AttributeType::Int8,  AttributeType::UInt16, AttributeType::Int16,
      AttributeType::UInt32, AttributeType::Int32, AttributeType::UInt64, AttributeType::Int64,
      AttributeType::Float,  AttributeType::Double};
  for (std::uint8_t type = 1; type <= 30; ++type) {
    const Read result = read(extraBytesDescription(type, "value"), 24);
    ASSERT_THAT(result.fields, SizeIs(1));
    EXPECT_EQ(result.fields[0].attribute.type, kTypes[(type - 1U) % 10]);
    EXPECT_EQ(result.fields[0].attribute.numElements, (type - 1U) / 10 + 1);
  }
}

TEST(LasExtraBytes, FollowOneAnother) {
  const Read result = read(extraBytesDescription(kUInt16, "a") + extraBytesDescription(kFloat, "b") +
                               extraBytesDescription(kUInt8, "c"),
                           7);
  EXPECT_THAT(result.names(), ElementsAre("a", "b", "c"));
  EXPECT_EQ(result.fields[1].offset, 2U);
  EXPECT_EQ(result.fields[2].offset, 6U);
  EXPECT_THAT(result.warnings, IsEmpty());
}

TEST(LasExtraBytes, UndocumentedOnesAreSteppedOver) {
  const Read result = read(extraBytesDescription(0, "blob", 7) + extraBytesDescription(kUInt8, "a"), 8);
  ASSERT_THAT(result.names(), ElementsAre("a"));
  EXPECT_EQ(result.fields[0].offset, 7U);
  EXPECT_THAT(result.warnings, ElementsAre(HasSubstr("7 bytes of every point record are not described")));
}

TEST(LasExtraBytes, WithoutAnyDescriptionAreLeftOut) {
  EXPECT_THAT(read("", 4).warnings, ElementsAre(HasSubstr("4 bytes")));
  EXPECT_THAT(read("", 0).warnings, IsEmpty());
}

TEST(LasExtraBytes, ThatDoNotFitAreLeftOut) {
  const Read result = read(extraBytesDescription(kUInt8, "a") + extraBytesDescription(kFloat, "b") +
                               extraBytesDescription(kUInt8, "c"),
                           4);
  EXPECT_THAT(result.names(), ElementsAre("a"));
  EXPECT_THAT(result.warnings, testing::Contains(HasSubstr("\"b\" do not fit")));
}

TEST(LasExtraBytes, OfAnUnknownTypeEndTheList) {
  const Read result = read(extraBytesDescription(31, "odd") + extraBytesDescription(kUInt8, "a"), 4);
  EXPECT_THAT(result.fields, IsEmpty());
  EXPECT_THAT(result.warnings, testing::Contains(HasSubstr("unknown type 31")));
}

TEST(LasExtraBytes, HaveScaleAndOffsetOnlyWhereTheOptionsSaySo) {
  const std::array<double, 3> scale{0.5, 0.25, 0.125};
  const std::array<double, 3> offset{1, 2, 3};
  const auto attribute = [&](std::uint8_t type, std::uint8_t options) {
    return read(extraBytesDescription(type, "a", options, scale, offset), 24).fields.at(0).attribute;
  };
  EXPECT_THAT(attribute(kUInt16, 0).scale, IsEmpty());
  EXPECT_THAT(attribute(kUInt16, 0).offset, IsEmpty());
  EXPECT_THAT(attribute(kUInt16, 8).scale, ElementsAre(0.5));
  EXPECT_THAT(attribute(kUInt16, 8).offset, ElementsAre(0));
  EXPECT_THAT(attribute(kUInt16, 16).scale, ElementsAre(1));
  EXPECT_THAT(attribute(kUInt16, 16).offset, ElementsAre(1));
  EXPECT_THAT(attribute(kUInt16 + 20, 24).scale, ElementsAre(0.5, 0.25, 0.125));
}

TEST(LasExtraBytes, ScalesThatAreOfNoUseAreLeftOut) {
  for (const double scale : {0.0, std::numeric_limits<double>::quiet_NaN()}) {
    const Read result = read(extraBytesDescription(kUInt8, "a", 8, {scale, 0, 0}), 1);
    EXPECT_THAT(result.fields.at(0).attribute.scale, IsEmpty());
    EXPECT_THAT(result.warnings, ElementsAre(HasSubstr("\"a\" are of no use")));
  }
}

TEST(LasExtraBytes, HaveNamesOfTheirOwn) {
  const std::string record = extraBytesDescription(kUInt8, "intensity") +
                             extraBytesDescription(kUInt8, "range") + extraBytesDescription(kUInt8, "range") +
                             extraBytesDescription(kUInt8, "range") + extraBytesDescription(kUInt8, "nir") +
                             extraBytesDescription(kUInt8, "");
  EXPECT_THAT(read(record, 6).names(),
              ElementsAre("intensity_2", "range", "range_2", "range_3", "nir_2", "extra bytes 6"));
}

TEST(LasExtraBytes, KeepQuotesAndTurnOtherBytesIntoUtf8) {
  const std::string record =
      extraBytesDescription(kUInt8, "\"height\"") + extraBytesDescription(kUInt8, "H\xF6he");
  EXPECT_THAT(read(record, 2).names(), ElementsAre("\"height\"", "H\xC3\xB6he"));
}

TEST(LasExtraBytes, ThatAreANormalByTheirNamesAreJoined) {
  for (const auto& names : {std::array{"normal x", "normal y", "normal z"}, std::array{"nx", "NY", "Nz"},
                            std::array{"NormalX", "NORMAL_Y", "normalz"}}) {
    std::string record = extraBytesDescription(kUInt8, "other");
    for (const char* name : names) record += extraBytesDescription(kFloat, name);
    const Read result = read(record, 13);
    EXPECT_THAT(result.names(), ElementsAre("other", "NormalX", "NormalY", "NormalZ"));
    EXPECT_EQ(result.fields[2].attribute.type, AttributeType::Double);
    EXPECT_EQ(result.fields[2].storedType, AttributeType::Float);
    EXPECT_EQ(result.fields[2].offset, 5U);
  }
}

TEST(LasExtraBytes, OneNormalOfThreeValuesIsSplit) {
  const std::string record = extraBytesDescription(kUInt8, "a") +
                             extraBytesDescription(24, "Normals", 24, {0.1, 0.2, 0.3}, {1, 2, 3}) +
                             extraBytesDescription(kUInt8, "b");
  const Read result = read(record, 8);
  ASSERT_THAT(result.names(), ElementsAre("a", "NormalX", "NormalY", "NormalZ", "b"));
  EXPECT_EQ(result.fields[3].offset, 5U);
  EXPECT_EQ(result.fields[3].normalScale, 0.3);
  EXPECT_EQ(result.fields[3].normalOffset, 3);
  EXPECT_THAT(result.fields[3].attribute.scale, IsEmpty()) << "values are given out scaled";
}

TEST(LasExtraBytes, TwoComponentsMakeNoNormal) {
  const std::string record = extraBytesDescription(kFloat, "nx") + extraBytesDescription(kFloat, "ny");
  EXPECT_THAT(read(record, 8).names(), ElementsAre("nx", "ny"));
}

TEST(LasExtraBytes, IgnoreAnUnfinishedDescription) {
  const std::string record = extraBytesDescription(kUInt8, "a") + extraBytesDescription(kUInt8, "b");
  for (std::size_t size = 192; size < 384; ++size) {
    const std::string cut(record.data(), size);
    EXPECT_THAT(read(cut, 2).names(), ElementsAre("a"));
  }
}

TEST(LasExtraBytes, AreNoMoreThanAVlrCanDescribe) {
  std::string record;
  for (int i = 0; i < 1000; ++i) record += extraBytesDescription(kUInt8, "same");
  EXPECT_THAT(read(record, 1000).fields, SizeIs(341));
}

}  // namespace
