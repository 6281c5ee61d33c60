#include "brotli/LiteralContexts.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <numeric>

#include "brotli/BitCost.h"

namespace Brotli {
namespace {

constexpr std::size_t kFewLiterals = 768;   // one code does for them
constexpr std::size_t kMostSampled = 1024;  // literals of a segment
constexpr std::size_t kPiece = 32;
constexpr int kMostUsed = 40;                // contexts: where nearly all occur, the byte before says little
constexpr std::size_t kNumBuckets = 32;      // byte values that are counted together
constexpr Cost kBucketCost = 24 * kBitCost;  // what a bucket that is used adds to the description of a code
constexpr Cost kContextCost =
    kBitCost * 5 / 8;  // of a literal that is decoded by its context: it takes longer
constexpr std::array kModes{ContextMode::LowBits, ContextMode::HighBits, ContextMode::Signed};

constexpr std::uint8_t signedClass(unsigned byte) {
  if (byte == 0) return 0;
  if (byte < 16) return 1;
  if (byte < 64) return 2;
  if (byte < 128) return 3;
  if (byte < 192) return 4;
  if (byte < 240) return 5;
  return byte < 255 ? 6 : 7;
}

constexpr ContextTable makeTable(ContextMode mode) {
  ContextTable table{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    switch (mode) {
      case ContextMode::LowBits:
        table.ofLast[byte] = static_cast<std::uint8_t>(byte & 63U);
        break;
      case ContextMode::HighBits:
        table.ofLast[byte] = static_cast<std::uint8_t>(byte >> 2U);
        break;
      case ContextMode::Signed:
        table.ofLast[byte] = static_cast<std::uint8_t>(signedClass(byte) << 3U);
        table.ofSecondLast[byte] = signedClass(byte);
        break;
    }
  }
  return table;
}

constexpr ContextTable kLowBits = makeTable(ContextMode::LowBits);
constexpr ContextTable kHighBits = makeTable(ContextMode::HighBits);
constexpr ContextTable kSigned = makeTable(ContextMode::Signed);

/// Small numbers, of either sign, are told apart; others by their high half.
constexpr std::size_t bucketOf(unsigned byte) {
  if (byte < 8) return byte;
  if (byte >= 248) return byte - 224;
  return 8 + (byte >> 4U);
}

constexpr auto makeBuckets() {
  std::array<std::uint8_t, 256> buckets{};
  for (unsigned byte = 0; byte < buckets.size(); ++byte)
    buckets[byte] = static_cast<std::uint8_t>(bucketOf(byte));
  return buckets;
}
constexpr auto kBuckets = makeBuckets();

/// How often literals of a context fall into each bucket.
using Sketch = std::array<std::uint32_t, kNumBuckets>;
struct Sketches {
  std::array<Sketch, kNumContexts> of{};
  std::uint64_t used = 0;  // a bit for each context that occurs

  void count(std::size_t context, std::size_t bucket) {
    ++of[context][bucket];
    used |= std::uint64_t{1} << context;
  }
  /// Calls @p visit(context) for those that occur.
  template <class Visit>
  void forEachUsed(const Visit& visit) const {
    for (std::uint64_t rest = used; rest != 0; rest &= rest - 1) {
      visit(static_cast<std::size_t>(std::countr_zero(rest)));
    }
  }
};

/// A sample of literals, by each mode.
struct Sample {
  std::array<Sketches, kModes.size()> modes{};
  std::uint32_t size = 0;

