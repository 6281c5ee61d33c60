#include <gmock/gmock.h>

#include <numeric>

#include "brotli/LiteralContexts.h"
#include "brotli/TestColumns.h"
#include "sample/RandomBits.h"

namespace {

using Brotli::ContextMode;
using Brotli::LiteralModel;
using Testing::Bytes;

std::size_t contextOf(ContextMode mode, unsigned last, unsigned secondLast) {
  return Brotli::contextTable(mode).context(static_cast<std::byte>(last), static_cast<std::byte>(secondLast));
}

/// The model of data that are literals from the first byte to the last.
LiteralModel modelOf(const Bytes& data) {
  Brotli::MetaBlock block;
  block.segments.push_back({0, data.size(), 0, 1, 0});
  block.commands.push_back({static_cast<std::uint32_t>(data.size()), 0, 0});
  return Brotli::chooseLiteralModel(data, block, block.segments[0], data.size());
}

/// Numbers with any low byte and a high byte of 0 or 255.
Bytes signedNumbers(std::size_t count) {
  return Testing::columnOf(count, [](std::size_t i) {
    return static_cast<std::int16_t>(static_cast<std::int64_t>(Sample::mixBits(i) % 300) - 150);
  });
}

TEST(LiteralContexts, LowAndHighBitsAreThoseOfTheLastByte) {
  for (unsigned last = 0; last < 256; ++last) {
    for (const unsigned secondLast : {0U, 77U, 255U}) {
      ASSERT_EQ(contextOf(ContextMode::LowBits, last, secondLast), last % 64);
      ASSERT_EQ(contextOf(ContextMode::HighBits, last, secondLast), last / 4);
    }
  }
}

TEST(LiteralContexts, SignedOnesAreClassesOfBothBytes) {
  // The last bytes of the classes (RFC 7932, section 7.1, the table Lut2).
  constexpr std::array<unsigned, 8> kLast{0, 15, 63, 127, 191, 239, 254, 255};
  const auto classOf = [&](unsigned byte) {
    return static_cast<std::size_t>(std::lower_bound(kLast.begin(), kLast.end(), byte) - kLast.begin());
  };
  for (unsigned last = 0; last < 256; ++last) {
    for (unsigned secondLast = 0; secondLast < 256; ++secondLast) {
      ASSERT_EQ(contextOf(ContextMode::Signed, last, secondLast), classOf(last) * 8 + classOf(secondLast));
    }
  }
}

TEST(LiteralContexts, LanesOfNumbersOfSixteenBitsGetCodesOfTheirOwn) {
  const LiteralModel model = modelOf(signedNumbers(5000));
  ASSERT_GT(model.numClusters, 1U);
  // A low byte stands behind a high one, which is 0 or 255; a high byte behind a low one of any value.
  const auto clusterAfter = [&](unsigned last, unsigned secondLast) {
    return model.clusterOf[contextOf(model.mode, last, secondLast)];
  };
  EXPECT_NE(clusterAfter(0, 90), clusterAfter(90, 0));
  EXPECT_NE(clusterAfter(255, 200), clusterAfter(200, 255));
}

TEST(LiteralContexts, SegmentsOfFewLiteralsHaveOneCode) {
  EXPECT_EQ(modelOf(signedNumbers(300)).numClusters, 1U);
}

TEST(LiteralContexts, RandomBytesHaveOneCode) {
  EXPECT_EQ(modelOf(Testing::randomBytes(20'000)).numClusters, 1U);
}

TEST(LiteralContexts, ClustersAreNoMoreThanStated) {
  for (std::size_t stride = 1; stride < 20; ++stride) {
    const LiteralModel model = modelOf(Testing::variedColumn(3000, stride));
    EXPECT_LE(model.numClusters, LiteralModel::kMostClusters);
    EXPECT_THAT(model.clusterOf, testing::Each(testing::Lt(model.numClusters)));
  }
}

TEST(LiteralRuns, AreTheBytesBetweenCopies) {
  Brotli::MetaBlock block;
  block.segments.push_back({10, 40, 0, 2, 3});  // three bytes before are inserted by the first command
  block.commands = {{8, 5, 4}, {0, 6, 4}};
  std::vector<std::pair<std::size_t, std::size_t>> runs;
  Brotli::forEachLiteralRun(block, block.segments[0],
                            [&](std::size_t begin, std::size_t end) { runs.emplace_back(begin, end); });
  EXPECT_THAT(runs, testing::ElementsAre(testing::Pair(10, 15), testing::Pair(26, 40)));
}

}  // namespace
