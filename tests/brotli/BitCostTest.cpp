#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "brotli/BitCost.h"

namespace {

double bits(Brotli::Cost cost) { return static_cast<double>(cost) / static_cast<double>(Brotli::kBitCost); }

TEST(BitCost, LogarithmsAreNearlyTheTrueOnesAndNeverLarger) {
  for (std::uint32_t n = 1; n < 3'000'000; n += 1 + n / 100) {
    ASSERT_NEAR(bits(Brotli::log2Cost(n)), std::log2(n), 2e-3) << n;
    ASSERT_LE(bits(Brotli::log2Cost(n)), std::log2(n)) << n;
  }
  EXPECT_NEAR(bits(Brotli::log2Cost(std::numeric_limits<std::uint32_t>::max())), 32, 2e-3);
}

TEST(BitCost, LogarithmsOfPowersOfTwoAreExact) {
  for (unsigned power = 0; power < 32; ++power) {
    EXPECT_EQ(Brotli::log2Cost(std::uint32_t{1} << power), power * Brotli::kBitCost);
  }
}

TEST(BitCost, LogarithmsNeverFall) {
  for (std::uint32_t n = 0; n < 10'000; ++n) ASSERT_LE(Brotli::log2Cost(n), Brotli::log2Cost(n + 1)) << n;
}

TEST(BitCost, EqualCountsCostTheSameNumberOfBitsEach) {
  EXPECT_EQ(Brotli::entropyCost(std::vector<std::uint32_t>{5, 0, 5, 5, 5}), 20 * 2 * Brotli::kBitCost);
}

TEST(BitCost, OneSymbolCostsNothing) {
  EXPECT_EQ(Brotli::entropyCost(std::vector<std::uint32_t>{0, 1000, 0}), 0);
  EXPECT_EQ(Brotli::entropyCost(std::vector<std::uint32_t>{0, 0}), 0);
}

TEST(BitCost, UnlikeCountsCostTheirEntropy) {
  const double expected = 30 * std::log2(40.0 / 30) + 10 * std::log2(40.0 / 10);
  EXPECT_NEAR(bits(Brotli::entropyCost(std::vector<std::uint32_t>{30, 10})), expected, 0.1);
}

}  // namespace