  void count(std::span<const std::byte> data, std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
      const std::byte last = i > 0 ? data[i - 1] : std::byte{0};
      const std::byte secondLast = i > 1 ? data[i - 2] : std::byte{0};
      const std::size_t bucket = kBuckets[std::to_integer<std::size_t>(data[i])];
      modes[0].count(kLowBits.context(last, secondLast), bucket);
      modes[1].count(kHighBits.context(last, secondLast), bucket);
      modes[2].count(kSigned.context(last, secondLast), bucket);
    }
    size += static_cast<std::uint32_t>(end - begin);
  }
};

void sampleLiterals(std::span<const std::byte> data, const MetaBlock& block, const Segment& segment,
                    std::size_t numLiterals, Sample& sample) {
  // Whole pieces, so that all lanes of elements come.
  const std::size_t step = numLiterals / kMostSampled + 1;
  std::size_t skipped = step - 1;
  forEachLiteralRun(block, segment, [&](std::size_t begin, std::size_t end) {
    for (; begin < end; begin += kPiece) {
      if (++skipped < step) continue;
      skipped = 0;
      sample.count(data, begin, std::min(end, begin + kPiece));
    }
  });
}

std::uint32_t total(const Sketch& sketch) { return std::accumulate(sketch.begin(), sketch.end(), 0U); }

Sketch sum(const Sketch& a, const Sketch& b) {
  Sketch result;
  for (std::size_t i = 0; i < a.size(); ++i) result[i] = a[i] + b[i];
  return result;
}

std::int64_t usedBuckets(const Sketch& sketch) {
  return std::count_if(sketch.begin(), sketch.end(), [](std::uint32_t n) { return n != 0; });
}

/// What a code costs: its symbols, scaled from the sample to all literals, and its description.
Cost codeCost(const Sketch& sketch, std::int64_t scale) {
  return entropyCost(sketch) * scale +
         std::min<Cost>(usedBuckets(sketch) * kBucketCost, total(sketch) * scale * 8 * kBitCost);
}

struct Clusters {
  LiteralModel model;
  Cost cost = 0;
};

/// Puts contexts, those of many literals first, each into the cluster where it costs least, or into a new
/// one.
Clusters cluster(const Sketches& contexts, std::int64_t scale) {
  std::array<std::uint32_t, kNumContexts> totals{};
  std::array<std::uint8_t, kNumContexts> order{};
  std::size_t used = 0;
  contexts.forEachUsed([&](std::size_t c) {
    totals[c] = total(contexts.of[c]);
    order[used++] = static_cast<std::uint8_t>(c);
  });
  std::stable_sort(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(used),
                   [&](std::uint8_t a, std::uint8_t b) { return totals[a] > totals[b]; });
  Clusters result;
  result.model.numClusters = 0;
  std::array<Sketch, LiteralModel::kMostClusters> sums{};
  std::array<Cost, LiteralModel::kMostClusters> costs{};
  for (std::size_t i = 0; i < used; ++i) {
    const Sketch& sketch = contexts.of[order[i]];
    std::size_t best = result.model.numClusters;
    const Cost alone = codeCost(sketch, scale);
    Cost bestIncrease = best < sums.size() ? alone : std::numeric_limits<Cost>::max();
    for (std::size_t k = 0; k < result.model.numClusters; ++k) {
      const Cost increase = codeCost(sum(sums[k], sketch), scale) - costs[k];
      if (increase < bestIncrease) {
        bestIncrease = increase;
        best = k;
      }
    }
    if (best == result.model.numClusters) ++result.model.numClusters;
    sums[best] = sum(sums[best], sketch);
    costs[best] += bestIncrease;
    result.model.clusterOf[order[i]] = static_cast<std::uint8_t>(best);
  }
  result.cost = std::accumulate(costs.begin(), costs.end(), Cost{0});
  if (result.model.numClusters > 1) {
    result.cost +=
        static_cast<Cost>(std::accumulate(totals.begin(), totals.end(), 0U)) * scale * kContextCost;
  }
  return result;
}

/// The best clusters of the best mode.
Clusters bestClusters(const Sample& sample, std::int64_t scale) {
  Sketch all{};
  sample.modes[0].forEachUsed([&](std::size_t c) { all = sum(all, sample.modes[0].of[c]); });
  Clusters together{{}, codeCost(all, scale)};
  // A mode whose contexts, each with a code for nothing, would not save enough need not be clustered.
  Cost least = together.cost - static_cast<Cost>(sample.size) * scale * kContextCost - 4 * kBucketCost;
  std::size_t best = kModes.size();
  for (std::size_t m = 0; m < kModes.size(); ++m) {
    if (std::popcount(sample.modes[m].used) > kMostUsed) continue;
    Cost apart = 0;
    sample.modes[m].forEachUsed([&](std::size_t c) {
      const Sketch& sketch = sample.modes[m].of[c];
      apart += entropyCost(sketch) + usedBuckets(sketch) * kBitCost * 3 / 4;
    });
    if (apart * scale < least) {
      least = apart * scale;
      best = m;
    }
  }
  if (best == kModes.size()) return together;
  Clusters clusters = cluster(sample.modes[best], scale);
  clusters.model.mode = kModes[best];
  return clusters.cost < together.cost ? clusters : together;
}

}  // namespace

const ContextTable& contextTable(ContextMode mode) {
  switch (mode) {
    case ContextMode::HighBits:
      return kHighBits;
    case ContextMode::Signed:
      return kSigned;
    case ContextMode::LowBits:
      break;
  }
  return kLowBits;
}

LiteralModel chooseLiteralModel(std::span<const std::byte> data, const MetaBlock& block,
                                const Segment& segment, std::size_t numLiterals) {
  if (numLiterals < kFewLiterals) return {};
  Sample sample;
  sampleLiterals(data, block, segment, numLiterals, sample);
  return bestClusters(sample, static_cast<std::int64_t>((numLiterals + sample.size / 2) / sample.size)).model;
}

}  // namespace Brotli
