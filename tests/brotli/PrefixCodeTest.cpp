#include <gmock/gmock.h>

#include <bit>
#include <functional>
#include <numeric>
#include <queue>

#include "brotli/PrefixCode.h"
#include "brotli/StreamReader.h"
#include "sample/RandomBits.h"

namespace {

using Brotli::PrefixCode;
using Counts = std::vector<std::uint32_t>;

/// A code, and its description as a decoder understands it.
struct Described {
  PrefixCode code;
  std::vector<unsigned> lengths;
  std::uint64_t descriptionBits = 0;
};

/// Describes a code and writes all its symbols, which must come back.
Described described(const Counts& counts) {
  Described result;
  Brotli::BitWriter out;
  out.reserve(PrefixCode::mostDescriptionBits(counts.size()));
  result.code.describe(counts, out);
  result.descriptionBits = out.numBits();
  out.reserve(counts.size() * PrefixCode::kLongest + 8);
  for (std::size_t s = 0; s < counts.size(); ++s) {
    if (counts[s] != 0) result.code.write(out, s);
  }
  out.alignToByte();
  Testing::BitReader bits(out.bytes());
  const Testing::StreamCode read(bits, counts.size());
  EXPECT_EQ(bits.position(), result.descriptionBits);
  for (std::size_t s = 0; s < counts.size(); ++s) {
    if (counts[s] != 0) {
      EXPECT_EQ(read.take(bits), s);
    }
  }
  result.lengths = read.lengths();
  return result;
}

/// Huffman's code without a limit: its bits, and its depth where equal counts are taken shallow ones first.
struct Huffman {
  std::uint64_t bits = 0;
  unsigned depth = 0;

