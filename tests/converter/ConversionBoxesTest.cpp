// What becomes of scans whose stated boxes are wrong.

#include <gmock/gmock.h>

#include <atomic>
#include <limits>

#include "converter/ConversionRun.h"
#include "sample/RandomBits.h"

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Box = Math::NBoundingBox<double, 3>;
using Testing::clusteredScan;
using Testing::ConversionRun;
using Testing::expectedRecords;
using Testing::OctreeFiles;
using Testing::ScanContent;
using Testing::scansOf;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// The box with its corners moved outwards (inwards where negative) by a share of its extents.
Box grown(const Box& box, double lower, double upper) {
  Box result = box;
  for (int axis = 0; axis < 3; ++axis) {
    result.minimum[axis] -= lower * box.size()[axis];
    result.maximum[axis] += upper * box.size()[axis];
  }
  return result;
}

struct Converted {
  OctreeFiles files;
  std::vector<std::string> remarks;
};

class ConversionBoxes : public testing::Test {
 protected:
  /// Checks that nothing was lost, too.
  [[nodiscard]] Converted convert(const Box& stated) const {
    ScanContent content = content_;
    content.statedBox = stated;
    ConversionRun run;
    auto report = run.convert(scansOf({content}));
    EXPECT_EQ(run.octree().allPoints(), expectedRecords(content, run.octree().metaData));
    return {run.files(), std::move(report.remarks)};
  }

