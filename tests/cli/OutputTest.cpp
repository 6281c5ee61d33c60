#include <gtest/gtest.h>

#include "cli/Program.h"
#include "cli/SmallCloud.h"
#include "sorvik/Output.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

/// A cloud whose comma-separated values fill a pipe several times.
class StandardOutput : public testing::Test {
 protected:
  StandardOutput() { rowOfPoints(9000).write(cloud_); }

  [[nodiscard]] std::string cloud() const { return cloud_.string(); }
  [[nodiscard]] std::string quotedCloud() const { return "'" + cloud() + "'"; }

 private:
  TempFolder folder_;
  std::filesystem::path cloud_ = folder_.path() / "cloud";
};

TEST_F(StandardOutput, MayBeClosedByItsReaderWithoutAWord) {
  const ProcessResult result =
      runShell("{ \"$0\" points " + quotedCloud() + "; echo status $? >&2; } | head -1");
  EXPECT_EQ(result.out, "x,y,z,intensity,r,g,b,classification\n");
  EXPECT_EQ(result.err, "status 0\n");
}

TEST_F(StandardOutput, MayHaveNoReaderAtAll) {
  for (const std::string command : {"info", "info --json", "points --count", "points --json", "--help"}) {
    // By then true has ended, most likely; were it still there, the answer would be the same.
    const ProcessResult result =
        runShell("{ sleep 0.05; \"$0\" " + command + " " + quotedCloud() + "; echo status $? >&2; } | true");
    EXPECT_EQ(result.err, "status 0\n") << command;
  }
}

TEST_F(StandardOutput, IsNamedWhenTheDiskIsFull) {
  for (const std::string command : {"info", "points", "points --count"}) {
    const ProcessResult result = runShell("exec \"$0\" " + command + " " + quotedCloud() + " >/dev/full");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "sorvik: standard output: No space left on device\n");
  }
}

TEST_F(StandardOutput, IsNamedWhenItIsClosed) {
  const ProcessResult result = runShell("exec \"$0\" points --count " + quotedCloud() + " >&-");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "sorvik: standard output: Bad file descriptor\n");
}

TEST_F(StandardOutput, IsNotMixedUpWithFilesWhenItIsClosed) {
  const TempFolder folder;
  const std::string file = (folder.path() / "out.csv").string();
  (void)runShell("exec \"$0\" points --count -o '" + file + "' " + quotedCloud() + " <&- >&-");
  EXPECT_EQ(readFile(file), outputOf({"points", cloud()}));
}

}  // namespace
}  // namespace Testing
