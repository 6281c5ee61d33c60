#include <gmock/gmock.h>

#include "converter/Quantiser.h"

namespace {

using Converter::BlockCoordinates;
using Converter::OutputGrid;
using Converter::Quantiser;
using Converter::ScanBounds;
using Converter::ScanInfo;
using Converter::StoredPosition;
using testing::ElementsAre;
using Grid = std::optional<ScanInfo::Grid>;

const OutputGrid kGrid({0.01, 0.01, 0.01}, {100, 200, 300}, {1000, 1000, 1000});

BlockCoordinates stored(std::vector<std::int32_t> values) { return {std::move(values), {}}; }
BlockCoordinates world(std::vector<double> values) { return {{}, std::move(values)}; }

/// The stored positions; nothing when a point lies outside.
std::optional<std::vector<StoredPosition>> quantised(const Grid& scanGrid,
                                                     const BlockCoordinates& coordinates,
                                                     const OutputGrid& grid = kGrid) {
  std::vector<StoredPosition> positions;
  const std::size_t count = (coordinates.stored.size() + coordinates.world.size()) / 3;
  if (!Quantiser(scanGrid, grid).run(coordinates, count, positions)) return std::nullopt;
  return positions;
}

TEST(Quantiser, MovesIntegersOfTheSameScaleByWholeSteps) {
  const Grid grid = ScanInfo::Grid{{0.01, 0.01, 0.01}, {101, 199, 300}};
  EXPECT_THAT(quantised(grid, stored({0, 100, 0, -100, 101, 999})).value(),
              ElementsAre(StoredPosition{100, 0, 0}, StoredPosition{0, 1, 999}));
}

TEST(Quantiser, TakesOffsetsForWholeStepsApartThatAreSoButForRounding) {
  const OutputGrid grid({0.001, 0.001, 0.001}, {412345.678, 5654321.123, -0.3},
                        {INT32_MAX, 1'000'000, 1'000'000});
  const Grid scan = ScanInfo::Grid{{0.001, 0.001, 0.001}, {412000, 5654000, 0}};
  EXPECT_THAT(quantised(scan, stored({2'000'345'678, 321'124, 5}), grid).value(),
              ElementsAre(StoredPosition{2'000'000'000, 1, 305}));
}

TEST(Quantiser, RoundsIntegersOfOtherGridsHalfAwayFromZero) {
  const OutputGrid halves({0.5, 0.5, 0.5}, {}, {100, 100, 100});
  const Grid finer = ScanInfo::Grid{{0.125, 0.125, 0.125}, {}};
  EXPECT_THAT(quantised(finer, stored({1, 2, 3, 5, 6, 7}), halves).value(),
              ElementsAre(StoredPosition{0, 1, 1}, StoredPosition{1, 2, 2}));
  const Grid between = ScanInfo::Grid{{0.01, 0.01, 0.01}, {100.004, 200.006, 300}};
  EXPECT_THAT(quantised(between, stored({1, 1, 1})).value(), ElementsAre(StoredPosition{1, 2, 1}));
}

TEST(Quantiser, RoundsFloatingPoint) {
  const OutputGrid grid({0.5, 0.5, 0.5}, {}, {100, 100, 100});
  EXPECT_THAT(quantised({}, world({0.24, 0.25, 49.7, -0.24, 0, 1}), grid).value(),
              ElementsAre(StoredPosition{0, 1, 99}, StoredPosition{0, 0, 2}));
}

TEST(Quantiser, SeesPointsOutsideOfTheGrid) {
  const Grid same = ScanInfo::Grid{{0.01, 0.01, 0.01}, {100, 200, 300}};
  EXPECT_TRUE(quantised(same, stored({999, 0, 0})));
  EXPECT_FALSE(quantised(same, stored({0, 0, 0, 1000, 0, 0})));
  EXPECT_FALSE(quantised(same, stored({0, -1, 0})));
  EXPECT_FALSE(quantised(same, stored({INT32_MIN, 0, 0})));
  EXPECT_TRUE(quantised({}, world({109.994, 200, 299.996})));
  EXPECT_FALSE(quantised({}, world({109.996, 200, 300})));
  EXPECT_FALSE(quantised({}, world({100, 200, 299.99})));
  EXPECT_FALSE(quantised({}, world({100, std::numeric_limits<double>::quiet_NaN(), 300})));
  EXPECT_FALSE(quantised({}, world({100, 200, std::numeric_limits<double>::infinity()})));
}

TEST(ScanBounds, AreTheWorldBoxOfIntegers) {
  ScanBounds bounds;
  bounds.add(stored({5, -6, 7, 1, 2, 3}), 2);
  bounds.add(stored({100, 0, 0, 999, 999, 999}), 1);
  const auto box = bounds.world(ScanInfo::Grid{{0.5, 0.5, 0.5}, {10, 10, 10}});
  EXPECT_EQ(box.minimum, (Math::Point<double, 3>{{10.5, 7, 10}}));
  EXPECT_EQ(box.maximum, (Math::Point<double, 3>{{60, 11, 13.5}}));
}

TEST(ScanBounds, AreTheBoxOfFloatingPoint) {
  ScanBounds bounds;
  bounds.add(world({1.5, -2, 3}), 1);
  ScanBounds other;
  other.add(world({0, 0, 9}), 1);
  bounds.add(other);
  EXPECT_EQ(bounds.world({}).minimum, (Math::Point<double, 3>{{0, -2, 3}}));
  EXPECT_EQ(bounds.world({}).maximum, (Math::Point<double, 3>{{1.5, 0, 9}}));
}

TEST(ScanBounds, HoldTheFullRangeOfIntegers) {
  ScanBounds bounds;
  bounds.add(stored({INT32_MIN, 0, INT32_MAX}), 1);
  const auto box = bounds.world(ScanInfo::Grid{{1, 1, 1}, {}});
  EXPECT_EQ(box.minimum[0], -2147483648.0);
  EXPECT_EQ(box.maximum[2], 2147483647.0);
}

TEST(ScanBounds, WithoutPointsAreEmptyAndFitEverywhere) {
  ScanBounds bounds;
  bounds.add(stored({}), 0);
  bounds.add(ScanBounds());
  EXPECT_TRUE(bounds.world({}).empty());
  EXPECT_TRUE(bounds.fits({}, kGrid));
}

TEST(ScanBounds, FitWhenTheQuantiserTakesAllPoints) {
  const Grid same = ScanInfo::Grid{{0.01, 0.01, 0.01}, {100, 200, 300}};
  ScanBounds bounds;
  bounds.add(stored({0, 5, 999}), 1);
  EXPECT_TRUE(bounds.fits(same, kGrid));
  bounds.add(stored({0, 5, 1000}), 1);
  EXPECT_FALSE(bounds.fits(same, kGrid));
}

}  // namespace
