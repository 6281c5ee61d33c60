#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/Program.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

using testing::HasSubstr;

class MakeSample : public testing::Test {
 protected:
  [[nodiscard]] std::string path(const std::string& name) const { return (folder_.path() / name).string(); }

 private:
  TempFolder folder_;
};

TEST_F(MakeSample, WritesAFileAndSaysNothing) {
  EXPECT_EQ(outputOf({"make-sample", path("a.las"), "--points", "1000", "--seed", "3"}), "");
  EXPECT_EQ(readFile(path("a.las")).size(), 375 + 1000 * 36U);
}

TEST_F(MakeSample, WritesCompressedFiles) {
  EXPECT_EQ(outputOf({"make-sample", path("a.laz"), "--points", "60000"}), "");
  (void)outputOf({"make-sample", path("a.las"), "--points", "60000"});
  EXPECT_LT(readFile(path("a.laz")).size(), readFile(path("a.las")).size() / 2);
  EXPECT_EQ(readFile(path("a.laz")).at(104), static_cast<char>(7 | 0x80)) << "point format";
}

TEST_F(MakeSample, WritesFilesOfAnOlderVersion) {
  EXPECT_EQ(outputOf({"make-sample", path("a.laz"), "--points", "1000", "--las-version", "1.2"}), "");
  EXPECT_EQ(readFile(path("a.laz")).at(25), 2) << "minor version";
  EXPECT_EQ(readFile(path("a.laz")).at(104), static_cast<char>(3 | 0x80)) << "point format";
}

TEST_F(MakeSample, SaysHowManyPointsAsJson) {
  EXPECT_EQ(outputOf({"make-sample", path("a.las"), "--points", "12", "--json"}), "{\"numPoints\":12}\n");
}

TEST_F(MakeSample, MakesTheSameFileAgain) {
  (void)outputOf({"make-sample", path("a.las"), "--points", "5000", "--seed", "18446744073709551615"});
  (void)outputOf({"make-sample", path("b.las"), "--points", "5000", "--seed", "18446744073709551615"});
  (void)outputOf({"make-sample", path("c.las"), "--points", "5000"});
  EXPECT_EQ(readFile(path("a.las")), readFile(path("b.las")));
  EXPECT_NE(readFile(path("a.las")), readFile(path("c.las")));
}

TEST_F(MakeSample, RefusesACallThatMeansNothing) {
  const auto refuses = [](const std::vector<std::string>& arguments, const char* why) {
    const ProcessResult result = runProgram(arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr(why));
  };
  refuses({"make-sample"}, "FILE is required");
  refuses({"make-sample", path("a.txt")}, "FILE: cannot write .txt files: use .las, .laz, .ply or .csv");
  refuses({"make-sample", path("a.las"), "--points", "-1"}, "--points: '-1' is not a whole number");
  refuses({"make-sample", path("a.las"), "--points", "1e6"}, "--points: '1e6' is not a whole number");
  refuses({"make-sample", path("a.las"), "--points", "1000000000001"},
          "--points: '1000000000001' is out of range");
  refuses({"make-sample", path("a.las"), "--seed", "18446744073709551616"}, "is out of range");
  refuses({"make-sample", path("a.las"), "--seed="}, "--seed");
  refuses({"make-sample", path("a.las"), "--las-version", "1.3"}, "--las-version: '1.3' is not written");
  refuses({"make-sample", path("a.ply"), "--las-version", "1.2"},
          "--las-version: is for .las and .laz files");
}

TEST_F(MakeSample, FailsWhereItCannotWrite) {
  const ProcessResult result = runProgram({"make-sample", path("none/a.las"), "--points", "10"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("none/a.las"));
}

TEST_F(MakeSample, LeavesNothingWhenItIsInterrupted) {
  const auto call = programCommand({"make-sample", path("a.las"), "--points", "1000"});
  EXPECT_EQ(Process(call, {.pendingInterrupt = true}).wait().status, 130);
  EXPECT_FALSE(std::filesystem::exists(path("a.las")));
  EXPECT_FALSE(std::filesystem::exists(path("a.las.partial")));
}

}  // namespace
}  // namespace Testing
