#include <gmock/gmock.h>

#include <atomic>
#include <latch>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <vector>

#include "core/Workers.h"

namespace {

using Core::Workers;
using testing::Each;

TEST(Workers, RunEveryTaskOnce) {
  std::vector<int> runs(500);
  std::latch all(500);
  Workers workers(3);
  for (int& run : runs) {
    workers.add([&] {
      ++run;
      all.count_down();
    });
  }
  all.wait();
  EXPECT_THAT(runs, Each(1));
}

TEST(Workers, HaveOneThreadAtLeastWhereverTheyRun) {
  Workers workers;
  std::latch ran(1);
  workers.add([&] { ran.count_down(); });
  ran.wait();
}

TEST(Workers, RunAsManyTasksAtATimeAsTheyHaveThreads) {
  Workers workers(4);
  std::latch together(4);
  std::latch done(4);
  for (int i = 0; i < 4; ++i) {
    workers.add([&] {
      together.arrive_and_wait();  // for ever if fewer than four run
      done.count_down();
    });
  }
  done.wait();
}

TEST(Workers, OfOneThreadRunTasksInTheOrderInWhichTheyCame) {
  std::vector<int> order;
  std::latch done(1);
  {
    Workers workers(1);
    for (int i = 0; i < 10; ++i) workers.add([&order, i] { order.push_back(i); });
    workers.add([&] { done.count_down(); });
    done.wait();
  }
  EXPECT_THAT(order, testing::ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9));
}

TEST(Workers, TakeTasksFromTheirTasks) {
  Workers workers(1);
  std::latch done(1);
  workers.add([&] { workers.add([&] { done.count_down(); }); });
  done.wait();
}

TEST(Workers, TakeTasksFromManyThreads) {
  std::atomic<int> runs{0};
  std::latch all(400);
  Workers workers(2);
  {
    std::vector<std::jthread> adders;
    for (int t = 0; t < 4; ++t) {
      adders.emplace_back([&] {
        for (int i = 0; i < 100; ++i) {
          workers.add([&] {
            ++runs;
            all.count_down();
          });
        }
      });
    }
  }
  all.wait();
  EXPECT_EQ(runs, 400);
}

TEST(Workers, ThatGoDropTasksThatHaveNotBegunAndWaitForThoseThatHave) {
  std::stop_source cancel;
  std::latch begun(1);
  std::atomic<bool> ended{false};
  std::atomic<int> late{0};
  const auto owned = std::make_shared<int>(1);
  auto workers = std::make_optional<Workers>(1U);
  workers->add([&] {
    begun.count_down();
    while (!cancel.stop_requested()) std::this_thread::yield();
    ended = true;
  });
  for (int i = 0; i < 10; ++i) workers->add([&late, owned] { ++late; });
  begun.wait();
  std::jthread canceller([&] {
    while (owned.use_count() > 1) std::this_thread::yield();  // until the waiting tasks were dropped
    cancel.request_stop();
  });
  workers.reset();
  EXPECT_TRUE(ended);
  EXPECT_EQ(late, 0);
}

TEST(Workers, LetGoOfATaskOnceItHasRun) {
  const auto owned = std::make_shared<int>(1);
  Workers workers(1);
  std::latch next(1);
  workers.add([owned] {});
  workers.add([&] { next.count_down(); });
  next.wait();
  EXPECT_EQ(owned.use_count(), 1);
}

TEST(Workers, WithoutTasksComeAndGo) {
  for (int i = 0; i < 100; ++i) Workers workers(4);
}

}  // namespace
