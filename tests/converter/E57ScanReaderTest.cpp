#include <gmock/gmock.h>

#include <cstring>

#include "converter/ConversionError.h"
#include "converter/E57ScanReader.h"
#include "formats/e57/PacketIndex.h"
#include "support/E57File.h"
#include "support/MemoryFileSystem.h"

namespace {

using Converter::openE57;
using Converter::ScanReader;
using Testing::cartesianFields;
using Testing::E57Field;
using Testing::E57File;
using Testing::E57Scan;
using testing::ElementsAre;
using testing::IsEmpty;
using Testing::MemoryFileSystem;
using testing::SizeIs;

std::unique_ptr<ScanReader> openFile(const E57File& file) {
  MemoryFileSystem files;
  files.put("a.e57", file.bytes());
  return openE57(files, "a.e57");
}

/// A scan of as many points on the x axis, with more fields.
E57Scan scanOf(std::size_t points, const std::vector<E57Field>& more = {}) {
  std::vector<double> x(points);
  for (std::size_t i = 0; i < points; ++i) x[i] = static_cast<double>(i);
  E57Scan scan;
  scan.fields = cartesianFields(x, std::vector<double>(points), std::vector<double>(points));
  scan.fields.insert(scan.fields.end(), more.begin(), more.end());
  return scan;
}

std::vector<std::string> namesOf(const ScanReader& scan) {
  std::vector<std::string> names;
  for (const Math::Attribute& attribute : scan.info().attributes) names.push_back(attribute.name);
  return names;
}

struct Points {
  std::vector<double> world;
  std::vector<std::byte> values;  ///< of one attribute

