#include <gmock/gmock.h>

#include <functional>
#include <future>
#include <latch>
#include <memory>
#include <new>
#include <stdexcept>
#include <thread>
#include <utility>

#include "core/Job.h"

namespace {

using Core::JobOutcome;
using Core::JobState;
using testing::Optional;

constexpr int kUnexpected = 18;

/// A job whose work is given by the test.
class TestJob final : public Core::Job {
 public:
  using Work = std::function<JobOutcome(std::stop_token)>;

  explicit TestJob(Work work) : Job(kUnexpected), work_(std::move(work)) {}
  TestJob() : TestJob([](std::stop_token) { return JobOutcome{}; }) {}
  ~TestJob() override { cancelAndJoin(); }

  std::optional<double> share;
  std::optional<std::chrono::steady_clock::duration> left;

 private:
  JobOutcome work(std::stop_token stopToken) override { return work_(std::move(stopToken)); }
  [[nodiscard]] std::optional<double> shareDone() const override { return share; }
  [[nodiscard]] std::optional<std::chrono::steady_clock::duration> timeLeft() const override { return left; }

  Work work_;
};

/// Ends once it is told to, cancelled.
JobOutcome untilStopped(const std::stop_token& stopToken) {
  std::promise<void> stopped;
  const std::stop_callback callback(stopToken, [&] { stopped.set_value(); });
  stopped.get_future().wait();
  return {JobState::Cancelled, 0, {}};
}

void waitUntilStopped(const Core::Job& job) {
  while (!job.isStopped()) std::this_thread::yield();
}

TEST(Job, IsPendingAndStoppedBeforeItsStart) {
  const TestJob job;
  EXPECT_EQ(job.state(), JobState::Pending);
  EXPECT_TRUE(job.isStopped());
  EXPECT_FALSE(job.isRunning() || job.isCompleted() || job.isCancelled() || job.isFailed());
  EXPECT_EQ(job.resultCode(), 0);
  EXPECT_EQ(job.failedReason(), "");
}

TEST(Job, HasStatesOfFixedNumbers) {
  EXPECT_EQ(static_cast<int>(JobState::Pending), 0);
  EXPECT_EQ(static_cast<int>(JobState::Running), 1);
  EXPECT_EQ(static_cast<int>(JobState::Completed), 2);
  EXPECT_EQ(static_cast<int>(JobState::Cancelled), 3);
  EXPECT_EQ(static_cast<int>(JobState::Failed), 4);
}

TEST(Job, RunsItsWorkOnTheCallersThread) {
  std::thread::id worker;
  TestJob job([&](std::stop_token) {
    worker = std::this_thread::get_id();
    return JobOutcome{};
  });
  EXPECT_EQ(job.run(), JobState::Completed);
  EXPECT_EQ(worker, std::this_thread::get_id());
  EXPECT_TRUE(job.isCompleted() && job.isStopped());
}

TEST(Job, IsRunningWhileItsWorkRunsAndOnceItWasStarted) {
  std::latch release(1);
  JobState inside = JobState::Pending;
  TestJob* self = nullptr;
  TestJob job([&](std::stop_token) {
    inside = self->state();
    release.wait();
    return JobOutcome{};
  });
  self = &job;
  job.runAsync();
  EXPECT_TRUE(job.isRunning());
  EXPECT_FALSE(job.isStopped());
  release.count_down();
  waitUntilStopped(job);
  EXPECT_EQ(inside, JobState::Running);
  EXPECT_TRUE(job.isCompleted());
}

TEST(Job, RunsOnce) {
  int runs = 0;
  TestJob job([&](std::stop_token) {
    ++runs;
    return JobOutcome{JobState::Failed, 7, "broken"};
  });
  EXPECT_EQ(job.run(), JobState::Failed);
  EXPECT_EQ(job.run(), JobState::Failed);
  job.runAsync();
  EXPECT_EQ(job.state(), JobState::Failed);
  EXPECT_EQ(runs, 1);
}

TEST(Job, StartedByManyThreadsRunsOnce) {
  std::atomic<int> runs = 0;
  TestJob job([&](std::stop_token) {
    ++runs;
    return JobOutcome{};
  });
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; ++i) threads.emplace_back([&] { job.runAsync(); });
  }
  waitUntilStopped(job);
  EXPECT_EQ(runs, 1);
}

