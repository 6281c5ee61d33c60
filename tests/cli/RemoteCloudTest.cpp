// The program on clouds behind https addresses.
#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "cli/Program.h"
#include "cli/SmallCloud.h"
#include "support/HttpsServer.h"

namespace Testing {
namespace {

using testing::HasSubstr;

class RemoteCloud : public testing::Test {
 protected:
  RemoteCloud() { rowOfPoints(50).write(folder()); }

  [[nodiscard]] std::string folder() const { return (root_.path() / "cloud").string(); }
  [[nodiscard]] std::string url(const std::string& fault = "plain") const {
    return server_.url("case/" + fault + "/cloud");
  }
  [[nodiscard]] std::vector<LoggedRequest> requests() const { return server_.requests("case"); }

 private:
  TempFolder root_;
  TestAuthority authority_;
  HttpsServer server_{authority_, root_.path()};
};

TEST_F(RemoteCloud, IsDescribedByThreeSmallRequestsAtMost) {
  EXPECT_EQ(outputOf({"info", url(), "--json"}), outputOf({"info", folder(), "--json"}));
  EXPECT_LE(requests().size(), 3U);
  for (const LoggedRequest& request : requests()) EXPECT_NE(request.file, "cloud/octree.bin");
}

TEST_F(RemoteCloud, IsNamedByItsMetadataFileAsWell) {
  EXPECT_EQ(outputOf({"info", url() + "/metadata.json?token=1"}), outputOf({"info", folder()}));
  for (const LoggedRequest& request : requests()) EXPECT_EQ(request.query, "token=1");
}

TEST_F(RemoteCloud, GivesTheSamePointsAsTheFolder) {
  EXPECT_EQ(outputOf({"points", url()}), outputOf({"points", folder()}));
}

TEST_F(RemoteCloud, ThatIsNotThereEndsTheProgramWithTheReason) {
  const ProcessResult result = runProgram({"info", url("status=403") + "?token=secret"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("HTTP status 403: credentials needed or signed URL expired"));
  EXPECT_THAT(result.err, testing::Not(HasSubstr("secret")));
}

/// How a call ended that was interrupted, and how long after.
struct InterruptedCall {
  ProcessResult result;
  std::chrono::steady_clock::duration duration;
};

class StalledCloud : public RemoteCloud {
 protected:
  /// Ctrl-C while the program waits for the answer to its first fetch of @p file.
  [[nodiscard]] InterruptedCall interruptedAtFetchOf(const std::string& file,
                                                     const std::vector<std::string>& arguments) const {
    Process process(programCommand(arguments));
    while (!process.hasEnded() && !isAskedFor(file))
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    const auto start = std::chrono::steady_clock::now();
    process.signal(SIGINT);
    return {process.wait(), std::chrono::steady_clock::now() - start};
  }

 private:
  [[nodiscard]] bool isAskedFor(const std::string& file) const {
    for (const LoggedRequest& request : requests()) {
      if (request.file == file) return true;
    }
    return false;
  }
};

constexpr std::chrono::seconds kLongBeforeAStallIsOver(5);

TEST_F(StalledCloud, IsLeftByInfoAtCtrlC) {
  const auto call = interruptedAtFetchOf("cloud/metadata.json", {"info", url("stall")});
  EXPECT_EQ(call.result.status, 130);
  EXPECT_EQ(call.result.err, "sorvik: interrupted\n");
  EXPECT_LT(call.duration, kLongBeforeAStallIsOver);
}

TEST_F(StalledCloud, IsLeftByPointsAtCtrlCWithoutAnUnfinishedFile) {
  const TempFolder folder;
  const std::string file = (folder.path() / "out.laz").string();
  const auto call = interruptedAtFetchOf("cloud/octree.bin", {"points", url("stall@octree.bin"), "-o", file});
  EXPECT_EQ(call.result.status, 130);
  EXPECT_LT(call.duration, kLongBeforeAStallIsOver);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

}  // namespace
}  // namespace Testing
