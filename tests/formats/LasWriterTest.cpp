#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "formats/LasWriter.h"

namespace {

using Formats::AttributeValues;
using Formats::LasWriter;
using Formats::PointFileLayout;
using Math::Attribute;
using Math::AttributeType;
using testing::HasSubstr;

constexpr std::size_t kHeaderSize = 375;
constexpr std::size_t kRecordHead = 54;  // of a variable-length record

/// A whole file, and the numbers at places in it, as the standard's tables say.
class LasBytes {
 public:
  LasBytes(const PointFileLayout& layout, const std::vector<double>& positions,
           const std::vector<AttributeValues>& attributes = {}) {
    LasWriter writer(layout);
    (void)writer.head();
    if (!positions.empty()) {
      const std::span<const std::byte> points = writer.encode({positions, attributes});
      bytes_.assign(points.begin(), points.end());
    }
    const std::vector<std::byte> tail = writer.tail();
    const std::vector<std::byte> head = writer.head();
    bytes_.insert(bytes_.begin(), head.begin(), head.end());
    bytes_.insert(bytes_.end(), tail.begin(), tail.end());
  }

  template <class T>
  [[nodiscard]] T at(std::size_t offset) const {
    T value;
    if (offset + sizeof(T) > bytes_.size()) throw std::out_of_range("behind the file's end");
    std::memcpy(&value, bytes_.data() + offset, sizeof(T));
    return value;
  }

  [[nodiscard]] std::string text(std::size_t offset, std::size_t size) const {
    std::string text;
    for (std::size_t i = 0; i < size && at<char>(offset + i) != 0; ++i) text += at<char>(offset + i);
    return text;
  }

  [[nodiscard]] std::size_t size() const { return bytes_.size(); }
  [[nodiscard]] std::size_t pointOffset() const { return at<std::uint32_t>(96); }
  /// A field of a point's record.
  template <class T>
  [[nodiscard]] T ofPoint(std::size_t point, std::size_t offset) const {
    return at<T>(pointOffset() + point * at<std::uint16_t>(105) + offset);
  }

