// Requests that wait together, and requests that nobody waits for any more.
#include <algorithm>
#include <chrono>
#include <set>
#include <thread>

#include "https/HttpsTest.h"

namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::uint64_t kKiB = 1024;

/// Ranges that come within a tenth of a second wait for each other.
class HttpsJoining : public Testing::HttpsTest {
 protected:
  HttpsJoining() { settings.gatherTime = milliseconds(100); }

  /// Fetches all ranges at once and expects their bytes.
  void fetchAll(const std::string& fault,
                const std::vector<std::pair<std::uint64_t, std::uint64_t>>& ranges) {
    Core::HttpClient client(url(fault), nullptr, settings);
    std::vector<std::future<std::string>> futures;
    for (const auto& [offset, count] : ranges)
      futures.push_back(client.fetchRange("data.bin", offset, count, {}));
    for (std::size_t i = 0; i < ranges.size(); ++i)
      EXPECT_EQ(futures[i].get(), data(ranges[i].first, ranges[i].second));
  }

  std::vector<std::string> ranges() {
    std::vector<std::string> texts;
    for (const Testing::LoggedRequest& request : requests()) texts.push_back(request.range);
    std::sort(texts.begin(), texts.end());
    return texts;
  }
};

TEST_F(HttpsJoining, MakesOneRequestOfNeighbours) {
  fetchAll("plain", {{5000, 1000}, {1000, 1000}, {2000, 3000}, {6000, 50}});
  EXPECT_THAT(ranges(), ElementsAre("bytes=1000-6049"));
}

TEST_F(HttpsJoining, BridgesGapsOf64KiBAndNoLongerOnes) {
  fetchAll("plain", {{0, 1000}, {1000 + 64 * kKiB, 1000}, {2001 + 128 * kKiB, 1000}});
  EXPECT_THAT(ranges(), ElementsAre("bytes=0-67535", "bytes=133073-134072"));
}

TEST_F(HttpsJoining, MakesNoRequestThatIsTooLong) {
  settings.largestJoined = 3000;
  fetchAll("plain", {{0, 1000}, {1000, 1000}, {2000, 1000}, {3000, 1000}});
  EXPECT_THAT(ranges(), ElementsAre("bytes=0-2999", "bytes=3000-3999"));
}

TEST_F(HttpsJoining, AnswersTheSameRangeTwice) {
  fetchAll("plain", {{0, 1000}, {0, 1000}, {10, 5}});
  EXPECT_THAT(requests(), SizeIs(1));
}

TEST_F(HttpsJoining, FailsOnlyTheRangesThatLeaveTheFile) {
  Core::HttpClient client(url("plain"), nullptr, settings);
  auto inside = client.fetchRange("data.bin", 199'000, 1000, {});
  auto outside = client.fetchRange("data.bin", 199'900, 101, {});
  EXPECT_EQ(inside.get(), data(199'000, 1000));
  EXPECT_THAT(Testing::thrownBy([&] { return outside.get(); }),
              EndsWith("the range leaves the file of 200000 bytes"));
}

TEST_F(HttpsJoining, GivesOutWhatHasComeBeforeAConnectionBreaks) {
  settings.tries = 1;
  Core::HttpClient client(url("short-body"), nullptr, settings);
  auto first = client.fetchRange("data.bin", 0, 1000, {});
  auto second = client.fetchRange("data.bin", 1000, 1000, {});
  EXPECT_EQ(first.get(), data(0, 1000));
  EXPECT_NE(Testing::thrownBy([&] { return second.get(); }), "none");
}

TEST_F(HttpsJoining, AsksAgainForWhatIsMissingAlone) {
  fetchAll("short-body*1", {{0, 1000}, {1000, 1000}, {2000, 1000}});
  EXPECT_EQ(requests().back().range, "bytes=1500-2999");
}

TEST_F(HttpsJoining, HasNoMoreRequestsUnderWayThanItMay) {
  Testing::HttpsServer slow(Testing::httpsWorld().authority, Testing::httpsWorld().root.path(),
                            {.delaySeconds = 0.02});
  settings.parallelRequests = 2;
  settings.largestGap = 0;
  Core::HttpClient client(slow.url("case/plain"), nullptr, settings);
  std::vector<std::future<std::string>> futures;
  for (std::uint64_t i = 0; i < 10; ++i) futures.push_back(client.fetchRange("data.bin", 2 * i, 1, {}));
  for (std::size_t i = 0; i < futures.size(); ++i) EXPECT_EQ(futures[i].get(), data(2 * i, 1));
  std::set<std::string> connections;
  for (const Testing::LoggedRequest& request : slow.requests("case")) connections.insert(request.clientPort);
  EXPECT_THAT(slow.requests("case"), SizeIs(10));
  EXPECT_LE(connections.size(), 2U) << "connections are used again";
}

TEST_F(HttpsJoining, EndsAStoppedRequestWhileTheServerStalls) {
  Core::HttpClient client(url("stall"), nullptr, settings);
  std::stop_source stop;
  auto bytes = client.fetchRange("data.bin", 0, 1000, stop.get_token());
  while (requests().empty()) std::this_thread::sleep_for(milliseconds(1));
  const auto start = std::chrono::steady_clock::now();
  stop.request_stop();
  EXPECT_THAT(Testing::thrownBy([&] { return bytes.get(); }), EndsWith("data.bin, byte 0: stopped"));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5)) << "as a stall takes 30 s";
}

TEST_F(HttpsJoining, EndsAStoppedRequestThatPausesBetweenTries) {
  settings.firstPause = std::chrono::minutes(1);
  settings.waitingBudget = std::chrono::minutes(10);
  Core::HttpClient client(url("status=503"), nullptr, settings);
  std::stop_source stop;
  auto bytes = client.fetchRange("data.bin", 0, 1000, stop.get_token());
  while (requests().empty()) std::this_thread::sleep_for(milliseconds(1));
  stop.request_stop();
  EXPECT_THAT(Testing::thrownBy([&] { return bytes.get(); }), EndsWith("stopped"));
}

TEST_F(HttpsJoining, DoesNotStopWhatIsJoinedWithAStoppedRequest) {
  Core::HttpClient client(url("plain"), nullptr, settings);
  std::stop_source stop;
  auto stopped = client.fetchRange("data.bin", 0, 1000, stop.get_token());
  auto other = client.fetchRange("data.bin", 1000, 1000, {});
  stop.request_stop();
  EXPECT_THAT(Testing::thrownBy([&] { return stopped.get(); }), EndsWith("stopped"));
  EXPECT_EQ(other.get(), data(1000, 1000));
}

TEST_F(HttpsJoining, MakesNoRequestThatIsStoppedBeforeItBegins) {
  Core::HttpClient client(url("plain"), nullptr, settings);
  std::stop_source stop;
  stop.request_stop();
  EXPECT_THAT(
      Testing::thrownBy([&] { return client.fetchRange("data.bin", 0, 1000, stop.get_token()).get(); }),
      EndsWith("stopped"));
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(HttpsJoining, EndsWithItsClient) {
  auto client = std::make_unique<Core::HttpClient>(url("stall"), nullptr, settings);
  auto running = client->fetchRange("data.bin", 0, 1000, {});
  while (requests().empty()) std::this_thread::sleep_for(milliseconds(1));
  auto waiting = client->fetchRange("data.bin", 0, 1000, {});
  client.reset();
  EXPECT_THAT(Testing::thrownBy([&] { return running.get(); }), EndsWith("closed"));
  EXPECT_THAT(Testing::thrownBy([&] { return waiting.get(); }), EndsWith("closed"));
}

}  // namespace
