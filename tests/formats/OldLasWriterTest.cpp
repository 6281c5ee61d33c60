// LAS 1.2 files.

#include <gmock/gmock.h>

#include <cstring>

#include "formats/LasHeader.h"
#include "formats/LasWriter.h"
#include "formats/laz/DecodedChunk.h"

namespace {

using Formats::AttributeValues;
using Formats::LasCompression;
using Formats::LasVersion;
using Formats::LasWriter;
using Formats::PointFileLayout;
using Math::Attribute;
using Math::AttributeType;
using testing::HasSubstr;
using testing::ThrowsMessage;

constexpr std::size_t kHeaderSize = 227;
constexpr std::size_t kRecordHead = 54;  // of a variable-length record

Attribute attribute(std::string name, AttributeType type, std::uint32_t numElements = 1) {
  return {std::move(name), "", type, numElements, {}, {}};
}

/// An attribute, and its value for one point.
struct Value {
  Attribute attribute;
  std::string bytes;
};

template <class T>
Value value(const std::string& name, AttributeType type, std::vector<T> elements) {
  return {attribute(name, type, static_cast<std::uint32_t>(elements.size())),
          {reinterpret_cast<const char*>(elements.data()), elements.size() * sizeof(T)}};
}

Value byteValue(const std::string& name, std::uint8_t number) {
  return value<std::uint8_t>(name, AttributeType::UInt8, {number});
}

const Value kTime = value<double>("gps-time", AttributeType::Double, {2.5});
const Value kColor = value<std::uint16_t>("rgb", AttributeType::UInt16, {1, 2, 60'000});
const Value kNir = value<std::uint16_t>("nir", AttributeType::UInt16, {77});

/// A file of @p count times the same point, at (1, 2, 3), and the numbers at places in it.
class OldFile {
 public:
  explicit OldFile(const std::vector<Value>& values, std::size_t count = 1, PointFileLayout layout = {},
                   LasCompression compression = LasCompression::None) {
    std::vector<AttributeValues> columns;
    for (const Value& each : values) {
      layout.attributes.push_back(each.attribute);
      columns.push_back({std::as_bytes(std::span(each.bytes)).data(), 0});
    }
    LasWriter writer(layout, compression, LasVersion::V12);
    std::vector<double> positions;
    for (std::size_t i = 0; i < count; ++i) positions.insert(positions.end(), {1, 2, 3});
    append(writer.encode({positions, columns}));
    append(writer.tail());
    const std::vector<std::byte> head = writer.head();
    bytes_.insert(bytes_.begin(), head.begin(), head.end());
  }

  template <class T>
  [[nodiscard]] T at(std::size_t offset) const {
    T number;
    std::memcpy(&number, bytes_.data() + offset, sizeof(T));
    return number;
  }
  [[nodiscard]] std::string text(std::size_t offset) const {
    return reinterpret_cast<const char*>(bytes_.data() + offset);
  }
  template <class T>
  [[nodiscard]] T ofPoint(std::size_t offset) const {
    return at<T>(at<std::uint32_t>(96) + offset);
  }
  [[nodiscard]] std::span<const std::byte> bytes() const { return bytes_; }

 private:
  void append(std::span<const std::byte> bytes) { bytes_.insert(bytes_.end(), bytes.begin(), bytes.end()); }

  std::vector<std::byte> bytes_;
};

/// Expects that a point of this value is refused in these words.
void expectRefusal(const Value& refused, const std::string& text) {
  EXPECT_THAT([&] { OldFile({refused}, 2); }, ThrowsMessage<std::range_error>(HasSubstr(text)));
}

TEST(OldLasWriter, WritesAHeaderOfVersion12WithItsCounts) {
  const OldFile file({byteValue("return number", 2)}, 3);
  EXPECT_EQ(file.bytes().size(), kHeaderSize + 3 * 20);
  EXPECT_EQ(file.at<std::uint8_t>(25), 2) << "minor version";
  EXPECT_EQ(file.at<std::uint16_t>(6), 1) << "adjusted standard time; there is no bit for WKT";
  EXPECT_EQ(file.at<std::uint16_t>(94), kHeaderSize);
  EXPECT_EQ(file.at<std::uint32_t>(96), kHeaderSize);
  EXPECT_EQ(file.at<std::uint32_t>(107), 3U);
  EXPECT_EQ(file.at<std::uint32_t>(111), 0U);
  EXPECT_EQ(file.at<std::uint32_t>(115), 3U) << "second returns";
  EXPECT_EQ(file.at<double>(179), 1) << "the greatest x";
  EXPECT_EQ(file.at<double>(219), 3) << "the least z";
}

TEST(OldLasWriter, ChoosesThePointFormatByTimesAndColours) {
  const auto formatAndSize = [](const std::vector<Value>& values) {
    const OldFile file(values);
    return std::pair<int, int>(file.at<std::uint8_t>(104), file.at<std::uint16_t>(105));
  };
  EXPECT_EQ(formatAndSize({}), std::pair(0, 20));
  EXPECT_EQ(formatAndSize({kTime}), std::pair(1, 28));
  EXPECT_EQ(formatAndSize({kColor}), std::pair(2, 26));
  EXPECT_EQ(formatAndSize({kColor, kTime}), std::pair(3, 34));
}

TEST(OldLasWriter, PutsAttributesWhereTheFormatHasThem) {
  const OldFile file(
      {value<std::uint16_t>("intensity", AttributeType::UInt16, {65'535}),
       value<std::int8_t>("scan angle rank", AttributeType::Int8, {-90}), byteValue("user data", 200),
       value<std::uint16_t>("point source id", AttributeType::UInt16, {60'001}), kTime, kColor});
  EXPECT_EQ(file.ofPoint<std::int32_t>(4), 2000);
  EXPECT_EQ(file.ofPoint<std::uint16_t>(12), 65'535);
  EXPECT_EQ(file.ofPoint<std::int8_t>(16), -90);
  EXPECT_EQ(file.ofPoint<std::uint8_t>(17), 200);
  EXPECT_EQ(file.ofPoint<std::uint16_t>(18), 60'001);
  EXPECT_EQ(file.ofPoint<double>(20), 2.5);
  EXPECT_EQ(file.ofPoint<std::uint16_t>(28 + 4), 60'000) << "blue";
  EXPECT_EQ(OldFile({kColor}).ofPoint<std::uint16_t>(20 + 4), 60'000) << "blue, without times";
}

TEST(OldLasWriter, PacksReturnsClassAndFlagsIntoTheirBits) {
  const OldFile file({byteValue("return number", 5), byteValue("number of returns", 7),
                      byteValue("scan flags", 0b1000), byteValue("classification", 31),
                      byteValue("classification flags", 0b101)});
  EXPECT_EQ(file.ofPoint<std::uint8_t>(14), 0b1011'1101);
  EXPECT_EQ(file.ofPoint<std::uint8_t>(15), 0b1011'1111);
}

TEST(OldLasWriter, RefusesValuesThatItsFieldsDoNotHold) {
  expectRefusal(byteValue("return number", 8), "point 0: return number = 8: LAS 1.2 holds 0 to 7");
  expectRefusal(byteValue("number of returns", 15), "number of returns = 15: LAS 1.2 holds 0 to 7");
  expectRefusal(byteValue("classification", 32), "classification = 32: LAS 1.2 holds 0 to 31");
  expectRefusal(byteValue("classification flags", 9),
                "flags = 9: LAS 1.2 holds 0 to 7, since it knows no flag");
  expectRefusal(byteValue("scan flags", 5), "scan flags = 5: LAS 1.2 holds 0, 4, 8 or 12, since");
}

TEST(OldLasWriter, NamesThePointOfAValueAndCountsNoneOfItsBatch) {
  PointFileLayout layout;
  layout.attributes = {attribute("classification", AttributeType::UInt8)};
  LasWriter writer(layout, LasCompression::None, LasVersion::V12);
  const std::vector<std::uint8_t> classes{1, 2, 64};
  const AttributeValues column{std::as_bytes(std::span(classes)).data(), 1};
  const std::vector<double> positions(9);
  const auto write = [&](std::size_t count) {
    (void)writer.encode({std::span(positions).first(3 * count), std::span(&column, 1)});
  };
  write(2);
  const std::vector<std::byte> before = writer.head();
  EXPECT_THAT([&] { write(3); }, ThrowsMessage<std::range_error>(HasSubstr("point 4: classification = 64")));
  EXPECT_EQ(writer.head(), before);
}

TEST(OldLasWriter, RefusesMorePointsThanItsHeaderCounts) {
  LasWriter writer({}, LasCompression::None, LasVersion::V12);
  const double anywhere = 0;
  // No memory behind so many points: they are refused before any is looked at.
  const std::span<const double> positions(&anywhere, 3 * (std::size_t{UINT32_MAX} + 1));
  EXPECT_THAT(
      [&] {
        (void)writer.encode({positions, {}});
      },
      ThrowsMessage<std::range_error>(HasSubstr("LAS 1.2 counts no more points")));
}

TEST(OldLasWriter, KeepsTheExactScanAngleBesideItsWholeDegrees) {
  const auto angles = [](std::int16_t steps) {
    const OldFile file({value<std::int16_t>("scan angle", AttributeType::Int16, {steps})});
    EXPECT_EQ(file.text(kHeaderSize + kRecordHead + 4), "scan angle");
    return std::pair<int, int>(file.ofPoint<std::int8_t>(16), file.ofPoint<std::int16_t>(20));
  };
  EXPECT_EQ(angles(500), std::pair(3, 500));
  EXPECT_EQ(angles(-250), std::pair(-2, -250)) << "halves away from zero";
  EXPECT_EQ(angles(249), std::pair(1, 249));
  EXPECT_EQ(angles(30'000), std::pair(127, 30'000));
  EXPECT_EQ(angles(-30'000), std::pair(-128, -30'000));
}

TEST(OldLasWriter, KeepsBothWhereThereIsARankBesideTheScanAngle) {
  const OldFile file({value<std::int16_t>("scan angle", AttributeType::Int16, {500}),
                      value<std::int8_t>("scan angle rank", AttributeType::Int8, {-7})});
  EXPECT_EQ(file.ofPoint<std::int8_t>(16), -7);
  EXPECT_EQ(file.ofPoint<std::int16_t>(20), 500);
}

TEST(OldLasWriter, KeepsNearInfraredAndOtherAttributesAsExtraBytes) {
  const OldFile file({kNir, kColor, value<float>("wind", AttributeType::Float, {0.5F})});
  EXPECT_EQ(file.at<std::uint8_t>(104), 2);
  EXPECT_EQ(file.at<std::uint16_t>(105), 26 + 2 + 4);
  EXPECT_EQ(file.text(kHeaderSize + 2), "LASF_Spec");
  EXPECT_EQ(file.text(kHeaderSize + kRecordHead + 4), "nir");
  EXPECT_EQ(file.text(kHeaderSize + kRecordHead + 192 + 4), "wind");
  EXPECT_EQ(file.ofPoint<std::uint16_t>(26), 77);
  EXPECT_EQ(file.ofPoint<float>(28), 0.5F);
}

TEST(OldLasWriter, KeepsTheCoordinateSystemInTheRecordOfWkt) {
  PointFileLayout layout;
  layout.projection = "PROJCRS[...]";
  const OldFile file({}, 1, layout);
  EXPECT_EQ(file.text(kHeaderSize + 2), "LASF_Projection");
  EXPECT_EQ(file.at<std::uint16_t>(kHeaderSize + 18), 2112);
  EXPECT_EQ(file.text(kHeaderSize + kRecordHead), layout.projection);
}

TEST(OldLasWriter, RefusesRecordsThatHaveNoPlaceBeforeThePoints) {
  PointFileLayout layout;
  layout.projection.assign(65'534, 'P');
  EXPECT_NO_THROW(OldFile({}, 1, layout));
  layout.projection += 'P';
  EXPECT_THAT([&] { OldFile({}, 1, layout); },
              ThrowsMessage<std::invalid_argument>(
                  "LAS 1.2 has no place for coordinate system as WKT of 65536 bytes, more than 65535"));
  EXPECT_NO_THROW(
      OldFile({value<std::uint8_t>("many", AttributeType::UInt8, std::vector<std::uint8_t>(341))}));
  EXPECT_THROW(OldFile({value<std::uint8_t>("many", AttributeType::UInt8, std::vector<std::uint8_t>(342))}),
               std::invalid_argument);
}

TEST(OldLasWriter, CompressesPointsOfEachFormatInChunksOfWholePoints) {
  const Value extra = value<std::uint16_t>("nir", AttributeType::UInt16, {77});
  for (const std::vector<Value>& values :
       {std::vector<Value>{}, {kTime}, {kColor}, {kTime, kColor}, {extra}, {kTime, kColor, extra}}) {
    const OldFile las(values, 3);
    const OldFile laz(values, 3, {}, LasCompression::Laz);
    const auto format = las.at<std::uint8_t>(104);
    EXPECT_EQ(laz.at<std::uint8_t>(104), format | 0x80);
    const auto length = las.at<std::uint16_t>(105);
    const auto numExtra = static_cast<std::uint16_t>(length - Formats::lasRecordSize(format));
    const std::size_t begin = laz.at<std::uint32_t>(96) + 8;
    const auto end = laz.at<std::uint64_t>(begin - 8);
    const std::string records = Testing::decodedChunk(Formats::Laz::lazVlrFor(format, numExtra),
                                                      laz.bytes().subspan(begin, end - begin), 3);
    EXPECT_EQ(std::memcmp(records.data(), las.bytes().data() + las.at<std::uint32_t>(96), 3 * length), 0);
  }
}

TEST(OldLasWriter, IsReadBack) {
  const OldFile file({byteValue("return number", 2), byteValue("classification", 17), kTime, kColor, kNir},
                     2);
  const Core::Source source{"old.las"};
  const auto header = Formats::checkLasHeader(
      Formats::readLasRawHeader(file.bytes().first(std::min<std::size_t>(393, file.bytes().size())), source),
      source);
  EXPECT_EQ(header.versionMinor, 2);
  EXPECT_EQ(header.numPoints, 2U);
  EXPECT_EQ(header.pointFormat, 3);
  EXPECT_TRUE(header.warnings.empty());
  const auto points = Formats::findLasPoints(header, file.bytes().size(), {}, source);
  EXPECT_EQ(points.numPresent, 2U);
}

}  // namespace
