#include <gmock/gmock.h>

#include <limits>

#include "converter/ConversionError.h"
#include "converter/ConversionRun.h"
#include "converter/Survey.h"

namespace {

using Converter::ConversionError;
using Converter::Sample;
using Testing::ScanContent;
using Testing::scanOf;
using Testing::scansOf;
using Box = Math::NBoundingBox<double, 3>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

ScanContent stating(const Box& box, std::size_t points = 1) {
  ScanContent content = scanOf(std::vector<std::array<double, 3>>(points));
  content.statedBox = box;
  return content;
}

/// A hundred points along the diagonal from 0 to 99.
ScanContent diagonal() {
  ScanContent content;
  content.grid->scale = {1, 1, 1};
  for (double i = 0; i < 100; ++i) content.points.push_back({i, i, i});
  return content;
}

std::vector<Converter::ScanBounds> boundsOf(const Testing::ListScans& scans) {
  Testing::ProgressLog progress;
  progress.begin(Converter::Stage::Survey, 0);
  return Converter::measureBounds(scans, {.threads = 2, .memoryBudget = 1, .shuffleSeed = {}}, progress, {});
}

TEST(StatedBox, IsTheUnionOfTheBoxesOfScansWithPoints) {
  const Box a{{{0, 0, 0}}, {{1, 1, 1}}};
  const Box b{{{-1, 0.5, 0}}, {{0, 2, 1}}};
  const Box wrong{{{kNaN, 0, 0}}, {{1, 1, 1}}};
  EXPECT_EQ(Converter::statedBox(scansOf({stating(a), stating(wrong, 0), stating(b)})),
            (Box{{{-1, 0, 0}}, {{1, 2, 1}}}));
}

TEST(StatedBox, IsUnknownWhenOneIsNotFiniteOrInverted) {
  const Box sound{{{0, 0, 0}}, {{1, 1, 1}}};
  for (const Box& wrong : {Box{{{0, kNaN, 0}}, {{1, 1, 1}}}, Box{{{0, 0, 0}}, {{1, 1, kInfinity}}},
                           Box{{{0, 2, 0}}, {{1, 1, 1}}}, Box{{{-1.5e308, 0, 0}}, {{1.5e308, 1, 1}}}}) {
    EXPECT_FALSE(Converter::statedBox(scansOf({stating(sound), stating(wrong)})));
  }
  EXPECT_TRUE(Converter::statedBox(scansOf({stating(sound)})));
}

TEST(StatedBox, MayBeUpToTwiceAsLongAsTheTightOne) {
  const Box tight{{{0, 0, 0}}, {{10, 1, 1}}};
  EXPECT_TRUE(Converter::isCloseTo({{{0, 0, 0}}, {{20, 20, 20}}}, tight));
  EXPECT_FALSE(Converter::isCloseTo({{{0, 0, 0}}, {{1, 1, 20.01}}}, tight));
  EXPECT_TRUE(Converter::isCloseTo({{{5, 5, 5}}, {{5, 5, 5}}}, {{{5, 5, 5}}, {{5, 5, 5}}})) << "one place";
}

TEST(TightBox, HoldsAllPointsOfAllScans) {
  ScanContent floats = scanOf({{-5, 0.25, 3}});
  floats.grid.reset();
  const auto scans = scansOf({diagonal(), scanOf({}), floats});
  EXPECT_EQ(Converter::tightBox(scans, boundsOf(scans)), (Box{{{-5, 0, 0}}, {{99, 99, 99}}}));
}

TEST(TightBox, IsRefusedWithoutPointsOrWhenItIsNotFinite) {
  const auto result = [](const ScanContent& content) {
    const auto scans = scansOf({content});
    try {
      (void)Converter::tightBox(scans, boundsOf(scans));
    } catch (const ConversionError& error) {
      return error.result();
    }
    return Converter::Result::Success;
  };
  EXPECT_EQ(result(scanOf({})), Converter::Result::InputEmpty);
  ScanContent floats = scanOf({{0, 0, 0}, {0, -kInfinity, 0}});
  floats.grid.reset();
  EXPECT_EQ(result(floats), Converter::Result::InputDegeneratedBBox);
  floats.points = {{-1.5e308, 0, 0}, {1.5e308, 0, 0}};
  EXPECT_EQ(result(floats), Converter::Result::InputDegeneratedBBox) << "no extent";
}

TEST(Sample, AgreesWithABoxThatHoldsItAndIsNotAbsurdlyLarge) {
  const Sample sample(scansOf({diagonal()}), {});
  EXPECT_TRUE(sample.agreesWith({{{0, 0, 0}}, {{99, 99, 99}}}));
  EXPECT_TRUE(sample.agreesWith({{{0, 0, 0}}, {{64 * 99, 99, 99}}}));
  EXPECT_FALSE(sample.agreesWith({{{-50, 0, 0}}, {{64 * 99, 99, 99}}}));
  EXPECT_FALSE(sample.agreesWith({{{0, 1, 0}}, {{99, 99, 99}}}));
  EXPECT_FALSE(sample.agreesWith({{{0, 0, 0}}, {{99, 99, 98}}}));
  EXPECT_TRUE(sample.agreesWith({{{0, 0, 1e-5}}, {{99, 99, 99}}})) << "a rounded corner";
}

TEST(Sample, WithoutPointsAgreesWithNothing) {
  EXPECT_FALSE(Sample(scansOf({scanOf({})}), {}).agreesWith({{{0, 0, 0}}, {{1, 1, 1}}}));
}

TEST(Sample, CutsTheCubeWhereThePointsAreMany) {
  const auto scans = scansOf({Testing::clusteredScan(20'000, 3)});
  const Sample sample(scans, {});
  std::vector<std::string> remarks;
  const Converter::OutputGrid grid =
      Converter::chooseGrid(std::vector{&scans[0]->info()}, scans[0]->info().statedBox, {}, remarks);
  const Converter::CellTree cells = sample.cells(grid, 20, 400 * 20);
  EXPECT_GT(cells.size(), 20'000 / 400);
  EXPECT_LT(cells.size(), 20'000 / 10);
  EXPECT_EQ(sample.cells(grid, 20, 20'000 * 20).size(), 1);
}

TEST(Sample, StopsWhenToldTo) {
  std::stop_source stop;
  stop.request_stop();
  EXPECT_THROW(Sample(scansOf({diagonal()}), stop.get_token()), Converter::ConversionCancelled);
}

TEST(MeasureBounds, AdvancesByThePointsThatItRead) {
  const auto scans = scansOf({Testing::clusteredScan(2'500, 4), diagonal()});
  Testing::ProgressLog progress;
  progress.begin(Converter::Stage::Survey, 2'600);
  (void)Converter::measureBounds(scans, {.threads = 3, .memoryBudget = 1, .shuffleSeed = 2}, progress, {});
  EXPECT_EQ(progress.stages()[0].done, 2'600);
}

}  // namespace