  explicit Huffman(const Counts& counts) {
    using Node = std::pair<std::uint64_t, unsigned>;  // count and depth
    std::priority_queue<Node, std::vector<Node>, std::greater<>> queue;
    for (const std::uint32_t count : counts) {
      if (count != 0) queue.emplace(count, 0);
    }
    while (queue.size() > 1) {
      const Node first = queue.top();
      queue.pop();
      const Node second = queue.top();
      queue.pop();
      bits += first.first + second.first;  // one bit more for all below
      queue.emplace(first.first + second.first, std::max(first.second, second.second) + 1);
    }
    depth = queue.top().second;
  }
};

Counts randomCounts(std::size_t size, std::uint64_t seed) {
  Sample::RandomBits random(seed);
  Counts counts(size);
  for (std::uint32_t& count : counts) {
    const std::uint64_t bits = random.next();
    if (bits % 3 != 0) count = static_cast<std::uint32_t>(bits >> 32U) >> (bits / 3 % 32);
    count %= 100'000;
  }
  return counts;
}

Counts fibonacciCounts(std::size_t size) {
  Counts counts{1, 1};
  while (counts.size() < size) counts.push_back(counts.end()[-1] + counts.end()[-2]);
  return counts;
}

TEST(PrefixCode, NoSymbolIsDescribedAsOne) { EXPECT_EQ(described(Counts(26)).code.length(0), 0U); }

TEST(PrefixCode, OneSymbolTakesNoBits) {
  for (std::size_t symbol = 0; symbol < 256; ++symbol) {
    Counts counts(256);
    counts[symbol] = 10;
    EXPECT_EQ(described(counts).code.length(symbol), 0U);
  }
}

TEST(PrefixCode, TwoToFourSymbolsAreDescribedByTheirNames) {
  EXPECT_THAT(described({0, 3, 0, 1000, 0}).lengths, testing::ElementsAre(0, 1, 0, 1, 0));
  EXPECT_THAT(described({5, 1, 0, 0, 2}).lengths, testing::ElementsAre(1, 2, 0, 0, 2));
  EXPECT_THAT(described({1, 90, 0, 10, 2}).lengths, testing::ElementsAre(3, 1, 0, 2, 3));
  const Described level = described({4, 4, 4, 4});
  EXPECT_THAT(level.lengths, testing::ElementsAre(2, 2, 2, 2));
  EXPECT_EQ(level.descriptionBits, 2U + 2U + 4U * 2U + 1U);
}

TEST(PrefixCode, EqualCountsGetEqualLengths) {
  for (const std::size_t size : {8U, 16U, 64U, 256U, 512U}) {
    EXPECT_THAT(described(Counts(size, 3)).lengths, testing::Each(std::bit_width(size) - 1));
  }
}

TEST(PrefixCode, IsAsShortAsHuffmans) {
  for (std::uint64_t seed = 0; seed < 200; ++seed) {
    const Counts counts = randomCounts(5 + seed * 3, seed);
    const Described result = described(counts);
    const Huffman shortest(counts);
    if (shortest.depth <= PrefixCode::kLongest) {
      EXPECT_EQ(result.code.bitsFor(counts), shortest.bits) << "seed " << seed;
    } else {
      EXPECT_LT(result.code.bitsFor(counts), shortest.bits + shortest.bits / 500) << "seed " << seed;
    }
  }
}

TEST(PrefixCode, NoCodeIsLongerThanFifteenBits) {
  for (const std::size_t size : {17U, 20U, 30U, 40U}) {
    const Counts counts = fibonacciCounts(size);
    const Described result = described(counts);
    EXPECT_LE(*std::max_element(result.lengths.begin(), result.lengths.end()), PrefixCode::kLongest);
    EXPECT_LT(result.code.bitsFor(counts), Huffman(counts).bits * 21 / 20);
  }
}

TEST(PrefixCode, LengthsFillTheCodeExactly) {
  for (const std::size_t size : {2U, 3U, 4U, 5U, 18U, 256U, 400U, 704U}) {
    for (std::uint64_t seed = 0; seed < 20; ++seed) {
      Counts counts = randomCounts(size, seed);
      counts.front() = 1;
      counts.back() = 99'999;
      std::uint64_t sum = 0;
      for (const unsigned length : described(counts).lengths) sum += length == 0 ? 0 : 1U << 15U >> length;
      EXPECT_EQ(sum, 1U << 15U) << size << " symbols, seed " << seed;
    }
  }
}

TEST(PrefixCode, DescribesAllSymbolsOfTheLargestAlphabet) {
  EXPECT_THAT(described(Counts(Brotli::kLargestAlphabet, 1)).lengths, testing::Each(testing::AnyOf(9, 10)));
}

TEST(PrefixCode, DescribesRowsOfAbsentSymbolsOfAnyLength) {
  for (std::size_t gap = 0; gap < 690; ++gap) {
    Counts counts(gap + 8, 1);
    std::fill_n(counts.begin() + 4, gap, 0);
    counts[2] = 50;
    described(counts);
  }
}

TEST(PrefixCode, DescriptionsStayUnderTheirBound) {
  for (std::uint64_t seed = 0; seed < 100; ++seed) {
    const Counts counts = randomCounts(704 - seed, seed);
    EXPECT_LE(described(counts).descriptionBits, PrefixCode::mostDescriptionBits(counts.size()));
  }
}

TEST(PrefixCode, BytesThatAreNearlyLevelGetEightBitsEach) {
  Counts counts(256, 1000);
  for (std::size_t i = 0; i < counts.size(); ++i) counts[i] += static_cast<std::uint32_t>(i % 40);
  EXPECT_THAT(described(counts).lengths, testing::Each(8U));
}

TEST(PrefixCode, KnowsNothingOfTheCodeBefore) {
  PrefixCode code;
  Brotli::BitWriter out;
  out.reserve(2 * PrefixCode::mostDescriptionBits(100));
  code.describe(Counts(100, 1), out);
  code.describe(Counts{0, 7, 0}, out);
  EXPECT_EQ(code.length(1), 0U);
  EXPECT_EQ(code.bitsFor(Counts{0, 7, 0}), 0U);
}

}  // namespace
