// The transfer thread and whoever uses it. Small, since the thread sanitizer runs it too.
#include <atomic>
#include <random>
#include <thread>

#include "https/HttpsTest.h"
#include "octree/MapLocation.h"
#include "octree/QueryPoints.h"
#include "octree/potree/HttpsLocation.h"

namespace {

using Octree::Algorithm::QueryPointsIterator;

class HttpsThreads : public Testing::HttpsTest {
 protected:
  HttpsThreads() {
    Testing::PotreeFiles files;
    for (std::uint32_t i = 0; i < 9; ++i) files.node(i == 0 ? 0xFF : 0, Testing::somePoints(10 + i, 100 * i));
    for (const auto& [name, bytes] : files.files()) Testing::httpsWorld().root.write("cloud/" + name, bytes);
  }

  std::shared_ptr<Octree::Octree> open(const std::string& fault) {
    return Testing::openOctree(
        std::make_shared<PoTree::HttpsLocation>(url(fault) + "/cloud", nullptr, settings));
  }

  /// The points of the first so many nodes of a walk.
  static std::uint64_t pointsOf(const std::shared_ptr<Octree::Octree>& octree, std::size_t nodes) {
    std::uint64_t points = 0;
    QueryPointsIterator walk = Octree::allPoints(octree, nullptr, 0, {});
    for (std::size_t i = 0; i < nodes && walk != QueryPointsIterator(); ++i, ++walk)
      points += (*walk)->points().size();
    return points;
  }
};

TEST_F(HttpsThreads, GetTheirOwnBytesFromOneClient) {
  Core::HttpClient client(url("plain"), nullptr, settings);
  std::atomic<int> wrong{0};
  std::vector<std::jthread> threads;
  for (unsigned t = 0; t < 6; ++t) {
    threads.emplace_back([&, t] {
      std::mt19937 random(t);
      for (int i = 0; i < 10; ++i) {
        const std::size_t offset = random() % 190'000;
        if (client.fetchRange("data.bin", offset, 500, {}).get() != data(offset, 500)) ++wrong;
      }
    });
  }
  threads.clear();
  EXPECT_EQ(wrong, 0);
}

TEST_F(HttpsThreads, StopTheirRequestsWhileOthersGoOn) {
  Core::HttpClient client(url("plain"), nullptr, settings);
  std::atomic<int> wrong{0};
  std::vector<std::jthread> threads;
  for (unsigned t = 0; t < 6; ++t) {
    threads.emplace_back([&, t] {
      for (std::size_t i = 0; i < 10; ++i) {
        std::stop_source stop;
        auto bytes = client.fetchRange("data.bin", 1000 * i, 500, stop.get_token());
        if (t % 2 == 0) {
          stop.request_stop();
          (void)Testing::thrownBy([&] { return bytes.get(); });  // stopped, or it was quicker
        } else if (bytes.get() != data(1000 * i, 500)) {
          ++wrong;
        }
      }
    });
  }
  threads.clear();
  EXPECT_EQ(wrong, 0);
}

TEST_F(HttpsThreads, LeaveWalksWhileTheirTransfersRun) {
  const auto octree = open("plain");
  std::vector<std::jthread> threads;
  for (std::size_t t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (std::size_t nodes = 1; nodes < 5; ++nodes) (void)pointsOf(octree, nodes + t);
    });
  }
  threads.clear();
  EXPECT_EQ(pointsOf(octree, 9), 126U);
}

TEST_F(HttpsThreads, MayOutliveTheClientThatTheyWaitFor) {
  for (int round = 0; round < 10; ++round) {
    auto client = std::make_unique<Core::HttpClient>(url("plain"), nullptr, settings);
    std::vector<std::future<std::string>> bytes;
    for (std::uint64_t i = 0; i < 20; ++i) bytes.push_back(client->fetchRange("data.bin", 9000 * i, 50, {}));
    std::jthread waiter([&] {
      for (auto& future : bytes) (void)Testing::thrownBy([&] { return future.get(); });  // bytes, or "closed"
    });
    if (round % 2 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(5 * round));
    client.reset();
  }
}

TEST_F(HttpsThreads, WalkManyCloudsAtOnce) {
  std::atomic<std::uint64_t> points{0};
  std::vector<std::jthread> threads;
  for (int t = 0; t < 6; ++t) {
    threads.emplace_back([&] { points += pointsOf(open("plain"), 9); });
  }
  threads.clear();
  EXPECT_EQ(points, 6U * 126U);
}

}  // namespace