TEST(Job, TellsWhyItFailed) {
  TestJob job([](std::stop_token) { return JobOutcome{JobState::Failed, 12, "a.las cannot be read"}; });
  const std::string& before = job.failedReason();
  EXPECT_EQ(job.run(), JobState::Failed);
  EXPECT_EQ(before, "");
  EXPECT_EQ(job.resultCode(), 12);
  EXPECT_EQ(job.failedReason(), "a.las cannot be read");
}

TEST(Job, FailsWithItsCodeForExceptionsOfTheWork) {
  const auto failureOf = [](const TestJob::Work& work) {
    TestJob job(work);
    EXPECT_EQ(job.run(), JobState::Failed);
    EXPECT_EQ(job.resultCode(), kUnexpected);
    return job.failedReason();
  };
  EXPECT_EQ(failureOf([](std::stop_token) -> JobOutcome { throw std::runtime_error("no such thing"); }),
            "no such thing");
  EXPECT_EQ(failureOf([](std::stop_token) -> JobOutcome { throw std::bad_alloc(); }), "out of memory");
  EXPECT_EQ(failureOf([](std::stop_token) -> JobOutcome { throw 7; }), "an error of unknown kind");
}

TEST(Job, IsCancelledWhileItRuns) {
  TestJob job(untilStopped);
  job.runAsync();
  job.requestCancellation();
  job.requestCancellation();
  waitUntilStopped(job);
  EXPECT_TRUE(job.isCancelled());
  EXPECT_EQ(job.resultCode(), 0);
}

TEST(Job, CancelledBeforeItsStartNeverRuns) {
  TestJob job([](std::stop_token) -> JobOutcome { throw std::logic_error("ran"); });
  job.requestCancellation();
  EXPECT_TRUE(job.isCancelled());
  EXPECT_EQ(job.run(), JobState::Cancelled);
  job.runAsync();
  EXPECT_EQ(job.state(), JobState::Cancelled);
}

TEST(Job, StaysAsItEndedWhenItIsCancelledLater) {
  TestJob job;
  job.run();
  job.requestCancellation();
  EXPECT_EQ(job.state(), JobState::Completed);
}

TEST(Job, IsCancelledAndJoinedByItsDestructor) {
  bool ended = false;
  {
    TestJob job([&](const std::stop_token& stopToken) {
      const JobOutcome outcome = untilStopped(stopToken);
      ended = true;
      return outcome;
    });
    job.runAsync();
  }
  EXPECT_TRUE(ended);
}

TEST(Job, TellsItsProgressFromTheStartOn) {
  TestJob job(untilStopped);
  job.share = 0.25;
  EXPECT_EQ(job.progress(), std::nullopt);
  job.runAsync();
  EXPECT_THAT(job.progress(), Optional(0.25));
  job.requestCancellation();
  waitUntilStopped(job);
  EXPECT_THAT(job.progress(), Optional(0.25));
}

TEST(Job, IsAllDoneOnceItHasCompleted) {
  TestJob job;
  EXPECT_EQ(job.progress(), std::nullopt);
  job.run();
  EXPECT_THAT(job.progress(), Optional(1.0));
}

TEST(Job, TellsWhenItWillEndOnlyWhileItRuns) {
  TestJob job(untilStopped);
  job.left = std::chrono::hours(1);
  EXPECT_EQ(job.estimatedTimeOfArrival(), std::nullopt);
  job.runAsync();
  const auto now = std::chrono::system_clock::now();
  EXPECT_THAT(job.estimatedTimeOfArrival(), Optional(testing::Ge(now + std::chrono::hours(1))));
  job.requestCancellation();
  waitUntilStopped(job);
  EXPECT_EQ(job.estimatedTimeOfArrival(), std::nullopt);
}

}  // namespace
