// What fails in passing is tried again, and not for ever.
#include <chrono>
#include <thread>

#include "https/HttpsTest.h"

namespace {

using std::chrono::milliseconds;
using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

class HttpsRetries : public Testing::HttpsTest {};

TEST_F(HttpsRetries, GetTheBytesFromAServerThatWasBusy) {
  for (const char* status : {"429", "500", "502", "503", "504"}) {
    const std::size_t before = requests().size();
    const std::string times = std::to_string(before + 4);
    EXPECT_EQ(fetch("status=" + std::string(status) + '*' + times), data()) << status;
    EXPECT_THAT(requests(), SizeIs(before + 5));
  }
}

TEST_F(HttpsRetries, GiveUpAfterFiveTriesAndListThem) {
  EXPECT_EQ(failure("status=503"), ", byte 100: HTTP status 503 (5 tries)");
  EXPECT_THAT(requests(), SizeIs(5));
}

TEST_F(HttpsRetries, WaitAsLongAsTheServerAsks) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(fetch("status=429,retry=1*1"), data());
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(1000));
}

TEST_F(HttpsRetries, WaitUntilTheDateThatTheServerNames) {
  EXPECT_EQ(fetch("status=503,retry=date*1"), data());
  EXPECT_THAT(requests(), SizeIs(2));
}

TEST_F(HttpsRetries, WaitNoLongerThanTheLongestPause) {
  settings.longestRetryAfter = milliseconds(10);
  EXPECT_EQ(fetch("status=503,retry=1000*1"), data());
}

TEST_F(HttpsRetries, EndWhenTheWaitingBudgetIsUsedUp) {
  settings.waitingBudget = std::chrono::seconds(10);
  EXPECT_EQ(failure("status=503,retry=20"), ", byte 100: HTTP status 503");
  EXPECT_THAT(requests(), SizeIs(1));
}

TEST_F(HttpsRetries, GoOnAtTheMissingByteOfABrokenBody) {
  EXPECT_EQ(fetch("short-body*1"), data());
  ASSERT_THAT(requests(), SizeIs(2));
  EXPECT_EQ(requests()[1].range, "bytes=600-1099");
  EXPECT_EQ(requests()[1].ifRange, "\"version-1\"");
}

TEST_F(HttpsRetries, GoOnAfterAShortChunkedBody) { EXPECT_EQ(fetch("short-chunked*2"), data()); }

TEST_F(HttpsRetries, GoOnAfterAResetConnection) { EXPECT_EQ(fetch("reset*1"), data()); }

TEST_F(HttpsRetries, GoOnAfterAConnectionThatBrokeBeforeTheAnswer) {
  EXPECT_EQ(fetch("no-answer*2"), data());
}

TEST_F(HttpsRetries, GiveUpAServerThatAlwaysBreaksOff) {
  const std::string message = failure("no-answer");
  EXPECT_THAT(message, StartsWith(", byte 100: "));
  EXPECT_THAT(message, EndsWith("tries)"));
}

TEST_F(HttpsRetries, LeaveAServerThatStalls) {
  settings.stallTime = milliseconds(100);
  settings.tries = 2;
  EXPECT_EQ(failure("stall", 0), ", byte 0: stalled: fewer than 1024 bytes a second (2 tries)");
}

TEST_F(HttpsRetries, LeaveAServerThatSendsAByteNowAndThen) {
  settings.stallTime = milliseconds(150);
  settings.tries = 1;
  EXPECT_EQ(failure("slow=0.02"), ", byte 100: stalled: fewer than 1024 bytes a second");
}

TEST_F(HttpsRetries, CountTheTimeOfSlowBytesAgainstTheWaitingBudget) {
  settings.waitingBudget = milliseconds(150);
  EXPECT_EQ(failure("slow=0.02"), ", byte 100: stalled: fewer than 1024 bytes a second");
}

TEST_F(HttpsRetries, SayThatAServerRefusesTheConnection) {
  settings.tries = 3;
  Core::HttpClient client("https://127.0.0.1:1/cloud", nullptr, settings);
  EXPECT_THAT(Testing::thrownBy([&] { return client.fetchWhole("data.bin", {}).get(); }),
              EndsWith("(3 tries)"));
}

TEST_F(HttpsRetries, TryOnceMoreToResolveAName) {
  Core::HttpClient client("https://no-such-host.invalid/cloud", nullptr, settings);
  EXPECT_THAT(Testing::thrownBy([&] { return client.fetchWhole("data.bin", {}).get(); }),
              testing::AllOf(HasSubstr("ould not resolve host"), EndsWith("(2 tries)")));
}

TEST_F(HttpsRetries, LeaveAServerAloneAfterThreeFailuresInARow) {
  settings.tries = 1;
  settings.restTime = std::chrono::minutes(10);
  Core::HttpClient client(url("status=503@data.bin"), nullptr, settings);
  const auto fetchFrom = [&](const char* file) {
    return Testing::thrownBy([&] { return client.fetchRange(file, 0, 1, {}).get(); });
  };
  for (int i = 0; i < 3; ++i) EXPECT_THAT(fetchFrom("data.bin"), EndsWith("HTTP status 503"));
  EXPECT_THAT(
      fetchFrom("data.bin"),
      EndsWith("not asked, since 3 requests in a row failed: the server is left alone for 600000 ms"));
  EXPECT_THAT(requests(), SizeIs(3));
}

TEST_F(HttpsRetries, AskAgainWhenTheRestIsOver) {
  settings.tries = 1;
  settings.restTime = milliseconds(100);
  Core::HttpClient client(url("status=503*3"), nullptr, settings);
  const auto fetchOne = [&] { return client.fetchRange("data.bin", 0, 1, {}).get(); };
  for (int i = 0; i < 3; ++i) EXPECT_NE(Testing::thrownBy(fetchOne), "none");
  std::this_thread::sleep_for(milliseconds(150));
  EXPECT_EQ(fetchOne(), data(0, 1));
}

TEST_F(HttpsRetries, DoNotRestWhenOneOfThreeSucceeds) {
  settings.tries = 1;
  settings.restTime = std::chrono::minutes(10);
  Core::HttpClient client(url("status=503@data.bin"), nullptr, settings);
  for (int i = 0; i < 4; ++i) {
    EXPECT_NE(Testing::thrownBy([&] { return client.fetchRange("data.bin", 0, 1, {}).get(); }), "none");
    EXPECT_EQ(client.fetchWhole("empty.bin", {}).get(), "");
  }
}

TEST_F(HttpsRetries, AreNotMadeForARequestWithADeadline) {
  Core::HttpClient client(url("status=503"), nullptr, settings);
  const auto deadline = Core::HttpClient::Clock::now() + std::chrono::seconds(10);
  EXPECT_THAT(Testing::thrownBy([&] { return client.fetchWhole("data.bin", {}, deadline).get(); }),
              EndsWith("HTTP status 503"));
  EXPECT_THAT(requests(), SizeIs(1));
}

TEST_F(HttpsRetries, EndAtTheDeadline) {
  Core::HttpClient client(url("stall"), nullptr, settings);
  const auto deadline = Core::HttpClient::Clock::now() + milliseconds(100);
  EXPECT_THAT(Testing::thrownBy([&] { return client.fetchWhole("data.bin", {}, deadline).get(); }),
              EndsWith("no answer in time"));
}

}  // namespace
