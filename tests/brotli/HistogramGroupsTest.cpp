#include <gmock/gmock.h>

#include <numeric>

#include "brotli/HistogramGroups.h"
#include "sample/RandomBits.h"

namespace {

using Brotli::HistogramGroups;
using Counts = std::vector<std::uint32_t>;

HistogramGroups grouped(const std::vector<Counts>& parts, std::size_t mostGroups = 64) {
  HistogramGroups groups;
  groups.reset(parts.size(), parts.front().size());
  for (std::size_t i = 0; i < parts.size(); ++i)
    std::copy(parts[i].begin(), parts[i].end(), groups.counts(i).begin());
  groups.group(mostGroups, 100);
  return groups;
}

/// Counts of 16 symbols, most of them @p usual.
Counts mostly(std::size_t usual, std::uint32_t times) {
  Counts counts(16, times / 50);
  counts[usual] = times;
  return counts;
}

TEST(HistogramGroups, PartsThatAreAlikeShareACode) {
  const HistogramGroups groups = grouped({mostly(3, 500), mostly(3, 600), mostly(3, 700)});
  EXPECT_EQ(groups.numGroups(), 1U);
}

TEST(HistogramGroups, PartsThatDifferHaveCodesOfTheirOwn) {
  const HistogramGroups groups = grouped({mostly(3, 500), mostly(9, 500), mostly(3, 600), mostly(9, 700)});
  ASSERT_EQ(groups.numGroups(), 2U);
  EXPECT_EQ(groups.groupOf(0), 0U);
  EXPECT_EQ(groups.groupOf(1), 1U);
  EXPECT_EQ(groups.groupOf(2), 0U);
  EXPECT_EQ(groups.groupOf(3), 1U);
}

TEST(HistogramGroups, PartsOfFewSymbolsShareThoughTheyDiffer) {
  EXPECT_EQ(grouped({mostly(3, 5), mostly(9, 5), mostly(12, 5)}).numGroups(), 1U);
}

TEST(HistogramGroups, PartsWithoutSymbolsAreInTheFirstGroup) {
  const HistogramGroups groups = grouped({Counts(16), mostly(3, 500), Counts(16), mostly(9, 500)});
  EXPECT_EQ(groups.groupOf(0), 0U);
  EXPECT_EQ(groups.groupOf(1), 0U);
  EXPECT_EQ(groups.groupOf(2), 0U);
  EXPECT_EQ(groups.groupOf(3), 1U);
}

TEST(HistogramGroups, AreOneWhereThereIsNoSymbol) {
  const HistogramGroups groups = grouped({Counts(16), Counts(16)});
  EXPECT_EQ(groups.numGroups(), 1U);
  EXPECT_THAT(groups.groupCounts(0), testing::Each(0U));
}

TEST(HistogramGroups, AreNoMoreThanAllowed) {
  std::vector<Counts> parts;
  for (std::size_t i = 0; i < 60; ++i) parts.push_back(mostly(i % 16, 5000));
  const HistogramGroups groups = grouped(parts, 5);
  EXPECT_EQ(groups.numGroups(), 5U);
  for (std::size_t i = 0; i < parts.size(); ++i) EXPECT_LT(groups.groupOf(i), 5U);
}

TEST(HistogramGroups, CountWhatTheirPartsCount) {
  Sample::RandomBits random(4);
  std::vector<Counts> parts;
  for (std::size_t i = 0; i < 40; ++i)
    parts.push_back(mostly(random.next() % 16, static_cast<std::uint32_t>(random.next() % 900)));
  const HistogramGroups groups = grouped(parts);
  std::vector<Counts> expected(groups.numGroups(), Counts(16));
  std::size_t next = 0;  // new groups have rising numbers
  for (std::size_t i = 0; i < parts.size(); ++i) {
    EXPECT_LE(groups.groupOf(i), next);
    next = std::max(next, groups.groupOf(i) + 1);
    for (std::size_t s = 0; s < 16; ++s) expected[groups.groupOf(i)][s] += parts[i][s];
  }
  for (std::size_t g = 0; g < groups.numGroups(); ++g) {
    EXPECT_THAT(groups.groupCounts(g), testing::ElementsAreArray(expected[g]));
  }
}

TEST(HistogramGroups, BeginAnew) {
  HistogramGroups groups = grouped({mostly(3, 500), mostly(9, 500)});
  groups.reset(1, 4);
  groups.counts(0)[2] = 7;
  groups.group(64, 100);
  EXPECT_EQ(groups.numGroups(), 1U);
  EXPECT_THAT(groups.groupCounts(0), testing::ElementsAre(0, 0, 7, 0));
}

}  // namespace
