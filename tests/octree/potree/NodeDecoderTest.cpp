#include <gmock/gmock.h>

#include <cmath>

#include "octree/MapLocation.h"
#include "octree/potree/NodeDecoder.h"

namespace {

using Math::Color;
using Math::NodePoints;
using PoTree::NodeFormat;
using testing::Each;
using testing::ElementsAre;
using Testing::PotreeFiles;
using Testing::StoredPoint;

using Names = std::vector<std::string>;

NodeFormat formatOf(PotreeFiles files, bool brotli = false, double positionFactor = 1) {
  if (brotli) files.set("/encoding", "\"BROTLI\"");
  return {PoTree::parseMetaData(files.metaData(), "m.json", PoTree::MetaDataUse::ExternalAttributes),
          positionFactor};
}

std::size_t decodeInto(NodePoints& points, const NodeFormat& format, const std::string& data) {
  const std::vector<char> exact(data.begin(), data.end());  // so that an address sanitizer sees over-reads
  return PoTree::decodeNode(format, std::as_bytes(std::span(exact)), points);
}

NodePoints decoded(const NodeFormat& format, const std::string& data) {
  NodePoints points;
  decodeInto(points, format, data);
  points.complete();
  return points;
}

/// The points decoded from either encoding of the same attributes.
NodePoints decoded(const Names& names, bool brotli, std::span<const StoredPoint> points) {
  const std::string data =
      brotli ? Testing::encodeBlocks(points, names) : Testing::encodeRecords(points, names);
  return decoded(formatOf(PotreeFiles().attributes(names), brotli), data);
}

std::uint8_t to8Bit(std::uint16_t v) { return static_cast<std::uint8_t>(v > 255 ? v / 256 : v); }

bool contains(const Names& names, const char* name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// What the columns must be, worked out point by point from the values stored; scale 0.5.
void expectColumns(const NodePoints& points, const Names& names, std::span<const StoredPoint> stored) {
  ASSERT_EQ(points.size(), stored.size());
  for (std::size_t i = 0; i < stored.size(); ++i) {
    const StoredPoint& point = stored[i];
    for (std::size_t axis = 0; axis < 3; ++axis) {
      ASSERT_EQ(points.positions()[3 * i + axis], static_cast<float>(point.position[axis] * 0.5)) << i;
      if (contains(names, "NormalX")) {
        ASSERT_EQ(points.normals()[3 * i + axis], static_cast<float>(point.normal[axis])) << i;
      }
    }
    if (contains(names, "rgb")) {
      const auto& [r, g, b] = point.rgb;
      ASSERT_EQ(points.colors()[i], Color(to8Bit(r), to8Bit(g), to8Bit(b), 255)) << i;
    }
    ASSERT_EQ(points.intensities()[i], contains(names, "intensity") ? point.intensity : 0) << i;
    ASSERT_EQ(points.classIndices()[i], contains(names, "classification") ? point.classification : 0) << i;
    ASSERT_EQ(points.visibility()[i], contains(names, "visibility") ? point.visibility : 1) << i;
  }
}

TEST(DecodeNode, ReadsAnyOrderOfAttributesInBothEncodings) {
  Names names = {"position",      "rgb",       "intensity", "classification", "visibility", "gps-time",
                 "return number", "ScanIndex", "NormalX",   "NormalY",        "NormalZ"};
  std::mt19937 random(11);
  const std::vector<StoredPoint> stored = Testing::randomPoints(50, 12);
  for (int round = 0; round < 40; ++round) {
    std::shuffle(names.begin(), names.end(), random);
    for (const bool brotli : {false, true}) {
      SCOPED_TRACE(testing::PrintToString(names) + (brotli ? " BROTLI" : " DEFAULT"));
      expectColumns(decoded(names, brotli, stored), names, stored);
    }
  }
}

TEST(DecodeNode, ReadsSubsetsOfAttributesInBothEncodings) {
  const std::vector<StoredPoint> stored = Testing::randomPoints(9, 5);
  for (const Names& names : {Names{"position"}, Names{"intensity", "position", "rgb"},
                             Names{"return number", "position", "visibility"},
                             Names{"classification", "position", "ScanIndex", "rgb"}}) {
    for (const bool brotli : {false, true}) {
      SCOPED_TRACE(testing::PrintToString(names) + (brotli ? " BROTLI" : " DEFAULT"));
      expectColumns(decoded(names, brotli, stored), names, stored);
    }
  }
}

TEST(DecodeNode, ReadsNodesOfMoreThanOneBlock) {
  const Names names = {"position", "classification", "rgb"};
  for (const std::size_t count : {1023U, 1024U, 1025U, 5000U}) {
    const std::vector<StoredPoint> stored = Testing::randomPoints(count, 6);
    expectColumns(decoded(names, false, stored), names, stored);
    expectColumns(decoded(names, true, stored), names, stored);
  }
}

TEST(DecodeNode, TakesStoredIntegersAsUnsignedAndAddsNoOffset) {
  StoredPoint point;
  point.position = {0xFFFF'FFFFU, 0x8000'0000U, 7};
  EXPECT_THAT(decoded({"position"}, false, std::vector{point}).positions(),
              ElementsAre(2147483647.5F, 1073741824.0F, 3.5F));
}

TEST(DecodeNode, ScalesInDoubleByScaleThenFactorAndNarrowsOnce) {
  PotreeFiles files = PotreeFiles().attributes({"position"}).set("/scale", "[0.001, 0.1, 1]");
  StoredPoint point;
  point.position = {123'456'789, 123'456'789, 16'777'217};
  const NodePoints points =
      decoded(formatOf(files, false, 3), Testing::encodeRecords(std::vector{point}, Names{"position"}));
  EXPECT_THAT(points.positions(),
              ElementsAre(static_cast<float>(123'456'789 * 0.001 * 3),
                          static_cast<float>(123'456'789 * 0.1 * 3), static_cast<float>(16'777'217.0 * 3)));
}

TEST(DecodeNode, ShiftsColourComponentsAbove255EachForItself) {
  StoredPoint point;
  point.rgb = {300, 200, 65535};
  EXPECT_THAT(decoded({"rgb"}, false, std::vector{point}).colors(), ElementsAre(Color(1, 200, 255, 255)));
  point.rgb = {255, 256, 0};
  EXPECT_THAT(decoded({"rgb"}, true, std::vector{point}).colors(), ElementsAre(Color(255, 1, 0, 255)));
}

/// The grey of one intensity in a cloud without colours.
int greyOf(std::uint16_t intensity, const std::string& minimum, const std::string& maximum) {
  PotreeFiles files = PotreeFiles().attributes({"intensity"});
  files.set("/attributes/0/min", "[" + minimum + "]").set("/attributes/0/max", "[" + maximum + "]");
  const Color color = decoded(formatOf(files), Testing::littleEndian(intensity)).colors()[0];
  EXPECT_EQ(color, Color(color.r(), color.r(), color.r(), 255));
  return color.r();
}

TEST(DecodeNode, MakesIntensityGreyWhereThereAreNoColours) {
  EXPECT_EQ(greyOf(500, "0", "1000"), 127);
  EXPECT_EQ(greyOf(0, "0", "1000"), 0);
  EXPECT_EQ(greyOf(1000, "0", "1000"), 255);
  EXPECT_EQ(greyOf(150, "100", "200"), 127);
}

TEST(DecodeNode, ClampsGreyOutsideTheRange) {
  EXPECT_EQ(greyOf(99, "100", "200"), 0);
  EXPECT_EQ(greyOf(201, "100", "200"), 255);
  EXPECT_EQ(greyOf(65535, "0", "1"), 255);
}

TEST(DecodeNode, MakesARangeOfWidthZeroBlackUpToItsMinimumAndWhiteAbove) {
  EXPECT_EQ(greyOf(99, "100", "100"), 0);
  EXPECT_EQ(greyOf(100, "100", "100"), 0);
  EXPECT_EQ(greyOf(101, "100", "100"), 255);
}

TEST(DecodeNode, PrefersStoredColoursToGrey) {
  StoredPoint point{.rgb = {1, 2, 3}, .intensity = 900};
  EXPECT_THAT(decoded({"intensity", "rgb"}, false, std::vector{point}).colors(),
              ElementsAre(Color(1, 2, 3, 255)));
}

TEST(DecodeNode, DecodesWholeRecordsOnly) {
  const Names names = {"position", "intensity"};
  const std::string data = Testing::encodeRecords(Testing::somePoints(3), names);
  const NodeFormat format = formatOf(PotreeFiles().attributes(names));
  for (std::size_t n = 0; n <= data.size(); ++n) {
    NodePoints points;
    EXPECT_EQ(decodeInto(points, format, data.substr(0, n)), n / 14) << n;
    EXPECT_EQ(points.size(), n / 14) << n;
  }
}

TEST(DecodeNode, CountsBrotliDataWithSixteenAndEightBytesForPositionAndColour) {
  const Names names = {"rgb", "position", "classification"};
  const std::vector<StoredPoint> stored = Testing::randomPoints(4, 8);
  const std::string data = Testing::encodeBlocks(stored, names);
  ASSERT_EQ(data.size(), 4U * 25U);
  const NodeFormat format = formatOf(PotreeFiles().attributes(names), true);
  EXPECT_EQ(format.bytesPerPoint, 25U);
  expectColumns(decoded(format, data), names, stored);
}

TEST(DecodeNode, StepsOverColoursOfAnotherFormByTheirSize) {
  const Names names = {"rgb", "position"};
  PotreeFiles files =
      PotreeFiles().attributes(names).set("/attributes/0/size", "3").set("/attributes/0/type", "\"uint8\"");
  const NodePoints points = decoded(formatOf(files), "abc" + Testing::littleEndian(2, 4, 6));
  EXPECT_THAT(points.positions(), ElementsAre(1, 2, 3));
  EXPECT_THAT(points.colors(), ElementsAre(Color(0, 0, 0, 255)));
}

TEST(DecodeNode, StepsOverColoursOfAnotherFormByEightBytesInBrotliData) {
  const Names names = {"rgb", "position"};
  PotreeFiles files =
      PotreeFiles().attributes(names).set("/attributes/0/size", "3").set("/attributes/0/type", "\"uint8\"");
  const std::array<std::uint32_t, 3> position = {2, 4, 6};
  const NodePoints points =
      decoded(formatOf(files, true), std::string(8, 'c') + Testing::mortonCode(position));
  EXPECT_THAT(points.positions(), ElementsAre(1, 2, 3));
  EXPECT_THAT(points.colors(), ElementsAre(Color(0, 0, 0, 255)));
}

TEST(DecodeNode, ReadsTheFirstTwelveBytesOfALongerPosition) {
  PotreeFiles files =
      PotreeFiles().attributes({"position", "classification"}).set("/attributes/0/size", "16");
  const std::string record = Testing::littleEndian(2, 4, 6, -1) + "\x09";
  const NodePoints points = decoded(formatOf(files), record + record);
  EXPECT_THAT(points.positions(), ElementsAre(1, 2, 3, 1, 2, 3));
  EXPECT_THAT(points.classIndices(), Each(9));
}

TEST(DecodeNode, CountsByBytesPerPointAndStepsByTheSumOfTheSizes) {
  NodeFormat format = formatOf(PotreeFiles().attributes({"classification"}));
  format.bytesPerPoint = 3;  // a sum of sizes below it leaves the end of the data unread
  EXPECT_THAT(decoded(format, "\x01\x02\x03\x04\x05\x06\x07").classIndices(), ElementsAre(1, 2));
}

TEST(DecodeNode, RefusesAStrideThatWouldLeaveTheData) {
  NodeFormat format = formatOf(PotreeFiles().attributes({"position", "rgb"}));
  format.bytesPerPoint = 17;
  NodePoints points;
  EXPECT_THROW(decodeInto(points, format, std::string(170, 'x')), std::invalid_argument);
  format.bytesPerPoint = 0;
  EXPECT_THROW(decodeInto(points, format, std::string(170, 'x')), std::invalid_argument);
  EXPECT_EQ(points.size(), 0U);
}

TEST(DecodeNode, LeavesColumnsThatAreNotStoredToTheirDefaults) {
  const NodePoints points = decoded({"position"}, false, Testing::somePoints(2));
  EXPECT_THAT(points.colors(), ElementsAre(Color(0, 0, 0, 255), Color(0, 0, 0, 255)));
  EXPECT_THAT(points.intensities(), Each(0));
  EXPECT_THAT(points.classIndices(), Each(0));
  EXPECT_THAT(points.normals(), Each(0));
  EXPECT_THAT(points.visibility(), ElementsAre(1, 1));
}

TEST(DecodeNode, WritesOverTheBeginningOfALargerContainer) {
  NodePoints points = decoded({"position", "classification"}, false, Testing::somePoints(4, 10));
  const NodeFormat format = formatOf(PotreeFiles().attributes({"classification", "visibility"}));
  EXPECT_EQ(decodeInto(points, format, std::string("\x07\x00\x08\x00", 4)), 2U);
  EXPECT_EQ(points.size(), 4U);
  EXPECT_THAT(points.classIndices(), ElementsAre(7, 8, 12, 13));
  EXPECT_THAT(points.visibility(), ElementsAre(0, 0, 1, 1));
  EXPECT_EQ(points.positions()[11], 6.5F);
}

TEST(DecodeNode, GivesTheDefaultsBehindAShorterNewColumnOfALargerContainer) {
  NodePoints points;
  decodeInto(points, formatOf(PotreeFiles().attributes({"position"})),
             Testing::encodeRecords(Testing::somePoints(3), Names{"position"}));
  decodeInto(points, formatOf(PotreeFiles().attributes({"rgb"})),
             Testing::littleEndian(0x0002'0001, std::uint16_t{3}));
  EXPECT_THAT(points.colors(), ElementsAre(Color(1, 2, 3, 255), Color(0, 0, 0, 255), Color(0, 0, 0, 255)));
}

TEST(DecodeNode, GrowsASmallerContainerAndItsColumns) {
  NodePoints points = decoded({"position", "intensity"}, false, Testing::somePoints(1, 2));
  decodeInto(points, formatOf(PotreeFiles().attributes({"classification"})), "\x05\x06\x07");
  EXPECT_THAT(points.classIndices(), ElementsAre(5, 6, 7));
  EXPECT_THAT(points.intensities(), ElementsAre(1002, 0, 0));
  EXPECT_THAT(points.positions(), ElementsAre(1, 1, 1, 0, 0, 0, 0, 0, 0));
  EXPECT_THAT(points.colors().size(), 3U);
}

TEST(DecodeNode, DoesNothingForNoData) {
  NodePoints points = decoded({"position"}, false, Testing::somePoints(2, 2));
  EXPECT_EQ(decodeInto(points, formatOf(PotreeFiles()), ""), 0U);
  EXPECT_THAT(points.positions(), ElementsAre(1, 1, 1, 1.5, 1.5, 1.5));
}

TEST(DecodeNode, ReadsNormalsFromTheirCodesBeforeAllElse) {
  StoredPoint point{.normalOct16 = 0xFFFF, .normal = {1, 0, 0}};
  const Names all = {"position", "NormalX", "normal_oct16", "NormalZ", "NormalY"};
  for (const bool brotli : {false, true}) {
    EXPECT_THAT(decoded(all, brotli, std::vector{point}).normals(), ElementsAre(0, 0, -1));
    EXPECT_THAT(decoded({"NormalZ", "NormalX", "NormalY"}, brotli, std::vector{point}).normals(),
                ElementsAre(1, 0, 0));
  }
}

TEST(DecodeNode, NeedsAllThreeNormalComponents) {
  StoredPoint point{.normal = {1, 1, 1}};
  for (const bool brotli : {false, true}) {
    EXPECT_THAT(decoded({"NormalX", "NormalZ", "position"}, brotli, std::vector{point}).normals(),
                ElementsAre(0, 0, 0));
  }
}

TEST(DecodeOct16, OfTwoBytes127PointsUpNearly) {
  const auto [x, y, z] = PoTree::decodeOct16(0x7F7F);
  EXPECT_NEAR(x, -0.0039, 1e-4);
  EXPECT_EQ(x, y);
  EXPECT_NEAR(z, 1.0, 1e-4);
}

TEST(DecodeOct16, OfAllOnesFoldsDown) { EXPECT_THAT(PoTree::decodeOct16(-1), ElementsAre(0, 0, -1)); }

TEST(DecodeOct16, TakesTheHighByteForX) {
  const auto [x, y, z] = PoTree::decodeOct16(static_cast<std::int16_t>(0xFF80));
  EXPECT_GT(x, 0.99F);
  EXPECT_LT(std::abs(y), 0.01F);
  EXPECT_LT(std::abs(z), 0.01F);
}

// Worked in double from the formula; every code, so that folds and their borders are among them.
TEST(DecodeOct16, FollowsTheFormulaForEveryCode) {
  for (int code = 0; code < 65536; ++code) {
    double u = (code >> 8) / 255.0 * 2 - 1;
    double v = (code & 255) / 255.0 * 2 - 1;
    const double w = 1 - std::abs(u) - std::abs(v);
    if (w < 0) {
      const double oldU = u;
      u = (1 - std::abs(v)) * (u >= 0 ? 1 : -1);
      v = (1 - std::abs(oldU)) * (v >= 0 ? 1 : -1);
    }
    const double length = std::sqrt(u * u + v * v + w * w);
    const auto [x, y, z] = PoTree::decodeOct16(static_cast<std::int16_t>(code));
    ASSERT_NEAR(x, u / length, 1e-6) << code;
    ASSERT_NEAR(y, v / length, 1e-6) << code;
    ASSERT_NEAR(z, w / length, 1e-6) << code;
  }
}

}  // namespace
