// Batches of points and searches in kd-trees against points tested one by one, on every processor family.
#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <limits>

#include "regions/RandomRegions.h"

namespace {

using Testing::RandomRegions;
using Testing::Region;

std::vector<float> points(RandomRegions& random, std::size_t count) {
  std::vector<float> positions(3 * count);
  for (float& coordinate : positions) coordinate = random.shapes().coordinate();
  return positions;
}

std::vector<std::uint8_t> oneByOne(const Region& region, const std::vector<float>& positions) {
  std::vector<std::uint8_t> marks;
  for (std::size_t i = 0; i < positions.size(); i += 3) {
    marks.push_back(region.pointInside({{positions[i], positions[i + 1], positions[i + 2]}}) ? 1 : 0);
  }
  return marks;
}

std::vector<std::uint8_t> inBatches(const Region& region, const std::vector<float>& positions) {
  std::vector<std::uint8_t> marks(positions.size() / 3, 7);
  Math::markInside(region, positions, marks);
  return marks;
}

std::vector<std::uint8_t> bySearch(const Region& region, const std::vector<float>& positions) {
  std::vector<std::uint32_t> indices;
  region.search(Math::PointKdTree<float, 3>(positions), indices);
  std::vector<std::uint8_t> marks(positions.size() / 3, 0);
  for (const std::uint32_t index : indices) ++marks.at(index);
  return marks;
}

TEST(RegionBatches, AnswerAsPointsDoOneByOne) {
  RandomRegions random(1, {0, 10, 0});
  for (int n = 0; n < 400; ++n) {
    const std::unique_ptr<Region> region = random.tree(n % 4);
    const auto positions = points(random, 700);
    ASSERT_EQ(inBatches(*region, positions), oneByOne(*region, positions)) << "region " << n;
  }
}

TEST(RegionBatches, AnswerForAnyNumberOfPoints) {
  RandomRegions random(2, {0, 10, 0});
  for (const std::size_t count : {0U, 1U, 7U, 63U, 64U, 65U, 511U, 512U, 513U, 1024U, 1025U}) {
    const std::unique_ptr<Region> region = random.tree(2);
    const auto positions = points(random, count);
    EXPECT_EQ(inBatches(*region, positions), oneByOne(*region, positions)) << count << " points";
  }
}

TEST(RegionBatches, AnswerForPointsOfNaNAndInfinitiesAsPointsDo) {
  RandomRegions random(3, {0, 10, 9});
  for (int n = 0; n < 300; ++n) {
    const std::unique_ptr<Region> region = random.tree(2);
    const auto positions = points(random, 300);
    ASSERT_EQ(inBatches(*region, positions), oneByOne(*region, positions)) << "region " << n;
  }
}

TEST(RegionBatches, AnswerAtTheBordersOfProjectedShapesToTheLastBit) {
  RandomRegions random(4, {0, 10, 0});
  for (int n = 0; n < 60; ++n) {
    const std::unique_ptr<Region> region = random.leaf();
    std::vector<float> positions;
    for (int pair = 0; pair < 60; ++pair) {
      Math::Point<float, 3> in = random.shapes().point<3>();
      Math::Point<float, 3> out = random.shapes().point<3>();
      if (!region->pointInside(in)) std::swap(in, out);
      if (!region->pointInside(in) || region->pointInside(out)) continue;
      const auto asShape = [&](const Math::Point<float, 3>& p) { return region->pointInside(p); };
      struct Shape {
        decltype(asShape)& ask;
        bool inside(const Math::Point<float, 3>& p) const { return ask(p); }
      };
      Testing::closeInOnBorder(Shape{asShape}, in, out);
      positions.insert(positions.end(), {in[0], in[1], in[2], out[0], out[1], out[2]});
    }
    ASSERT_EQ(inBatches(*region, positions), oneByOne(*region, positions)) << "region " << n;
  }
}

TEST(RegionBatches, GiveTheSameBitsOnEveryProcessor) {
  RandomRegions random(5, {0, 10, 40});
  const auto positions = points(random, 600);
  std::vector<std::unique_ptr<Region>> regions;
  std::vector<std::vector<std::uint8_t>> expected;
  for (int n = 0; n < 150; ++n) {
    regions.push_back(random.tree(1));
    expected.push_back(oneByOne(*regions.back(), positions));
  }
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    for (std::size_t n = 0; n < regions.size(); ++n) {
      ASSERT_EQ(inBatches(*regions[n], positions), expected[n])
          << hwy::TargetName(target) << ", region " << n;
      ASSERT_EQ(bySearch(*regions[n], positions), expected[n]) << hwy::TargetName(target) << ", region " << n;
    }
  }
  hwy::SetSupportedTargetsForTest(0);
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

TEST(RegionSearches, FindEachPointInsideOnce) {
  for (const std::size_t count : {0U, 1U, 32U, 33U, 512U, 513U, 9'000U}) {
    RandomRegions random(static_cast<unsigned>(count), {0, 10, 0});
    const auto positions = points(random, count);
    for (int n = 0; n < 25; ++n) {
      const std::unique_ptr<Region> region = random.tree(2);
      ASSERT_EQ(bySearch(*region, positions), oneByOne(*region, positions))
          << count << " points, region " << n;
    }
  }
}

TEST(RegionSearches, FindPointsThatAreNotFinite) {
  RandomRegions random(6, {0, 10, 5});
  for (int n = 0; n < 100; ++n) {
    const std::unique_ptr<Region> region = random.tree(2);
    const auto positions = points(random, 1500);
    ASSERT_EQ(bySearch(*region, positions), oneByOne(*region, positions)) << "region " << n;
  }
}

}  // namespace
