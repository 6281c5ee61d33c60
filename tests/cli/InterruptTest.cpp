#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <thread>

#include "cli/Program.h"
#include "cli/SmallCloud.h"
#include "sorvik/Interrupt.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

/// A pipe that nobody reads from.
class UnreadPipe {
 public:
  UnreadPipe() {
    if (pipe2(ends_.data(), O_CLOEXEC) != 0) throw std::runtime_error("cannot make a pipe");
  }
  ~UnreadPipe() {
    close(ends_[0]);
    close(ends_[1]);
  }
  UnreadPipe(const UnreadPipe&) = delete;
  UnreadPipe& operator=(const UnreadPipe&) = delete;

  [[nodiscard]] int writeEnd() const { return ends_[1]; }

  void waitUntilFull() const {
    pollfd writable{ends_[1], POLLOUT, 0};
    while (poll(&writable, 1, 0) > 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }

 private:
  std::array<int, 2> ends_{};
};

/// The signal to the whole process, as a terminal sends it.
void pressCtrlC() { kill(getpid(), SIGINT); }

void waitUntilItCame(const Program::Interrupt& interrupt) {
  while (!interrupt.came()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

TEST(Interrupt, IsOnlyNotedTheFirstTime) {
  EXPECT_EXIT(
      {
        const Program::Interrupt interrupt;
        if (interrupt.came()) std::_Exit(3);
        pressCtrlC();
        waitUntilItCame(interrupt);
        try {
          interrupt.check();
        } catch (const Program::Interrupted&) {
          std::_Exit(7);
        }
      },
      testing::ExitedWithCode(7), "");
}

TEST(Interrupt, EndsTheProcessTheSecondTime) {
  EXPECT_EXIT(
      {
        const Program::Interrupt interrupt;
        pressCtrlC();
        waitUntilItCame(interrupt);
        pressCtrlC();
        for (;;) pause();
      },
      testing::ExitedWithCode(130), "sorvik: interrupted");
}

TEST(Interrupt, EndsAtOnceACommandThatWaits) {
  EXPECT_EXIT(
      {
        Program::Interrupt interrupt;
        interrupt.endAtOnce();
        pressCtrlC();
        for (;;) pause();
      },
      testing::ExitedWithCode(130), "sorvik: interrupted");
}

TEST(Interrupt, EndsAtOnceWhereItCameBefore) {
  EXPECT_EXIT(
      {
        Program::Interrupt interrupt;
        pressCtrlC();
        waitUntilItCame(interrupt);
        interrupt.endAtOnce();
        std::_Exit(7);
      },
      testing::ExitedWithCode(130), "sorvik: interrupted");
}

TEST(Interrupt, RemovesTheUnfinishedFile) {
  const TempFolder folder;
  const std::filesystem::path file = folder.write("out.partial", "half");
  EXPECT_EXIT(
      {
        Program::Interrupt interrupt;
        interrupt.endAtOnce();
        interrupt.removeUnfinished([&] {
          pressCtrlC();  // not before the file is known
          return file.string();
        });
        for (;;) pause();
      },
      testing::ExitedWithCode(130), "");
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(Interrupt, ReachesAProcessThatIgnoredItBefore) {
  EXPECT_EXIT(
      {
        std::signal(SIGINT, SIG_IGN);
        Program::Interrupt interrupt;
        interrupt.endAtOnce();
        pressCtrlC();
        for (;;) pause();
      },
      testing::ExitedWithCode(130), "");
}

TEST(Interrupt, LeavesACommandThatEndsByItselfAlone) {
  EXPECT_EXIT(
      {
        std::make_unique<Program::Interrupt>()->endAtOnce();
        std::_Exit(7);
      },
      testing::ExitedWithCode(7), "");
}

TEST(Interrupt, EndsEveryCommand) {
  const TempFolder folder;
  SmallCloud().write(folder.path() / "cloud");
  for (const char* const command : {"info", "points"}) {
    const auto call = programCommand({command, (folder.path() / "cloud").string()});
    const ProcessResult result = Process(call, {.pendingInterrupt = true}).wait();
    EXPECT_EQ(result.status, 130);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "sorvik: interrupted\n");
  }
}

TEST(Interrupt, RemovesAHalfWrittenFileAndKeepsTheOldOne) {
  const TempFolder folder;
  SmallCloud().write(folder.path() / "cloud");
  for (const char* const name : {"out.csv", "out.las", "out.ply"}) {
    const std::filesystem::path file = folder.write(name, "old");
    const auto call = programCommand({"points", (folder.path() / "cloud").string(), "-o", file.string()});
    EXPECT_EQ(Process(call, {.pendingInterrupt = true}).wait().status, 130);
    EXPECT_EQ(readFile(file), "old");
    EXPECT_FALSE(std::filesystem::exists(file.string() + ".partial"));
  }
}

TEST(Interrupt, RemovesTheFileThatIsBeingWritten) {
  const TempFolder folder;
  rowOfPoints(100'000).write(folder.path() / "cloud");
  const std::filesystem::path file = folder.path() / "out.csv";
  const std::filesystem::path partial = file.string() + ".partial";
  const auto call = programCommand({"points", (folder.path() / "cloud").string(), "-o", file.string()});
  int status = 0;
  for (int i = 0; status == 0 && i < 20; ++i) {  // until the signal comes before the end
    std::filesystem::remove(file);
    Process process(call);
    while (!std::filesystem::exists(partial) && !std::filesystem::exists(file)) std::this_thread::yield();
    process.signal(SIGINT);
    status = process.wait().status;
  }
  EXPECT_EQ(status, 130);
  EXPECT_FALSE(std::filesystem::exists(partial));
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(Interrupt, EndsAWriteToAReaderThatHasStopped) {
  const TempFolder folder;
  rowOfPoints(9000).write(folder.path() / "cloud");
  const UnreadPipe pipe;
  Process process(programCommand({"points", (folder.path() / "cloud").string()}),
                  {.output = pipe.writeEnd()});
  pipe.waitUntilFull();
  process.waitUntilItSleeps();
  process.signal(SIGINT);
  const ProcessResult result = process.wait();
  EXPECT_EQ(result.status, 130);
  EXPECT_EQ(result.err, "sorvik: interrupted\n");
}

}  // namespace
}  // namespace Testing
