#include <gmock/gmock.h>

#include <utility>
#include <vector>

#include "converter/CubePoint.h"
#include "sample/RandomBits.h"

namespace {

using Converter::CubePoint;

/// Random points, and pairs that have their highest bits in common.
std::vector<std::pair<CubePoint, CubePoint>> randomPairs() {
  Sample::RandomBits random(1);
  const auto next = [&] { return static_cast<std::uint32_t>(random.next()); };
  std::vector<std::pair<CubePoint, CubePoint>> pairs;
  for (unsigned i = 0; i < 5'000; ++i) {
    const CubePoint a{next(), next(), next()};
    const auto low = [&] { return static_cast<std::uint32_t>(random.next() >> 32U >> i % 33); };
    pairs.emplace_back(a, CubePoint{a.x ^ low(), a.y ^ low(), a.z ^ low()});
  }
  return pairs;
}

TEST(CubePoint, TheOrderAlongTheCurveIsThatOfTheChildIndices) {
  for (const auto& [a, b] : randomPairs()) {
    auto expected = std::strong_ordering::equal;
    for (unsigned level = 0; level < 32 && expected == 0; ++level) {
      expected = childIndexAt(a, level) <=> childIndexAt(b, level);
    }
    ASSERT_EQ(compareAlongCurve(a, b), expected) << a.x << ' ' << a.y << ' ' << a.z;
    ASSERT_EQ(compareAlongCurve(b, a), 0 <=> expected);
  }
}

TEST(CubePoint, AKeyHoldsTheNext21ChildIndices) {
  for (const auto& [a, b] : randomPairs()) {
    for (const unsigned level : {0U, 1U, 10U, 11U, 12U, 21U, 31U}) {
      std::uint64_t expected = 0;
      for (unsigned k = 0; k < 21; ++k)
        expected = expected << 3U | (level + k < 32 ? childIndexAt(b, level + k) : 0);
      ASSERT_EQ(cellKey(b, level), expected) << level;
    }
  }
}

TEST(CubePoint, ChildIndicesHaveXInTheHighestBit) {
  EXPECT_EQ(Converter::childIndexAt({1U << 31U, 0, 0}, 0), 4);
  EXPECT_EQ(Converter::childIndexAt({0, 1U << 31U, 0}, 0), 2);
  EXPECT_EQ(Converter::childIndexAt({0, 0, 1U << 31U}, 0), 1);
  EXPECT_EQ(Converter::childIndexAt({1, 1, 0}, 31), 6);
}

}  // namespace