  const ScanContent content_ = clusteredScan(3'000, 31);
  const Box tight_ = content_.trueBox();
};

TEST_F(ConversionBoxes, AllWrongBoxesGiveTheOctreeOfTheTrueOneAndARemark) {
  const OctreeFiles expected = convert(tight_).files;
  Box inverted{tight_.maximum, tight_.minimum};
  Box notANumber = tight_;
  notANumber.minimum[1] = kNaN;
  Box infinite = tight_;
  infinite.maximum[2] = kInfinity;
  const std::vector<Box> wrongBoxes{
      grown(tight_, -0.2, -0.2), grown(tight_, 0.3, -0.3), inverted, notANumber, infinite,
      grown(tight_, 1, 1.1),     grown(tight_, -2e-6, 0)};
  for (std::size_t i = 0; i < wrongBoxes.size(); ++i) {
    const Converted converted = convert(wrongBoxes[i]);
    EXPECT_EQ(converted.files, expected) << i;
    EXPECT_THAT(converted.remarks, Contains(HasSubstr("do not fit"))) << i;
  }
}

TEST_F(ConversionBoxes, WithoutAStatedBoxTheTrueOneIsMeasuredWithoutARemark) {
  const Converted converted = convert(Box{});
  EXPECT_EQ(converted.files, convert(tight_).files);
  EXPECT_THAT(converted.remarks, IsEmpty());
}

TEST_F(ConversionBoxes, AStatedBoxOfUpToTwiceTheLengthGivesTheCube) {
  const Box stated = grown(tight_, 0.5, 0.4);
  ScanContent content = content_;
  content.statedBox = stated;
  ConversionRun run;
  EXPECT_THAT(run.convert(scansOf({content})).remarks, IsEmpty());
  const auto metaData = run.octree().metaData;
  EXPECT_NEAR(metaData.at("boundingBox").at("min")[0].get<double>(), stated.minimum[0], 0.011);
  const auto size = stated.size();
  EXPECT_NEAR(metaData.at("spacing").get<double>() * 128, std::max({size[0], size[1], size[2]}), 0.03);
  EXPECT_EQ(run.octree().allPoints(), expectedRecords(content, metaData));
}

TEST_F(ConversionBoxes, APlausibleBoxLetsTheInputBeReadOnceHoweverLittleTheSampleSays) {
  ScanContent content = content_;
  content.points.clear();
  for (int i = 0; i < 40'000; ++i) content.points.push_back({i % 100 * 1.0, 0, 0});
  content.points[1] = {2'000, 0, 0};  // which the sample misses
  content.columns.clear();
  content.pointsPerBlock = 40'000;
  std::atomic<int> reads{0};
  content.beforeBlock = [&](std::uint64_t) { ++reads; };
  content.statedBox = grown(content.trueBox(), 0.4, 0.4);
  ConversionRun run;
  EXPECT_THAT(run.convert(scansOf({content})).remarks, Not(Contains(HasSubstr("do not fit"))));
  EXPECT_EQ(reads, 1);
}

TEST_F(ConversionBoxes, TheCubeHoldsThePointsAndItsEdgeIsTheLongestExtentAndAStep) {
  ConversionRun run;
  run.convert(scansOf({content_}));
  const auto metaData = run.octree().metaData;
  const auto size = tight_.size();
  const double edge = std::max({size[0], size[1], size[2]}) + 0.01;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double minimum = tight_.minimum[static_cast<int>(axis)];
    const double maximum = tight_.maximum[static_cast<int>(axis)];
    const double low = metaData.at("boundingBox").at("min")[axis];
    EXPECT_NEAR(low, minimum, 1e-9);
    EXPECT_EQ(metaData.at("offset")[axis], low);
    EXPECT_NEAR(metaData.at("boundingBox").at("max")[axis].get<double>() - low, edge, 1e-6);
    EXPECT_DOUBLE_EQ(metaData.at("attributes")[0].at("min")[axis].get<double>(), minimum);
    EXPECT_DOUBLE_EQ(metaData.at("attributes")[0].at("max")[axis].get<double>(), maximum);
  }
  EXPECT_NEAR(metaData.at("spacing").get<double>(), edge / 128, 1e-9);
}

TEST_F(ConversionBoxes, NoStatedBoxGivesTheOctreeOfTheTrueOneAndIsNoMatterOfARemark) {
  const Converted converted = convert(Box{});
  EXPECT_EQ(converted.files, convert(tight_).files);
  EXPECT_THAT(converted.remarks, testing::IsEmpty());
}

TEST_F(ConversionBoxes, APointThatTheSampleMissesMakesTheOctreeOfTheTrueBox) {
  ScanContent content = content_;
  content.points[1] = {-5e6, 0, 0};  // the sample takes every third point
  const Box truth = content.trueBox();
  ConversionRun right;
  right.convert(scansOf({content}));
  content.statedBox = tight_;
  ConversionRun wrong;
  const auto report = wrong.convert(scansOf({content}));
  EXPECT_THAT(report.remarks, Contains(HasSubstr("do not fit")));
  EXPECT_EQ(wrong.files(), right.files());
  EXPECT_EQ(wrong.octree().metaData.at("boundingBox").at("min")[0], truth.minimum[0]);
}

TEST(ConversionOfFloats, StatedBoxesNeedNotBeOnTheGrid) {
  ScanContent content;
  content.grid.reset();
  Sample::RandomBits random(32);
  for (int i = 0; i < 2'000; ++i) {
    content.points.push_back({500'000 + 100 * random.unit(), 5e6 + 100 * random.unit(), -10 * random.unit()});
  }
  ConversionRun run;
  EXPECT_THAT(run.convert(scansOf({content})).remarks, IsEmpty());
  EXPECT_EQ(run.octree().allPoints(), expectedRecords(content, run.octree().metaData));
}

TEST(ConversionOfFloats, PointsOfAFewMillimetresFarFromTheOriginConvert) {
  for (const double size : {0.0, 1e-6, 1e-3, 0.005}) {
    ScanContent content;
    content.grid.reset();
    content.points = {{500'000.3, 5'432'100.7, 100}, {500'000.3 + size, 5'432'100.7 + size, 100 + size}};
    ConversionRun run;
    run.convert(scansOf({content}));
    EXPECT_EQ(run.octree().allPoints().size(), 2) << size;
  }
}

}  // namespace
