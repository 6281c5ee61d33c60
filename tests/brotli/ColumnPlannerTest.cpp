#include <gmock/gmock.h>

#include "brotli/ColumnPlanner.h"
#include "brotli/SurveyNode.h"
#include "brotli/TestColumns.h"
#include "sample/RandomBits.h"

namespace {

using Brotli::ColumnPlan;
using Brotli::ColumnPlanner;
using Testing::Bytes;

ColumnPlan planOf(const Bytes& column, std::size_t stride) {
  return ColumnPlanner().plan(column, {0, column.size(), stride});
}

TEST(ColumnPlanner, LooksNothingUpInRandomBytes) {
  for (const std::size_t stride : {1U, 2U, 3U, 8U, 16U}) {
    EXPECT_TRUE(planOf(Testing::randomBytes(stride * 2000), stride).lookupLanes.empty()) << stride;
  }
}

TEST(ColumnPlanner, CopiesNothingFromElementsThatLieBeyondTheWindow) {
  const Bytes two(2 * (Brotli::ColumnParser::kFarthest + 1));
  EXPECT_FALSE(planOf(two, two.size() / 2).copies);
}

TEST(ColumnPlanner, CopiesTheElementBeforeInSortedPositions) {
  const ColumnPlan plan = planOf(Testing::columnAlone(Testing::surveyNode(20'000), 0).data, 16);
  EXPECT_TRUE(plan.copies);
  EXPECT_TRUE(plan.lookupLanes.empty());
}

TEST(ColumnPlanner, LooksUpValuesThatStoodThereBefore) {
  const Bytes column =
      Testing::columnOf(3000, [](std::size_t i) { return Sample::mixBits(Sample::mixBits(i) % 50); });
  EXPECT_THAT(planOf(column, 8).lookupLanes, testing::Contains(0));
}

TEST(ColumnPlanner, LooksUpTheRestBehindAByteOfChance) {
  const Bytes column = Testing::columnOf(3000, [](std::size_t i) {
    const std::uint64_t bits = Sample::mixBits(i);
    return Sample::mixBits(bits % 50) << 8U | bits >> 56U;
  });
  EXPECT_THAT(planOf(column, 8).lookupLanes, testing::Contains(1));
}

TEST(ColumnPlanner, CopiesNothingOfElementsLongerThanTheWindow) {
  constexpr std::size_t kStride = Brotli::ColumnParser::kFarthest + 1;
  EXPECT_FALSE(planOf(Bytes(2 * kStride), kStride).copies);
}

TEST(ColumnPlanner, PlansOneElement) { EXPECT_TRUE(planOf(Testing::randomBytes(8), 8).lookupLanes.empty()); }

TEST(ColumnPlanner, PlansAlikeWhateverItPlannedBefore) {
  const Testing::Columns times = Testing::columnAlone(Testing::surveyNode(3000), 9);
  const Brotli::ColumnRange range{0, times.data.size(), 8};
  ColumnPlanner planner;
  const ColumnPlan first = planner.plan(times.data, range);
  (void)planner.plan(Testing::randomBytes(5000), {0, 5000, 5});
  const ColumnPlan second = planner.plan(times.data, range);
  EXPECT_EQ(first.copies, second.copies);
  EXPECT_EQ(first.lookupLanes, second.lookupLanes);
}

}  // namespace
