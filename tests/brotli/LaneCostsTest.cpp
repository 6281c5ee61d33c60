#include <gmock/gmock.h>

#include "brotli/LaneCosts.h"
#include "brotli/TestColumns.h"

namespace {

using Brotli::kBitCost;
using Brotli::LaneCosts;
using Testing::Bytes;

LaneCosts costsOf(const Bytes& column, std::size_t stride) {
  return LaneCosts(column, {0, column.size(), stride});
}

TEST(LaneCosts, ALaneThatNeverChangesCostsNothing) {
  EXPECT_EQ(costsOf(Bytes(900, std::byte{9}), 3).ofElement(), 0);
}

TEST(LaneCosts, ARandomLaneCostsNearlyEightBits) {
  const LaneCosts costs = costsOf(Testing::randomBytes(20'000), 4);
  for (std::size_t lane = 0; lane < 4; ++lane) {
    EXPECT_GT(costs.of(lane), 7 * kBitCost);
    EXPECT_LE(costs.of(lane), 8 * kBitCost);
  }
}

TEST(LaneCosts, LanesAreToldApart) {
  const Bytes column = Testing::columnOf(
      500, [](std::size_t i) { return static_cast<std::uint32_t>(i % 2 + i % 4 * 0x10000); });
  const LaneCosts costs = costsOf(column, 4);
  EXPECT_NEAR(static_cast<double>(costs.of(0)), static_cast<double>(kBitCost), 20);
  EXPECT_EQ(costs.of(1), 0);
  EXPECT_NEAR(static_cast<double>(costs.of(2)), static_cast<double>(2 * kBitCost), 20);
  EXPECT_EQ(costs.of(3), 0);
}

TEST(LaneCosts, OneElementCostsNothing) { EXPECT_EQ(costsOf(Testing::randomBytes(10), 10).ofElement(), 0); }

TEST(LaneCosts, RowsOfBytesCostWhatTheirLanesDo) {
  const Bytes column = Testing::variedColumn(500, 7);
  for (const LaneCosts& costs : {costsOf(column, 7), costsOf(column, 7).atLeast(2 * kBitCost)}) {
    for (std::size_t lane = 0; lane < 7; ++lane) {
      Brotli::Cost sum = 0;
      for (std::size_t length = 0; length < 100; ++length) {
        EXPECT_EQ(costs.of(lane, length), sum) << lane << ", " << length;
        sum += costs.of((lane + length) % 7);
      }
    }
  }
}

TEST(LaneCosts, CheapLanesAreRaisedToTheLeast) {
  const Bytes column = Testing::variedColumn(500, 6);
  const LaneCosts costs = costsOf(column, 6);
  const LaneCosts raised = costs.atLeast(3 * kBitCost);
  for (std::size_t lane = 0; lane < 6; ++lane) {
    EXPECT_EQ(raised.of(lane), std::max(costs.of(lane), 3 * kBitCost)) << lane;
  }
}

TEST(LaneCosts, LookAtTheirColumnAlone) {
  Bytes data = Testing::randomBytes(1000);
  data.resize(2000, std::byte{1});
  EXPECT_EQ(LaneCosts(data, {1000, 2000, 10}).ofElement(), 0);
  EXPECT_GT(LaneCosts(data, {0, 1000, 10}).ofElement(), 0);
}

}  // namespace
