#include <gmock/gmock.h>

#include <map>
#include <vector>

#include "sample/SurveyGenerator.h"
#include "support/PointRecords.h"

namespace {

using Sample::SurveyGenerator;
using Sample::SurveyPoint;

std::vector<SurveyPoint> survey(std::uint64_t points, std::uint64_t seed) {
  const SurveyGenerator generator(points, seed);
  std::vector<SurveyPoint> all(points);
  for (std::uint64_t line = 0; line < generator.lineCount(); ++line) {
    const std::uint64_t first = generator.lineStart(line);
    generator.makeLine(line, std::span(all).subspan(first, generator.lineStart(line + 1) - first));
  }
  return all;
}

TEST(SurveyGenerator, MakesThisSurveyOnEveryMachine) {
  std::uint64_t hash = 0;
  for (const std::byte byte : Testing::surveyRecords(100'000, 1).records) {
    hash = Sample::mixBits(hash + std::to_integer<std::uint64_t>(byte));
  }
  EXPECT_EQ(hash, 15628831309898771824U);
}

TEST(SurveyGenerator, MakesAsManyPointsAsAskedFor) {
  for (const std::uint64_t points : {0U, 1U, 2U, 999U, 12'345U}) {
    const SurveyGenerator generator(points, 1);
    EXPECT_EQ(generator.lineStart(0), 0U);
    EXPECT_EQ(generator.lineStart(generator.lineCount()), points);
    EXPECT_EQ(Testing::surveyRecords(points, 1).numPoints(), points);
  }
}

TEST(SurveyGenerator, DiffersWithTheSeed) { EXPECT_NE(survey(1000, 1), survey(1000, 2)); }

TEST(SurveyGenerator, HasAllKindsOfSurfaces) {
  std::map<int, int> classes;
  for (const SurveyPoint& point : survey(100'000, 1)) ++classes[point.classification];
  for (const int common : {2, 3, 4, 5, 6, 9, 11}) EXPECT_GT(classes[common], 200) << common;
  EXPECT_GT(classes[7], 0);
  EXPECT_EQ(classes.size(), 8U);
}

TEST(SurveyGenerator, GivesABeamItsReturnsInOrderFromTheTop) {
  const auto points = survey(20'000, 3);
  int seen = 0;
  for (std::size_t i = 1; i < points.size(); ++i) {
    EXPECT_LE(points[i].returnNumber, points[i].numberOfReturns);
    if (points[i].returnNumber == 1) continue;
    EXPECT_EQ(points[i].returnNumber, points[i - 1].returnNumber + 1);
    EXPECT_EQ(points[i].gpsTime, points[i - 1].gpsTime);
    EXPECT_LE(points[i].position[2], points[i - 1].position[2] + 20) << "but for the noise of the range";
    ++seen;
  }
  EXPECT_GT(seen, 500);
}

TEST(SurveyGenerator, FliesStripsThatOverlapAndTimeThatRises) {
  const auto points = survey(1'000'000, 1);
  EXPECT_EQ(points.front().pointSourceId, 1);
  EXPECT_EQ(points.back().pointSourceId, 2);
  std::size_t overlapping = 0;
  for (std::size_t i = 1; i < points.size(); ++i) {
    ASSERT_GE(points[i].gpsTime, points[i - 1].gpsTime - 0.01) << "beams of a line are jittered";
    if (points[i].classificationFlags == 8) ++overlapping;
  }
  EXPECT_GT(overlapping, points.size() / 20);
  EXPECT_LT(overlapping, points.size() / 5);
}

TEST(SurveyGenerator, CoversItsSquareAtEightPointsASquareMetre) {
  std::array<std::int32_t, 3> low{INT32_MAX, INT32_MAX, INT32_MAX};
  std::array<std::int32_t, 3> high{};
  for (const SurveyPoint& point : survey(400'000, 9)) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      low[axis] = std::min(low[axis], point.position[axis]);
      high[axis] = std::max(high[axis], point.position[axis]);
    }
  }
  EXPECT_NEAR(high[0] - low[0], 223'600, 500);
  EXPECT_NEAR(high[1] - low[1], 223'600, 500);
  EXPECT_GE(low[2], 360'000);
  EXPECT_LE(high[2], 500'000);
}

}  // namespace
