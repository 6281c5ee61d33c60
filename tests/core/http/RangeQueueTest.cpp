#include <gmock/gmock.h>

#include "core/http/RangeQueue.h"

namespace {

using Core::ByteRange;
using Core::joinable;
using testing::ElementsAre;

TEST(Joinable, TakesNeighboursByRisingOffset) {
  const std::vector<ByteRange> ranges{{50, 10}, {70, 10}, {30, 15}, {200, 5}};
  EXPECT_THAT(joinable(ranges, 10, 1000), ElementsAre(2, 0, 1));
}

TEST(Joinable, TakesGapsUpToTheLimitAlone) {
  EXPECT_THAT(joinable(std::vector<ByteRange>{{0, 10}, {20, 5}}, 10, 1000), ElementsAre(0, 1));
  EXPECT_THAT(joinable(std::vector<ByteRange>{{0, 10}, {21, 5}}, 10, 1000), ElementsAre(0));
  EXPECT_THAT(joinable(std::vector<ByteRange>{{20, 5}, {0, 10}}, 9, 1000), ElementsAre(0));
}

TEST(Joinable, SpansNoMoreThanTheLimit) {
  const std::vector<ByteRange> ranges{{10, 10}, {20, 10}, {30, 10}, {0, 10}};
  EXPECT_THAT(joinable(ranges, 0, 20), ElementsAre(0, 1)) << "forwards first";
  EXPECT_THAT(joinable(ranges, 0, 5), ElementsAre(0)) << "a range that is too long goes alone";
}

TEST(Joinable, TakesWhatLiesInsideEvenOfARangeThatIsTooLong) {
  const std::vector<ByteRange> ranges{{0, 100}, {10, 5}, {0, 100}, {90, 20}};
  EXPECT_THAT(joinable(ranges, 0, 50), ElementsAre(0, 2, 1));
}

TEST(Joinable, ReachesTheEndOfTheNumbers) {
  const std::vector<ByteRange> ranges{{UINT64_MAX - 10, 10}, {0, 5}, {UINT64_MAX - 20, 10}};
  EXPECT_THAT(joinable(ranges, 64, 1000), ElementsAre(2, 0));
}

}  // namespace