 private:
  std::vector<std::byte> bytes_;
};

Attribute attribute(std::string name, AttributeType type, std::uint32_t numElements = 1) {
  return {std::move(name), "", type, numElements, {}, {}};
}

template <class T>
AttributeValues values(const std::vector<T>& column, std::size_t numElements = 1) {
  return {std::as_bytes(std::span(column)).data(), numElements * sizeof(T)};
}

/// The record of one point at the origin whose only attribute has @p value.
template <class T>
LasBytes onePoint(const char* name, AttributeType type, T value) {
  PointFileLayout layout;
  layout.attributes = {attribute(name, type)};
  const std::vector<T> column{value};
  return {layout, {0, 0, 0}, {values(column)}};
}

/// The stored x of a point.
std::int32_t stored(double x, double scale, double offset) {
  PointFileLayout layout;
  layout.scale[0] = scale;
  layout.offset[0] = offset;
  return LasBytes(layout, {x, 0, 0}).ofPoint<std::int32_t>(0, 0);
}

TEST(LasWriter, WritesAHeaderOfVersion14) {
  const LasBytes file({}, {});
  EXPECT_EQ(file.size(), kHeaderSize);
  EXPECT_EQ(file.text(0, 4), "LASF");
  EXPECT_EQ(file.at<std::uint8_t>(24), 1);
  EXPECT_EQ(file.at<std::uint8_t>(25), 4);
  EXPECT_EQ(file.text(58, 32), "Sorvik");
  EXPECT_EQ(file.at<std::uint16_t>(94), kHeaderSize);
  EXPECT_EQ(file.pointOffset(), kHeaderSize);
  EXPECT_EQ(file.at<std::uint32_t>(100), 0U);
  EXPECT_EQ(file.at<std::uint8_t>(104), 6);
  EXPECT_EQ(file.at<std::uint16_t>(105), 30);
  EXPECT_EQ(file.at<std::uint64_t>(247), 0U);
}

TEST(LasWriter, SaysHowTimesAreCounted) {
  PointFileLayout layout;
  EXPECT_EQ(LasBytes(layout, {}).at<std::uint16_t>(6), 0b1'0001) << "adjusted standard time, WKT";
  layout.adjustedStandardTime = false;
  EXPECT_EQ(LasBytes(layout, {}).at<std::uint16_t>(6), 0b1'0000);
}

TEST(LasWriter, CountsAndBoundsThePointsThatItEncoded) {
  PointFileLayout layout;
  layout.scale = {0.5, 0.25, 2};
  layout.offset = {10, 20, 30};
  layout.attributes = {attribute("return number", AttributeType::UInt8)};
  const std::vector<std::uint8_t> returns{1, 2, 1, 15, 0};
  const LasBytes file(layout, {10, 20, 30, 11.2, 19, 34, 9, 21, 32, 10, 20, 30, 10, 20, 30},
                      {values(returns)});
  EXPECT_EQ(file.at<std::uint64_t>(247), 5U);
  EXPECT_EQ(file.at<std::uint32_t>(107), 0U) << "the older count has no meaning for these formats";
  EXPECT_EQ(file.at<std::uint64_t>(255), 2U);
  EXPECT_EQ(file.at<std::uint64_t>(263), 1U);
  EXPECT_EQ(file.at<std::uint64_t>(255 + 14 * 8), 1U);
  const std::array<double, 6> maxMin{11, 9, 21, 19, 34, 30};
  for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(file.at<double>(179 + 8 * i), maxMin[i]) << i;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    EXPECT_EQ(file.at<double>(131 + 8 * axis), layout.scale[axis]);
    EXPECT_EQ(file.at<double>(155 + 8 * axis), layout.offset[axis]);
  }
}

TEST(LasWriter, RoundsCoordinatesToWholeStepsHalvesAwayFromZero) {
  EXPECT_EQ(stored(2.25, 0.5, 0), 5);
  EXPECT_EQ(stored(-2.25, 0.5, 0), -5);
  EXPECT_EQ(stored(2.249, 0.5, 0), 4);
  EXPECT_EQ(stored(0.49999999999999994, 1, 0), 0);
  EXPECT_EQ(stored(452000.123, 0.001, 452000), 123);
  EXPECT_EQ(stored(2147483647.25, 1, 0), 2147483647);
  EXPECT_EQ(stored(-2147483648.25, 1, 0), std::numeric_limits<std::int32_t>::min());
}

TEST(LasWriter, ReadsBackEveryStoredIntegerThatAReaderMadeACoordinateOf) {
  for (const std::int32_t steps : {1, -1, 999'999'999, -1'234'567'890, 2'147'483'647}) {
    EXPECT_EQ(stored(steps * 0.001 + 5411000, 0.001, 5411000), steps);
    EXPECT_EQ(stored(steps * 0.0125 - 0.3, 0.0125, -0.3), steps);
  }
}

TEST(LasWriter, RefusesACoordinateThatDoesNotFit) {
  PointFileLayout layout;
  layout.scale.fill(1);
  LasWriter writer(layout);
  const std::vector<double> good{1, 2, 3};
  (void)writer.encode({good, {}});
  for (const double bad : {2147483647.5, -2147483648.5, std::nan(""), HUGE_VAL}) {
    const std::vector<double> positions{1, 2, 3, 4, bad, 6};
    EXPECT_THAT(
        [&] {
          (void)writer.encode({positions, {}});
        },
        testing::ThrowsMessage<std::range_error>(HasSubstr("point 2: y = ")));
  }
  const std::vector<double> far{0, 0, 3e9};
  EXPECT_THAT(
      [&] {
        (void)writer.encode({far, {}});
      },
      testing::ThrowsMessage<std::range_error>(
          "point 1: z = 3000000000: expected at most 2^31 steps of 1 from 0"));
}

TEST(LasWriter, CountsNoPointOfABatchThatItRefused) {
  LasWriter writer({});
  const std::vector<double> positions{1, 2, 3, 1e9, 2, 3};
  EXPECT_THROW((void)writer.encode({positions, {}}), std::range_error);
  const std::vector<std::byte> untouched = LasWriter({}).head();
  EXPECT_EQ(writer.head(), untouched);
}

TEST(LasWriter, PutsAttributesWhereTheFormatHasThem) {
  using enum AttributeType;
  PointFileLayout layout;
  layout.attributes = {attribute("gps-time", Double),        attribute("intensity", UInt16),
                       attribute("classification", UInt8),   attribute("user data", UInt8),
                       attribute("point source id", UInt16), attribute("scan angle", Int16),
                       attribute("rgb", UInt16, 3),          attribute("nir", UInt16)};
  const std::vector<double> times{1.5, 2.5};
  const std::vector<std::uint16_t> intensities{7, 65535};
  const std::vector<std::uint8_t> classes{2, 200};
  const std::vector<std::uint8_t> userData{4, 5};
  const std::vector<std::uint16_t> sources{60000, 3};
  const std::vector<std::int16_t> angles{-30000, 30000};
  const std::vector<std::uint16_t> colors{1, 2, 3, 40000, 50000, 60000};
  const std::vector<std::uint16_t> nir{11, 12};
  const LasBytes file(layout, {1, 2, 3, 4, 5, 6},
                      {values(times), values(intensities), values(classes), values(userData), values(sources),
                       values(angles), values(colors, 3), values(nir)});
  EXPECT_EQ(file.at<std::uint8_t>(104), 8);
  EXPECT_EQ(file.at<std::uint16_t>(105), 38);
  EXPECT_EQ(file.size(), kHeaderSize + 2 * 38);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    EXPECT_EQ(file.ofPoint<std::int32_t>(1, 4 * axis), 4000 + 1000 * static_cast<int>(axis));
    EXPECT_EQ(file.ofPoint<std::uint16_t>(1, 30 + 2 * axis), 40000 + 10000 * axis);
  }
  EXPECT_EQ(file.ofPoint<std::uint16_t>(1, 12), 65535);
  EXPECT_EQ(file.ofPoint<std::uint8_t>(1, 16), 200);
  EXPECT_EQ(file.ofPoint<std::uint8_t>(1, 17), 5);
  EXPECT_EQ(file.ofPoint<std::int16_t>(1, 18), 30000);
  EXPECT_EQ(file.ofPoint<std::uint16_t>(1, 20), 3);
  EXPECT_EQ(file.ofPoint<double>(1, 22), 2.5);
  EXPECT_EQ(file.ofPoint<std::uint16_t>(1, 36), 12);
}

TEST(LasWriter, PacksReturnsAndFlagsIntoTheirBits) {
  PointFileLayout layout;
  for (const char* const name :
       {"scan flags", "number of returns", "classification flags", "return number"}) {
    layout.attributes.push_back(attribute(name, AttributeType::UInt8));
  }
  const std::vector<std::uint8_t> scan{0b1101};
  const std::vector<std::uint8_t> number{5};
  const std::vector<std::uint8_t> classFlags{0b1'1010};
  const std::vector<std::uint8_t> returns{200};
  const LasBytes file(layout, {0, 0, 0}, {values(scan), values(number), values(classFlags), values(returns)});
  EXPECT_EQ(file.ofPoint<std::uint8_t>(0, 14), 5 << 4 | 15) << "a return beyond 15 is the 15th";
  EXPECT_EQ(file.ofPoint<std::uint8_t>(0, 15), 0b1101'1010);
}

TEST(LasWriter, TurnsWholeDegreesIntoStepsOfSixThousandths) {
  const auto steps = [](std::int8_t degrees) {
    return onePoint("scan angle rank", AttributeType::Int8, degrees).ofPoint<std::int16_t>(0, 18);
  };
  EXPECT_EQ(steps(3), 500);
  EXPECT_EQ(steps(-90), -15000);
  EXPECT_EQ(steps(1), 167);
  EXPECT_EQ(steps(-2), -333);
  EXPECT_EQ(steps(-128), -21333);
}

TEST(LasWriter, KeepsTheRankAsExtraBytesBesideAScanAngle) {
  PointFileLayout layout;
  layout.attributes = {attribute("scan angle rank", AttributeType::Int8),
                       attribute("scan angle", AttributeType::Int16)};
  const std::vector<std::int8_t> ranks{-12};
  const std::vector<std::int16_t> angles{77};
  const LasBytes file(layout, {0, 0, 0}, {values(ranks), values(angles)});
  EXPECT_EQ(file.ofPoint<std::int16_t>(0, 18), 77);
  EXPECT_EQ(file.ofPoint<std::int8_t>(0, 30), -12);
}

TEST(LasWriter, WidensColoursOfEightBits) {
  PointFileLayout layout;
  layout.attributes = {attribute("rgb", AttributeType::UInt8, 3)};
  const std::vector<std::uint8_t> colors{255, 1, 0};
  const LasBytes file(layout, {0, 0, 0}, {values(colors, 3)});
  EXPECT_EQ(file.at<std::uint8_t>(104), 7);
  EXPECT_EQ(file.ofPoint<std::uint16_t>(0, 30), 65535);
  EXPECT_EQ(file.ofPoint<std::uint16_t>(0, 32), 257);
  EXPECT_EQ(file.ofPoint<std::uint16_t>(0, 34), 0);
}

TEST(LasWriter, DescribesAllOtherAttributesAsExtraBytes) {
  PointFileLayout layout;
  layout.attributes = {attribute("Amplitude", AttributeType::UInt16),
                       attribute("Deviation", AttributeType::Int32)};
  layout.attributes[0].description = "echo amplitude";
  layout.attributes[0].scale = {0.01};
  layout.attributes[0].offset = {-5};
  const std::vector<std::uint16_t> amplitudes{1234};
  const std::vector<std::int32_t> deviations{-70000};
  const LasBytes file(layout, {0, 0, 0}, {values(amplitudes), values(deviations)});
  EXPECT_EQ(file.at<std::uint32_t>(100), 1U);
  EXPECT_EQ(file.text(kHeaderSize + 2, 16), "LASF_Spec");
  EXPECT_EQ(file.at<std::uint16_t>(kHeaderSize + 18), 4);
  EXPECT_EQ(file.at<std::uint16_t>(kHeaderSize + 20), 2 * 192);
  const std::size_t entry = kHeaderSize + kRecordHead;
  EXPECT_EQ(file.at<std::uint8_t>(entry + 2), 3) << "uint16";
  EXPECT_EQ(file.at<std::uint8_t>(entry + 3), 0b1'1000) << "scale and offset";
  EXPECT_EQ(file.text(entry + 4, 32), "Amplitude");
  EXPECT_EQ(file.at<double>(entry + 112), 0.01);
  EXPECT_EQ(file.at<double>(entry + 136), -5);
  EXPECT_EQ(file.text(entry + 160, 32), "echo amplitude");
  EXPECT_EQ(file.at<std::uint8_t>(entry + 192 + 2), 6) << "int32";
  EXPECT_EQ(file.at<std::uint8_t>(entry + 192 + 3), 0);
  EXPECT_EQ(file.pointOffset(), entry + 2 * 192);
  EXPECT_EQ(file.at<std::uint16_t>(105), 36);
  EXPECT_EQ(file.ofPoint<std::uint16_t>(0, 30), 1234);
  EXPECT_EQ(file.ofPoint<std::int32_t>(0, 32), -70000);
}

TEST(LasWriter, KnowsAllTypesOfExtraBytes) {
  using enum AttributeType;
  const std::vector<AttributeType> types{UInt8, Int8,   UInt16, Int16, UInt32,
                                         Int32, UInt64, Int64,  Float, Double};
  const std::vector<std::uint64_t> bits{0x0807060504030201U};
  for (std::size_t i = 0; i < types.size(); ++i) {
    PointFileLayout layout;
    layout.attributes = {attribute("value", types[i])};
    const LasBytes file(layout, {0, 0, 0}, {values(bits)});
    EXPECT_EQ(file.at<std::uint8_t>(kHeaderSize + kRecordHead + 2), i + 1);
    EXPECT_EQ(file.size(), file.pointOffset() + 30 + sizeOf(types[i]));
    EXPECT_EQ(file.ofPoint<std::uint8_t>(0, 30 + sizeOf(types[i]) - 1), sizeOf(types[i]));
  }
}

TEST(LasWriter, DescribesEachElementOfAnArray) {
  PointFileLayout layout;
  layout.attributes = {attribute("wind", AttributeType::Float, 3)};
  const std::vector<float> wind{1, 2, 3};
  const LasBytes file(layout, {0, 0, 0}, {values(wind, 3)});
  EXPECT_EQ(file.text(kHeaderSize + kRecordHead + 4, 32), "wind[0]");
  EXPECT_EQ(file.text(kHeaderSize + kRecordHead + 2 * 192 + 4, 32), "wind[2]");
  EXPECT_EQ(file.ofPoint<float>(0, 38), 3);
}

TEST(LasWriter, TakesAStandardNameOfAnotherTypeForExtraBytes) {
  const LasBytes file = onePoint("intensity", AttributeType::Float, 0.5F);
  EXPECT_EQ(file.ofPoint<std::uint16_t>(0, 12), 0);
  EXPECT_EQ(file.ofPoint<float>(0, 30), 0.5F);
}

TEST(LasWriter, CutsLongNamesBetweenTwoLetters) {
  const std::string name = std::string(31, 'a') + "\u00e4";
  const LasBytes file = onePoint(name.c_str(), AttributeType::UInt8, std::uint8_t{1});
  EXPECT_EQ(file.text(kHeaderSize + kRecordHead + 4, 32), std::string(31, 'a'));
}

TEST(LasWriter, StoresTheProjectionBeforeThePoints) {
  PointFileLayout layout;
  layout.projection = "PROJCRS[...]";
  const LasBytes file(layout, {0, 0, 0});
  EXPECT_EQ(file.text(kHeaderSize + 2, 16), "LASF_Projection");
  EXPECT_EQ(file.at<std::uint16_t>(kHeaderSize + 18), 2112);
  EXPECT_EQ(file.at<std::uint16_t>(kHeaderSize + 20), 13);
  EXPECT_EQ(file.text(kHeaderSize + kRecordHead, 13), "PROJCRS[...]");
  EXPECT_EQ(file.pointOffset(), kHeaderSize + kRecordHead + 13);
}

TEST(LasWriter, StoresALongProjectionBehindThePoints) {
  PointFileLayout layout;
  layout.projection = std::string(65535, 'P');
  const LasBytes file(layout, {0, 0, 0, 1, 1, 1});
  EXPECT_EQ(file.at<std::uint32_t>(100), 0U);
  EXPECT_EQ(file.pointOffset(), kHeaderSize);
  const std::size_t record = kHeaderSize + 2 * 30;
  EXPECT_EQ(file.at<std::uint64_t>(235), record);
  EXPECT_EQ(file.at<std::uint32_t>(243), 1U);
  EXPECT_EQ(file.at<std::uint16_t>(record + 18), 2112);
  EXPECT_EQ(file.at<std::uint64_t>(record + 20), 65536U);
  EXPECT_EQ(file.text(record + 60, 65536), layout.projection);
  EXPECT_EQ(file.size(), record + 60 + 65536);
}

TEST(LasWriter, RefusesPointsOfMoreBytesThanARecordHas) {
  PointFileLayout layout;
  layout.attributes = {attribute("spectrum", AttributeType::Double, 8188)};
  EXPECT_EQ(LasBytes(layout, {}).at<std::uint16_t>(105), 30 + 8188 * 8);
  layout.attributes[0].numElements = 8189;
  EXPECT_THROW(LasWriter{layout}, std::invalid_argument);
}

TEST(LasWriter, CopiesColumnsThatStandFarApart) {
  struct Point {
    std::array<char, 3> filling{};
    std::array<std::byte, 2> intensity{};
  };
  std::vector<Point> points(3);
  points[2].intensity = {std::byte{0x34}, std::byte{0x12}};
  PointFileLayout layout;
  layout.attributes = {attribute("intensity", AttributeType::UInt16)};
  const LasBytes file(layout, std::vector<double>(9), {{points[0].intensity.data(), sizeof(Point)}});
  EXPECT_EQ(file.ofPoint<std::uint16_t>(2, 12), 0x1234);
}

}  // namespace