  template <class Value>
  [[nodiscard]] std::vector<Value> as() const {
    std::vector<Value> numbers(values.size() / sizeof(Value));
    std::memcpy(numbers.data(), values.data(), numbers.size() * sizeof(Value));
    return numbers;
  }
};

/// All points in order, with the values of one attribute.
Points read(const ScanReader& scan, const std::string& attribute = "ScanIndex") {
  std::vector<std::size_t> offsets(scan.info().attributes.size(), Converter::RecordTarget::kUnwanted);
  const auto names = namesOf(scan);
  const auto number = std::find(names.begin(), names.end(), attribute) - names.begin();
  offsets.at(static_cast<std::size_t>(number)) = 0;
  const std::size_t size = scan.info().attributes.at(static_cast<std::size_t>(number)).size();
  Points points;
  for (std::uint64_t block = 0; block < scan.numBlocks(); ++block) {
    std::vector<std::byte> records(scan.mostPointsOf(block) * size);
    Converter::BlockCoordinates coordinates;
    coordinates.stored.assign(3, 1);
    const std::size_t count = scan.readBlock(block, {records.data(), size, offsets}, coordinates);
    EXPECT_THAT(coordinates.stored, IsEmpty());
    EXPECT_THAT(coordinates.world, SizeIs(3 * count));
    points.world.insert(points.world.end(), coordinates.world.begin(), coordinates.world.end());
    points.values.insert(points.values.end(), records.begin(),
                         records.begin() + static_cast<std::ptrdiff_t>(count * size));
  }
  return points;
}

/// An element for a number.
std::string number(const std::string& name, const std::string& value) {
  return std::string("<")
      .append(name)
      .append(R"( type="Float">)")
      .append(value)
      .append("</")
      .append(name)
      .append(">");
}

std::string bounds(double minimum, double maximum) {
  std::string xml = R"(<cartesianBounds type="Structure">)";
  for (const std::string axis : {"x", "y", "z"}) {
    xml.append(number(axis + "Minimum", std::to_string(minimum)));
    xml.append(number(axis + "Maximum", std::to_string(maximum)));
  }
  return xml + "</cartesianBounds>";
}

std::string limits(const std::string& kind, const std::vector<std::string>& names, const std::string& minimum,
                   const std::string& maximum) {
  std::string xml = '<' + kind + R"( type="Structure">)";
  for (const std::string& name : names) {
    xml.append(number(name + "Minimum", minimum)).append(number(name + "Maximum", maximum));
  }
  return xml + "</" + kind + '>';
}

std::string colorLimits(const std::string& maximum) {
  return limits("colorLimits", {"colorRed", "colorGreen", "colorBlue"}, "0", maximum);
}

std::vector<E57Field> colors(std::int64_t maximum, const std::vector<std::int64_t>& values) {
  std::vector<E57Field> fields;
  for (const char* const name : {"colorRed", "colorGreen", "colorBlue"}) {
    fields.push_back(Testing::integerField(name, 0, maximum, values));
  }
  return fields;
}

TEST(E57ScanReader, TellsWhatTheFileHolds) {
  E57Scan scan = scanOf(3);
  scan.elements = bounds(-1, 5);
  const auto file = openFile(E57File().scan(scan).rootElements(
      "<coordinateMetadata type=\"String\">EPSG:25832</coordinateMetadata>"));
  const Converter::ScanInfo& info = file->info();
  EXPECT_EQ(info.name, "a.e57");
  EXPECT_EQ(info.numPoints, 3U);
  EXPECT_FALSE(info.grid.has_value());
  EXPECT_EQ(info.statedBox.minimum[1], -1);
  EXPECT_EQ(info.statedBox.maximum[2], 5);
  EXPECT_EQ(info.projection, "EPSG:25832");
  EXPECT_THAT(namesOf(*file), ElementsAre("ScanIndex"));
  EXPECT_THAT(info.warnings, IsEmpty());
  EXPECT_THAT(file->remarks(), IsEmpty());
}

TEST(E57ScanReader, PutsAllScansIntoTheirPoses) {
  E57Scan turned = scanOf(2);
  turned.elements = Testing::e57Pose("2 0 0 2", "10 20 30");
  E57Scan moved = scanOf(1);
  moved.elements = Testing::e57Pose("1 0 0 0", "-1 -2 -3");
  const auto file = openFile(E57File().scan(turned).scan({}).scan(moved));
  const Points points = read(*file);
  ASSERT_THAT(points.world, SizeIs(9));
  EXPECT_THAT(std::vector(points.world.begin(), points.world.begin() + 3), ElementsAre(10, 20, 30));
  EXPECT_NEAR(points.world[3], 10, 1e-15);
  EXPECT_NEAR(points.world[4], 21, 1e-15);
  EXPECT_THAT(std::vector(points.world.begin() + 6, points.world.end()), ElementsAre(-1, -2, -3));
  EXPECT_THAT(points.as<std::uint32_t>(), ElementsAre(0, 0, 2));
}

TEST(E57ScanReader, StatesTheBoxOfAllScansInTheirPoses) {
  E57Scan turned = scanOf(2);
  turned.elements = bounds(0, 1) + Testing::e57Pose("1 0 0 1", "10 0 0");
  E57Scan plain = scanOf(2);
  plain.elements = bounds(-2, 0);
  const auto box = openFile(E57File().scan(turned).scan(plain))->info().statedBox;
  EXPECT_THAT(box.minimum.coordinates, ElementsAre(-2, -2, -2));
  EXPECT_NEAR(box.maximum[0], 10, 1e-15);
  EXPECT_NEAR(box.maximum[1], 1, 1e-15);
  EXPECT_TRUE(openFile(E57File().scan(turned).scan(scanOf(1)))->info().statedBox.empty());
}

TEST(E57ScanReader, JoinsTheAttributesOfScansThatDiffer) {
  const E57Scan withColor = scanOf(2, colors(255, {255, 1}));
  const E57Scan withTime = scanOf(1, {Testing::doubleField("timeStamp", {2.5})});
  const auto file = openFile(E57File().scan(withColor).scan(withTime));
  EXPECT_THAT(namesOf(*file), ElementsAre("timeStamp", "rgb", "ScanIndex"));
  EXPECT_THAT(read(*file, "rgb").as<std::uint16_t>(),
              ElementsAre(65535, 65535, 65535, 257, 257, 257, 0, 0, 0));
  EXPECT_THAT(read(*file, "timeStamp").as<double>(), ElementsAre(0, 0, 2.5));
}

TEST(E57ScanReader, NamesAttributesAsUsersExpect) {
  E57Scan scan = scanOf(1, colors(255, {0}));
  for (const char* const name : {"intensity", "rowIndex", "columnIndex", "returnIndex", "returnCount",
                                 "timeStamp", "nor:normalX", "nor:normalY", "nor:normalZ"}) {
    scan.fields.push_back(Testing::singleField(name, {1}));
  }
  scan.elements = R"(<acquisitionStart><dateTimeValue type="Float">1e9</dateTimeValue></acquisitionStart>)";
  const auto file = openFile(E57File().scan(scan));
  EXPECT_THAT(namesOf(*file),
              ElementsAre("intensity", "return number", "number of returns", "gps-time", "rgb", "NormalX",
                          "NormalY", "NormalZ", "rowIndex", "columnIndex", "ScanIndex"));
  EXPECT_EQ(file->info().toAdjustedStandardTime, 0.0);
  EXPECT_THAT(read(*file, "gps-time").as<double>(), ElementsAre(1));
}

TEST(E57ScanReader, CountsThePointsThatItLeavesOutOnceHoweverOftenItReads) {
  E57Scan scan;
  scan.fields = cartesianFields({1, NAN, 3, 4}, {0, 0, 0, 0}, {0, 0, INFINITY, 0});
  scan.fields.push_back(Testing::integerField("cartesianInvalidState", 0, 2, {0, 0, 0, 2}));
  const auto file = openFile(E57File().scan(scan));
  EXPECT_EQ(file->info().numPoints, 4U);
  EXPECT_THAT(read(*file).world, ElementsAre(1, 0, 0));
  (void)read(*file);
  EXPECT_THAT(file->remarks(),
              ElementsAre("Points that are flagged as no measurement were left out: 1.",
                          "Points whose coordinates are no finite numbers were left out: 2."));
}

TEST(E57ScanReader, ReadsBlocksInAnyOrder) {
  constexpr std::size_t kMany = 2 * ScanReader::kMostPointsPerBlock + 5;
  const auto file = openFile(E57File().scan(scanOf(3)).scan(scanOf(kMany)));
  ASSERT_EQ(file->numBlocks(), 4U);
  EXPECT_EQ(file->mostPointsOf(0), 3U);
  EXPECT_EQ(file->mostPointsOf(1), ScanReader::kMostPointsPerBlock);
  EXPECT_EQ(file->mostPointsOf(3), 5U);
  const std::vector<std::size_t> unwanted(1, Converter::RecordTarget::kUnwanted);
  for (const std::uint64_t block : {3U, 1U, 2U}) {
    Converter::BlockCoordinates coordinates;
    ASSERT_EQ(file->readBlock(block, {nullptr, 0, unwanted}, coordinates), file->mostPointsOf(block));
    EXPECT_EQ(coordinates.world[0], static_cast<double>((block - 1) * ScanReader::kMostPointsPerBlock));
  }
}

TEST(E57ScanReader, SamplesAllOverTheFileAndReadsLittleForIt) {
  constexpr std::size_t kMany = 1'000'000;
  E57Scan scan;
  std::vector<std::int64_t> x(kMany);
  for (std::size_t i = 0; i < kMany; ++i) x[i] = static_cast<std::int64_t>(i);
  for (const char* const name : {"cartesianX", "cartesianY", "cartesianZ"}) {
    scan.fields.push_back(Testing::integerField(name, 0, INT32_MAX, x));
  }
  MemoryFileSystem files;
  files.put("a.e57", E57File().scan(scan).bytes());
  const auto file = openE57(files, "a.e57");
  const std::uint64_t opening = files.bytesRead();
  EXPECT_LT(opening, kMany * 12 / 10) << "heads of packets alone";
  const auto points = file->sample(50'000);
  EXPECT_LT(files.bytesRead() - opening, kMany * 12 / 3);
  EXPECT_NEAR(static_cast<double>(points.size()), 50'000, 2'500);
  std::array<int, 10> tenths{};
  for (const auto& point : points) ++tenths.at(static_cast<std::size_t>(point[0]) * 10 / kMany);
  for (const int inTenth : tenths) EXPECT_GT(inTenth, 2'000);
  EXPECT_EQ(file->sample(50'000), points);
}

TEST(E57ScanReader, SamplesNothingOfAFileWithoutPoints) {
  EXPECT_THAT(openFile(E57File())->sample(100), IsEmpty());
}

/// The first intensity or colour of a file whose field and limits are given.
std::uint16_t scaled(const E57Field& field, const std::string& elements = "") {
  E57Scan scan = scanOf(field.stored.size(), {field});
  scan.elements = elements;
  return read(*openFile(E57File().scan(scan)), "intensity").as<std::uint16_t>().at(0);
}

std::uint16_t firstColor(std::int64_t maximum, const std::vector<std::int64_t>& values,
                         const std::string& elements) {
  E57Scan scan = scanOf(values.size(), colors(maximum, values));
  scan.elements = elements;
  return read(*openFile(E57File().scan(scan)), "rgb").as<std::uint16_t>().at(0);
}

TEST(E57ScanReader, IntensitiesFillSixteenBitsByLimitsElseByTheirFieldElseByTheirValues) {
  const auto given = [](const std::string& maximum) {
    return limits("intensityLimits", {"intensity"}, "0", maximum);
  };
  EXPECT_EQ(scaled(Testing::integerField("intensity", 0, 4095, {4095})), 65535);
  EXPECT_EQ(scaled(Testing::integerField("intensity", 0, 2047, {1000}), given("4000")), 16384);
  EXPECT_EQ(scaled(Testing::integerField("intensity", -66, 66, {-66})), 0);
  EXPECT_EQ(scaled(Testing::singleField("intensity", {0.5F, 1.F}), given("1")), 32768);
  EXPECT_EQ(scaled(Testing::singleField("intensity", {5.F, 3.F, NAN, 7.F})), 32768);
  EXPECT_EQ(scaled(Testing::singleField("intensity", {5.F, 3.F, 7.F}), given("0")), 32768);
  EXPECT_EQ(scaled(Testing::singleField("intensity", {5.F, 5.F})), 0) << "one value alone says nothing";
}

TEST(E57ScanReader, LimitsThatTheValuesContradictAreNotTaken) {
  EXPECT_EQ(firstColor(255, {255, 0}, colorLimits("1")), 65535);
  EXPECT_EQ(firstColor(255, {51, 0}, colorLimits("1")), 51 * 257);
  EXPECT_EQ(firstColor(65535, {60000, 0}, colorLimits("255")), 60000);
  EXPECT_EQ(firstColor(65535, {255, 0}, colorLimits("255")), 65535);
  EXPECT_EQ(scaled(Testing::singleField("intensity", {50.F, 0.F, 100.F}),
                   limits("intensityLimits", {"intensity"}, "0", "1")),
            32768);
}

TEST(E57ScanReader, ColoursThatSayNothingOfTheirRangeAreTakenByWhatIsCommon) {
  for (const auto& [value, expected] :
       std::map<float, std::uint16_t>{{0.2F, 13107}, {51.F, 13107}, {512.F, 512}}) {
    E57Scan scan = scanOf(1);
    for (const char* const name : {"colorRed", "colorGreen", "colorBlue"}) {
      scan.fields.push_back(Testing::singleField(name, {value}));
    }
    EXPECT_EQ(read(*openFile(E57File().scan(scan)), "rgb").as<std::uint16_t>().at(0), expected) << value;
  }
}

TEST(E57ScanReader, NoticesThatTheFileWasChanged) {
  MemoryFileSystem files;
  const std::string bytes = E57File().scan(scanOf(3)).bytes();
  files.put("a.e57", bytes);
  const auto file = openE57(files, "a.e57");
  EXPECT_NO_THROW(file->checkUnchanged());
  files.put("a.e57", bytes + "x");
  EXPECT_THROW(file->checkUnchanged(), Converter::ConversionError);
}

}  // namespace
