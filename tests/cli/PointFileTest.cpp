#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "cli/Program.h"
#include "cli/SmallCloud.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class PointFile : public testing::Test {
 protected:
  PointFile() { rowOfPoints(3).write(path("cloud")); }

  [[nodiscard]] std::string path(const std::string& name) const { return (folder_.path() / name).string(); }
  void write(const std::string& name, const std::string& text) const { (void)folder_.write(name, text); }

  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  TempFolder folder_;
};

TEST_F(PointFile, HoldsWhatStandardOutputWouldGet) {
  EXPECT_EQ(outputOf({"points", path("cloud"), "-o", path("out.csv")}), "");
  EXPECT_EQ(readFile(path("out.csv")), outputOf({"points", path("cloud")}));
  EXPECT_THAT(names(), ElementsAre("cloud", "out.csv"));
}

TEST_F(PointFile, GoesWithACountOrASummary) {
  EXPECT_EQ(outputOf({"points", path("cloud"), "--count", "-o", path("out.csv")}), "3\n");
  EXPECT_THAT(outputOf({"points", path("cloud"), "--json", "-o", path("out.csv")}),
              StartsWith("{\"numPoints\":3,"));
  EXPECT_EQ(csvRows(readFile(path("out.csv"))).size(), 3U);
}

TEST_F(PointFile, ReplacesAFileOfThatName) {
  write("out.csv", "old");
  (void)outputOf({"points", path("cloud"), "-o", path("out.csv")});
  EXPECT_EQ(csvRows(readFile(path("out.csv"))).size(), 3U);
}

TEST_F(PointFile, ReplacesNothingWhenTheWorkFails) {
  write("out.csv", "old");
  write("cloud/octree.bin", "too short");
  EXPECT_EQ(runProgram({"points", path("cloud"), "-o", path("out.csv")}).status, 1);
  EXPECT_EQ(readFile(path("out.csv")), "old");
  EXPECT_THAT(names(), ElementsAre("cloud", "out.csv"));
}

TEST_F(PointFile, LeavesWhatAKilledRunHasLeft) {
  write("out.csv.partial", "half");
  (void)outputOf({"points", path("cloud"), "-o", path("out.csv")});
  EXPECT_EQ(readFile(path("out.csv.partial")), "half");
  EXPECT_THAT(names(), ElementsAre("cloud", "out.csv", "out.csv.partial"));
}

TEST_F(PointFile, FollowsSymbolicLinks) {
  write("real.csv", "old");
  std::filesystem::create_symlink("real.csv", path("link.csv"));
  (void)outputOf({"points", path("cloud"), "-o", path("link.csv")});
  EXPECT_TRUE(std::filesystem::is_symlink(path("link.csv")));
  EXPECT_EQ(csvRows(readFile(path("real.csv"))).size(), 3U);
}

TEST_F(PointFile, IsNoFolderAndNoPipe) {
  std::filesystem::create_directory(path("folder.csv"));
  ASSERT_EQ(mkfifo(path("pipe.csv").c_str(), 0600), 0);
  for (const char* const name : {"folder.csv", "pipe.csv"}) {
    const ProcessResult result = runProgram({"points", path("cloud"), "-o", path(name)});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "sorvik: " + path(name) + ": not a plain file, so it cannot be replaced\n");
  }
}

TEST_F(PointFile, NeedsAFolder) {
  const ProcessResult result = runProgram({"points", path("cloud"), "-o", path("none/out.csv")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("none/out.csv"));
  EXPECT_THAT(result.err, HasSubstr("No such file or directory"));
}

TEST_F(PointFile, IsNamedWhenItMayNotGrow) {
  rowOfPoints(5000).write(path("cloud"));
  for (const char* const name : {"out.csv", "out.las", "out.ply"}) {
    const ProcessResult result =
        runShell("ulimit -f 8; exec \"$0\" points '" + path("cloud") + "' -o '" + path(name) + "'");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "sorvik: " + path(name) + ": File too large\n");
  }
  EXPECT_THAT(names(), ElementsAre("cloud"));
}

}  // namespace
}  // namespace Testing
