#include <gmock/gmock.h>

#include <cmath>

#include "converter/ConversionError.h"
#include "converter/OutputGrid.h"

namespace {

using Converter::chooseGrid;
using Converter::OutputGrid;
using Converter::ScanInfo;
using Converter::StoredPosition;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Triple = std::array<double, 3>;

ScanInfo integerScan(const Triple& scale, const Triple& offset = {}) {
  ScanInfo info;
  info.grid = ScanInfo::Grid{scale, offset};
  return info;
}

struct Chosen {
  OutputGrid grid;
  std::vector<std::string> remarks;
};

/// The grid of points from the origin to @p extent.
Chosen choose(const std::vector<ScanInfo>& infos, const Triple& extent, std::optional<double> wanted = {},
              const Triple& minimum = {}) {
  std::vector<const ScanInfo*> scans;
  for (const ScanInfo& info : infos) scans.push_back(&info);
  Math::NBoundingBox<double, 3> box;
  box.expand({{minimum[0], minimum[1], minimum[2]}});
  box.expand({{minimum[0] + extent[0], minimum[1] + extent[1], minimum[2] + extent[2]}});
  std::vector<std::string> remarks;
  OutputGrid grid = chooseGrid(scans, box, wanted, remarks);
  return {grid, remarks};
}

TEST(OutputGrid, TakesTheFinestIntegerScaleOfEachAxis) {
  const Chosen chosen =
      choose({integerScan({0.01, 0.001, 0.1}), integerScan({0.001, 0.01, 0.1}), ScanInfo{}}, {100, 100, 10});
  EXPECT_THAT(chosen.grid.scale(), ElementsAre(0.001, 0.001, 0.1));
  EXPECT_THAT(chosen.grid.steps(), ElementsAre(100'001, 100'001, 101));
  EXPECT_THAT(chosen.remarks, IsEmpty());
}

TEST(OutputGrid, RaisesAScaleByTensUntilTheExtentCanBeStoredAndSaysSo) {
  const Chosen chosen = choose({integerScan({0.001, 0.01, 0.01})}, {3e7, 100, 100});
  EXPECT_THAT(chosen.grid.scale(), ElementsAre(0.1, 0.01, 0.01));
  ASSERT_EQ(chosen.remarks.size(), 1);
  EXPECT_THAT(chosen.remarks[0], HasSubstr("Along x the scale was raised from 0.001 to 0.1"));
}

TEST(OutputGrid, KeepsAScaleWithTheMostStepsThatCanBeStored) {
  const double most = std::ldexp(1, 31) - 2;
  EXPECT_EQ(choose({integerScan({1, 1, 1})}, {most, 0, 0}).grid.scale()[0], 1);
  EXPECT_EQ(choose({integerScan({1, 1, 1})}, {most, 0, 0}).grid.steps()[0], 2'147'483'647);
  EXPECT_EQ(choose({integerScan({1, 1, 1})}, {most + 1, 0, 0}).grid.scale()[0], 10);
}

TEST(OutputGrid, HoldsTheFullRangeOfIntegers) {
  const Chosen chosen =
      choose({integerScan({1, 1, 1})}, {4294967295.0, 4294967295.0, 4294967295.0}, {}, {-2147483648.0, 0, 0});
  EXPECT_EQ(chosen.grid.scale()[0], 10);
  EXPECT_EQ(chosen.grid.steps()[0], 429'496'731);
}

TEST(OutputGrid, GivesFloatingPointATenthOfAMillimetre) {
  EXPECT_THAT(choose({ScanInfo{}}, {200, 1000, 6000}).grid.scale(), ElementsAre(0.0001, 0.0001, 0.0001));
}

TEST(OutputGrid, GivesSmallExtentsOfFloatingPointAtLeast2To20Steps) {
  const Chosen chosen = choose({ScanInfo{}}, {104.86, 104.85, 1});
  EXPECT_THAT(chosen.grid.scale(), ElementsAre(1e-4, 1e-5, 1e-7));
  const Chosen small = choose({ScanInfo{}}, {1, 0.1, 20});
  for (const std::uint32_t steps : small.grid.steps()) {
    EXPECT_GE(steps, 1U << 20U);
    EXPECT_LT(steps, 1U << 24U);
  }
}

TEST(OutputGrid, GivesLargeExtentsOfFloatingPointFewerThan2To26Steps) {
  const Chosen chosen = choose({ScanInfo{}}, {6710.88, 6710.89, 1e9});
  EXPECT_THAT(chosen.grid.scale(), ElementsAre(0.0001, 0.001, 100));
  EXPECT_THAT(chosen.remarks, IsEmpty()) << "no scale was asked for that could have been raised";
}

TEST(OutputGrid, GivesFloatingPointNoStepsThatCannotBeToldApart) {
  EXPECT_EQ(choose({ScanInfo{}}, {0.001, 0, 0}, {}, {5'000'000, 1e15, 0}).grid.scale()[0], 1e-8);
  EXPECT_EQ(choose({ScanInfo{}}, {0.001, 0, 0}, {}, {5'000'000, 1e15, 0}).grid.scale()[1], 1);
}

TEST(OutputGrid, GivesAnAxisWithoutExtentTheCommonScale) {
  EXPECT_EQ(choose({ScanInfo{}}, {100, 0, 0}).grid.scale()[1], 0.0001);
}

TEST(OutputGrid, TakesAnExplicitScaleAsItIs) {
  const Chosen chosen = choose({integerScan({0.01, 0.01, 0.01})}, {100, 100, 100}, 0.025);
  EXPECT_THAT(chosen.grid.scale(), ElementsAre(0.025, 0.025, 0.025));
  EXPECT_THAT(chosen.remarks, IsEmpty());
}

TEST(OutputGrid, RefusesAnExplicitScaleThatIsTooFine) {
  try {
    choose({integerScan({0.01, 0.01, 0.01})}, {1, 5000, 1}, 1e-6);
    FAIL() << "was taken";
  } catch (const Converter::ConversionError& error) {
    EXPECT_EQ(error.result(), Converter::Result::ConvertFileTooBig);
    EXPECT_THAT(error.what(), HasSubstr("along y"));
  }
}

TEST(OutputGrid, RefusesStepsThatAreLostInTheSizeOfCoordinates) {
  ScanInfo far = integerScan({0.001, 0.001, 0.001}, {0, 1e15, 0});
  far.name = "far.las";
  try {
    choose({integerScan({0.001, 0.001, 0.001}), far}, {1, 1, 1}, {}, {0, 1e15, 0});
    FAIL() << "was taken";
  } catch (const Converter::ConversionError& error) {
    EXPECT_EQ(error.result(), Converter::Result::InputGetInfoError);
    EXPECT_THAT(error.what(), HasSubstr("far.las: along y its coordinates reach 1e+15"));
  }
}

TEST(OutputGrid, RefusesAnExplicitScaleThatCoordinatesCannotResolve) {
  EXPECT_THAT(
      [] {
        choose({ScanInfo{}}, {0.01, 0.01, 0.01}, 1e-11, {5e6, 0, 0});
      },
      testing::ThrowsMessage<Converter::ConversionError>(HasSubstr("the scale 1e-11 is too fine")));
}

TEST(OutputGrid, BeginsAtTheMinimumLoweredToWholeStepsOfTheFirstScansOffset) {
  const Chosen chosen =
      choose({integerScan({0.01, 0.01, 0.01}, {0.003, 1000.5, -7}), integerScan({0.01, 0.01, 0.01})},
             {10, 10, 10}, {}, {5.0, 900.507, -20.5});
  EXPECT_NEAR(chosen.grid.offset()[0], 4.993, 1e-9);
  EXPECT_NEAR(chosen.grid.offset()[1], 900.5, 1e-9);
  EXPECT_NEAR(chosen.grid.offset()[2], -20.5, 1e-9);
  EXPECT_EQ(chosen.grid.steps()[2], 1'001);
}

TEST(OutputGrid, HasACubeOfTheLongestExtentAndOneStep) {
  EXPECT_DOUBLE_EQ(choose({integerScan({0.5, 0.1, 0.1})}, {10, 20, 5}).grid.edge(), 20.1);
  EXPECT_EQ(choose({integerScan({0.5, 0.1, 0.1})}, {0, 0, 0}).grid.edge(), 1) << "one place";
}

TEST(OutputGrid, CubePointsAreSharesOfTheEdgeAndRise) {
  const std::vector<OutputGrid> grids{OutputGrid({1, 1, 1}, {}, {1U << 20U, 3, 1}),
                                      OutputGrid({0.001, 0.01, 0.1}, {}, {123'457, 99'991, 1'000}),
                                      OutputGrid({1, 1, 1}, {}, {INT32_MAX, INT32_MAX, INT32_MAX})};
  for (const OutputGrid& grid : grids) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const auto share = [&](std::uint32_t stored) {
        StoredPosition p{};
        p[axis] = stored;
        const Converter::CubePoint place = grid.cubePoint(p);
        return std::array{place.x, place.y, place.z}[axis];
      };
      std::uint32_t before = 0;
      for (std::uint64_t i = 0; i < 1'000; ++i) {
        const auto stored = static_cast<std::uint32_t>(i * (grid.steps()[axis] - 1) / 999);
        const double expected = std::ldexp(stored * grid.scale()[axis] / grid.edge(), 32);
        ASSERT_NEAR(share(stored), expected, 2) << stored;
        ASSERT_GE(share(stored), before);
        before = share(stored);
      }
    }
  }
}

TEST(OutputGrid, NeighbouringStepsOfTheLongestAxisAreApart) {
  const OutputGrid grid({1, 1, 1}, {}, {INT32_MAX, 1, 1});
  for (const std::uint32_t x : {0U, 1U, 1'000'003U, 2'147'483'645U}) {
    EXPECT_GT(grid.cubePoint({x + 1, 0, 0}).x, grid.cubePoint({x, 0, 0}).x);
  }
  EXPECT_GT(grid.cubePoint({2'147'483'646, 0, 0}).x, UINT32_MAX - 8);
}

}  // namespace
