// One opened cloud on many threads.
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <latch>
#include <thread>

#include "api/SmallCloud.h"
#include "api/WalkedPoints.h"
#include "api/Walks.h"

#if defined(__SANITIZE_ADDRESS__)
#define SORVIK_ADDRESS_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SORVIK_ADDRESS_SANITIZED
#endif
#endif

namespace {

using Sorvik::AllPointsIterator;
using Sorvik::PointCloud;
using Testing::CloudFolder;
using Testing::pointsOf;
using Testing::WalkedPoint;
using Points = std::vector<WalkedPoint>;

constexpr std::size_t kThreads = 16;

/// What @p work(thread) gives on each of the threads, which begin together.
template <class Work>
std::vector<Points> onThreads(const Work& work) {
  std::vector<Points> found(kThreads);
  std::latch begin(kThreads);
  std::vector<std::jthread> threads;
  for (std::size_t t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      begin.arrive_and_wait();
      found[t] = work(t);
    });
  }
  threads.clear();  // joins
  return found;
}

TEST(SharedCloud, GivesSixteenThreadsWithCopiesTheSamePoints) {
  const CloudFolder folder(Testing::threeChunks());
  const Points expected = pointsOf(AllPointsIterator(folder.open(), 0));
  ASSERT_EQ(expected.size(), 100U);
  const PointCloud cloud = folder.open();
  const std::vector<PointCloud> copies(kThreads, cloud);
  for (int round = 0; round < 20; ++round) {
    const auto found = onThreads([&](std::size_t t) { return pointsOf(AllPointsIterator(copies[t], 0)); });
    EXPECT_THAT(found, testing::Each(expected));
  }
}

TEST(SharedCloud, GivesSixteenThreadsTheSamePointsOfDifferentShapes) {
  const CloudFolder folder;
  const auto inside = [](const PointCloud& cloud, std::size_t t) {
    const float reach = 10.0F + static_cast<float>(t % 4) * 5.0F;
    return pointsOf(Sorvik::allPointsInside(cloud, Sorvik::Sphere(30, 30, 30, reach), 0));
  };
  std::vector<Points> expected;
  for (std::size_t t = 0; t < kThreads; ++t) expected.push_back(inside(folder.open(), t));
  for (int round = 0; round < 20; ++round) {
    const PointCloud cloud = folder.open();
    EXPECT_EQ(onThreads([&](std::size_t t) { return inside(PointCloud(cloud), t); }), expected);
  }
}

TEST(SharedCloud, GivesAllThreadsThatMissANodeTheDataThatWereStoredFirst) {
  const CloudFolder folder;
  for (int round = 0; round < 20; ++round) {
    const PointCloud cloud = folder.open();
    std::vector<const void*> places(kThreads);
    const auto found = onThreads([&](std::size_t t) {
      const Sorvik::PointChunk chunk = *AllPointsIterator(cloud, 0);
      places[t] = chunk.positions().data();
      return Points();
    });
    EXPECT_THAT(places, testing::Each((*AllPointsIterator(cloud, 0)).positions().data()));
  }
}

TEST(SharedCloud, GoesWithTheLastOfTheThreadsThatWalkIt) {
  std::vector<AllPointsIterator> walks;
  const CloudFolder folder;
  walks.assign(kThreads, AllPointsIterator(folder.open(), 0));
  const auto found =
      onThreads([&](std::size_t t) { return pointsOf(std::exchange(walks[t], AllPointsIterator())); });
  EXPECT_THAT(found, testing::Each(testing::SizeIs(220)));
}

TEST(SharedCloud, LetsAForkedChildEndWhileNodesAreLoadedInAdvance) {
#ifdef SORVIK_ADDRESS_SANITIZED
  // A child inherits the locks of the sanitizer's allocator as the other threads held them.
  GTEST_SKIP() << "the address sanitizer's allocator does not survive a fork beside running threads";
#endif
  const Testing::CloudFolder folder;
  const PointCloud cloud = folder.open();
  Sorvik::AllPointsIterator walk(cloud, 0);
  (void)*walk;
  (void)*++walk;  // from here on a thread of the library is at work
  const pid_t child = fork();
  if (child == 0) std::exit(0);
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

}  // namespace
