#include <gmock/gmock.h>

#include <limits>

#include "formats/laz/ChunkEncoder.h"
#include "formats/laz/DecodedChunk.h"
#include "formats/laz/GpsTimeEncoder.h"
#include "support/LasFile.h"
#include "support/LasRecords.h"

namespace Testing {
namespace {

using Formats::Laz::LazVlr;

/// Encodes records that differ in their times alone, by both kinds of items, and expects them back.
/// @return the bytes of the shorter chunk.
std::size_t expectBack(const std::vector<std::uint64_t>& times) {
  std::size_t least = SIZE_MAX;
  for (const auto& [format, offset] : {std::pair<std::uint8_t, std::size_t>{1, 20}, {6, 22}}) {
    const LasRecordKind kind{format, 0};
    std::string records(times.size() * kind.length(), '\0');
    for (std::size_t i = 0; i < times.size(); ++i) put(records, i * kind.length() + offset, times[i]);
    const LazVlr vlr = Formats::Laz::lazVlrFor(format, 0);
    const std::vector<std::byte> chunk = Formats::Laz::encodeChunk(vlr, bytesOf(records));
    EXPECT_TRUE(decodedChunk(vlr, chunk, times.size()) == records) << "format " << int{format};
    least = std::min(least, chunk.size());
  }
  return least;
}

TEST(GpsTimeEncoder, KnowsEveryMultipleOfTheUsualDifference) {
  constexpr std::int64_t kUsual = 1000;
  std::vector<std::uint64_t> times{1ULL << 62U};
  for (std::int64_t multiple = -40; multiple <= 1100; ++multiple) {
    for (const std::int64_t more : {0, 3, -499, 500}) {
      times.push_back(times.back() + static_cast<std::uint64_t>(multiple * kUsual + more));
      times.push_back(times.back() + static_cast<std::uint64_t>(kUsual));
    }
  }
  expectBack(times);
}

TEST(GpsTimeEncoder, WrapsProductsOfLargeDifferences) {
  std::vector<std::uint64_t> times{0};
  for (const std::int64_t step : {2'000'000'000LL, -2'147'483'648LL, 2'147'483'647LL, -1LL, -2'147'483'648LL,
                                  5LL, 2'147'483'647LL, 0LL, 1LL, -2'147'483'648LL, 1'000'000'000LL}) {
    times.push_back(times.back() + static_cast<std::uint64_t>(step));
  }
  expectBack(times);
}

TEST(GpsTimeEncoder, GoesBackToSequencesThatItKnows) {
  constexpr std::size_t kTimes = 4000;
  const auto weave = [](std::size_t sequences) {
    std::vector<std::uint64_t> times;
    for (std::size_t i = 0; i < kTimes; ++i) times.push_back((i % sequences << 40U) + i * 100);
    return times;
  };
  const std::size_t four = expectBack(weave(4));
  EXPECT_LT(four, kTimes) << "bytes: a switch and a difference take less than one";
  EXPECT_GT(expectBack(weave(5)), 4 * kTimes) << "of five sequences each time is a new one";
}

TEST(GpsTimeEncoder, ForgetsADifferenceThatIsNoLongerUsual) {
  std::vector<std::uint64_t> times{0, 1};
  for (int i = 0; i < 2000; ++i) times.push_back(times.back() + 1'000'000);
  EXPECT_LT(expectBack(times), 1000U) << "bytes: half a byte each";
}

TEST(GpsTimeEncoder, TakesTimesThatAreNoNumbers) {
  const auto bits = [](double time) { return std::bit_cast<std::uint64_t>(time); };
  constexpr double kInfinite = std::numeric_limits<double>::infinity();
  const double none = std::numeric_limits<double>::quiet_NaN();
  expectBack({bits(none), bits(kInfinite), bits(-kInfinite), bits(0.0), bits(-0.0), bits(none), bits(5e-324),
              UINT64_MAX, 0, 1ULL << 63U, bits(1e308)});
}

}  // namespace
}  // namespace Testing
