#include <gmock/gmock.h>

#include "core/http/RetryPlan.h"
#include "core/http/TransferPace.h"

namespace {

using Core::RetryPlan;
using Failure = Core::RetryPlan::Failure;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::Eq;
using testing::Optional;

constexpr RetryPlan::Time kNoTime{};

std::optional<RetryPlan::Time> busy(RetryPlan& plan, RetryPlan::Time waited = {},
                                    std::optional<seconds> retryAfter = {}) {
  return plan.pauseAfter(Failure::Passing, "busy", waited, retryAfter);
}

TEST(RetryPlan, DoublesItsPausesUntilTheTriesAreUsedUp) {
  RetryPlan plan({}, 5);
  for (const int pause : {250, 500, 1000, 2000})
    EXPECT_THAT(busy(plan), Optional(Eq<RetryPlan::Time>(milliseconds(pause))));
  EXPECT_THAT(busy(plan), Eq(std::nullopt));
  EXPECT_TRUE(plan.endedPassing());
  EXPECT_EQ(plan.history(), "busy (5 tries)");
}

TEST(RetryPlan, PausesAsTheServerAsksUpToALimit) {
  RetryPlan plan({}, 5);
  EXPECT_THAT(busy(plan, kNoTime, seconds(7)), Optional(Eq<RetryPlan::Time>(seconds(7))));
  EXPECT_THAT(busy(plan, kNoTime, seconds(1000)), Optional(Eq<RetryPlan::Time>(seconds(30))));
  EXPECT_THAT(busy(plan, kNoTime, seconds(0)), Optional(Eq<RetryPlan::Time>(seconds(1))));
}

TEST(RetryPlan, EndsWhenAllWaitsTogetherUseUpTheBudget) {
  RetryPlan plan({}, 5);
  EXPECT_TRUE(busy(plan, seconds(29)));
  EXPECT_TRUE(busy(plan, seconds(29)));
  EXPECT_EQ(plan.waitingLeft(), milliseconds(1250));
  EXPECT_FALSE(busy(plan, seconds(1)));
}

TEST(RetryPlan, GivesWrongAnswersAndUnknownNamesOneMoreTry) {
  for (const Failure failure : {Failure::Wrong, Failure::Unresolved}) {
    RetryPlan plan({}, 5);
    EXPECT_TRUE(plan.pauseAfter(failure, "no", kNoTime, {}));
    EXPECT_FALSE(plan.pauseAfter(failure, "no", kNoTime, {}));
    EXPECT_EQ(plan.endedPassing(), failure == Failure::Unresolved);
  }
}

TEST(RetryPlan, GivesWhatDoesNotPassNoOtherTry) {
  RetryPlan plan({}, 5);
  EXPECT_TRUE(busy(plan));
  EXPECT_FALSE(plan.pauseAfter(Failure::Final, "certificate", kNoTime, {}));
  EXPECT_EQ(plan.history(), "busy, certificate");
}

TEST(TransferPace, FallsBehindWithoutBytesAndCatchesUpWithThem) {
  const Core::TransferPace::Clock::time_point start{};
  Core::TransferPace pace(start, 1000);
  EXPECT_EQ(pace.behind(start + seconds(20)), seconds(20));
  pace.received(start + seconds(20), 5'000);
  EXPECT_EQ(pace.behind(start + seconds(20)), seconds(15));
  pace.received(start + seconds(21), 1'000'000);
  EXPECT_EQ(pace.behind(start + seconds(21)), seconds(0)) << "and saves nothing up";
  EXPECT_EQ(pace.behind(start + seconds(22)), seconds(1));
}

TEST(TransferPace, CountsTheTimeOfSlowBytesAsWaiting) {
  const Core::TransferPace::Clock::time_point start{};
  Core::TransferPace pace(start, 1000);
  pace.received(start + seconds(2), 1999);
  EXPECT_EQ(pace.waited(start + seconds(2)), seconds(2));
  pace.received(start + seconds(3), 1000);
  EXPECT_EQ(pace.waited(start + seconds(3)), seconds(2)) << "fast enough";
  EXPECT_EQ(pace.waited(start + seconds(4)), seconds(3));
  pace.received(start + seconds(5), UINT64_MAX);
  EXPECT_EQ(pace.behind(start + seconds(5)), seconds(0));
}

}  // namespace
