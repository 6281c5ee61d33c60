#include <gmock/gmock.h>

#include "converter/CloudRecords.h"
#include "converter/ConversionError.h"
#include "support/ListScan.h"

namespace {

using Converter::CloudRecords;
using Converter::ScanInfo;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Testing::scanAttribute;

struct Joined {
  CloudRecords records;
  std::vector<std::string> remarks;
};

Joined join(const std::vector<ScanInfo>& infos, bool strictCrs = false) {
  std::vector<const ScanInfo*> scans;
  for (const ScanInfo& info : infos) scans.push_back(&info);
  Joined joined;
  joined.records = Converter::joinScans(scans, strictCrs, joined.remarks);
  return joined;
}

ScanInfo scanWith(std::vector<Math::Attribute> attributes) {
  ScanInfo info;
  info.name = "a.las";
  info.attributes = std::move(attributes);
  return info;
}

std::vector<std::string> namesOf(const CloudRecords& records) {
  std::vector<std::string> names;
  for (const auto& attribute : records.attributes) names.push_back(attribute.name);
  return names;
}

TEST(CloudRecords, HoldAPositionAndEachAttributeOnceInTheOrderOfTheScans) {
  const Joined joined =
      join({scanWith({scanAttribute<std::uint16_t>("intensity"), scanAttribute<std::uint8_t>("user data")}),
            scanWith({scanAttribute<std::uint16_t>("rgb", 3), scanAttribute<std::uint16_t>("intensity")})});
  EXPECT_THAT(namesOf(joined.records), ElementsAre("intensity", "user data", "rgb"));
  EXPECT_THAT(joined.records.offsets, ElementsAre(12, 14, 15));
  EXPECT_EQ(joined.records.stride, 21);
  EXPECT_THAT(joined.records.mappings[0].offsets, ElementsAre(12, 14));
  EXPECT_THAT(joined.records.mappings[1].offsets, ElementsAre(15, 12));
}

TEST(CloudRecords, KeepAttributesOfOneNameApartWhenTheirTypesDiffer) {
  const Joined joined =
      join({scanWith({scanAttribute<std::uint16_t>("width")}), scanWith({scanAttribute<float>("width")}),
            scanWith({scanAttribute<double>("width")}), scanWith({scanAttribute<float>("width")})});
  EXPECT_THAT(namesOf(joined.records), ElementsAre("width", "width_2", "width_3"));
  EXPECT_THAT(joined.records.mappings[3].offsets, ElementsAre(14));
}

TEST(CloudRecords, KeepAttributesOfOneNameApartWhenTheirScalesDiffer) {
  auto scaled = scanAttribute<std::int16_t>("height");
  scaled.scale = {0.01};
  scaled.offset = {0};
  EXPECT_THAT(namesOf(join({scanWith({scanAttribute<std::int16_t>("height")}), scanWith({scaled})}).records),
              ElementsAre("height", "height_2"));
}

TEST(CloudRecords, GiveTwoAttributesOfOneScanThatShareANamePlacesOfTheirOwn) {
  const Joined joined = join({scanWith({scanAttribute<float>("x"), scanAttribute<float>("x")})});
  EXPECT_THAT(joined.records.mappings[0].offsets, ElementsAre(12, 16));
  EXPECT_THAT(namesOf(joined.records), ElementsAre("x", "x_2"));
}

TEST(CloudRecords, NeverNameAnAttributeAsThePosition) {
  EXPECT_THAT(namesOf(join({scanWith({scanAttribute<float>("position")})}).records),
              ElementsAre("position_2"));
}

TEST(CloudRecords, ShiftTimesToAdjustedStandardTimeOnlyWhereTheyDiffer) {
  ScanInfo a = scanWith({scanAttribute<double>("gps-time")});
  a.toAdjustedStandardTime = 0;
  ScanInfo b = a;
  b.toAdjustedStandardTime = -1e9;
  const Joined equal = join({b, b});
  EXPECT_FALSE(equal.records.mappings[0].gpsTimeOffset);
  const Joined differing = join({a, b, scanWith({})});
  EXPECT_FALSE(differing.records.mappings[0].gpsTimeOffset);
  EXPECT_EQ(differing.records.mappings[1].gpsTimeOffset, 12);
  EXPECT_EQ(differing.records.mappings[1].gpsTimeShift, -1e9);
  EXPECT_THAT(differing.remarks, IsEmpty());
}

TEST(CloudRecords, LeaveSecondsOfAWeekAsTheyAreAndSaySoWhenOthersDiffer) {
  ScanInfo week = scanWith({scanAttribute<double>("gps-time")});
  week.name = "week.las";
  ScanInfo standard = week;
  standard.toAdjustedStandardTime = 0;
  EXPECT_THAT(join({week, week}).remarks, IsEmpty());
  const Joined joined = join({standard, week});
  EXPECT_FALSE(joined.records.mappings[1].gpsTimeOffset);
  EXPECT_THAT(joined.remarks, ElementsAre(HasSubstr("week.las")));
}

TEST(CloudRecords, DoNotCompareTimesOfScansWithoutThem) {
  ScanInfo standard = scanWith({scanAttribute<double>("gps-time")});
  standard.toAdjustedStandardTime = -1e9;
  EXPECT_FALSE(join({scanWith({}), standard}).records.mappings[1].gpsTimeOffset);
}

TEST(CloudRecords, ShiftTheTimesOfAScanWhereItsOwnStand) {
  ScanInfo odd = scanWith({scanAttribute<float>("gps-time")});
  odd.toAdjustedStandardTime = -1e9;
  ScanInfo first = scanWith({scanAttribute<double>("gps-time")});
  first.toAdjustedStandardTime = 0;
  ScanInfo second = first;
  second.toAdjustedStandardTime = 5;
  const Joined joined = join({odd, first, second});
  EXPECT_FALSE(joined.records.mappings[0].gpsTimeOffset) << "no double";
  EXPECT_EQ(joined.records.mappings[2].gpsTimeOffset, 16) << "behind the times of the first scan";
}

TEST(CloudRecords, KeepTheFirstCoordinateSystemAndNameScansThatDiffer) {
  ScanInfo none = scanWith({});
  ScanInfo first = none;
  first.projection = "WKT A";
  ScanInfo other = none;
  other.name = "other.las";
  other.projection = "WKT B";
  const Joined joined = join({none, first, other, first});
  EXPECT_EQ(joined.records.projection, "WKT A");
  EXPECT_THAT(joined.remarks, ElementsAre(HasSubstr("other.las")));
  EXPECT_THAT(join({none, first, first}, true).remarks, IsEmpty());
}

TEST(CloudRecords, RefuseDifferingCoordinateSystemsWhenTheyAreToBeEqual) {
  ScanInfo a = scanWith({});
  a.projection = "A";
  ScanInfo b = a;
  b.projection = "B";
  try {
    join({a, b}, true);
    FAIL() << "were taken";
  } catch (const Converter::ConversionError& error) {
    EXPECT_EQ(error.result(), Converter::Result::InputGetInfoError);
  }
}

TEST(CloudRecords, TellWhereAnAttributeStands) {
  const Joined joined = join({scanWith({scanAttribute<float>("a"), scanAttribute<float>("b")})});
  EXPECT_EQ(joined.records.offsetOf("b"), 16);
  EXPECT_FALSE(joined.records.offsetOf("c"));
}

}  // namespace
