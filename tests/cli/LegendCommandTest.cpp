#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "cli/Program.h"
#include "support/PngFile.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class Legend : public testing::Test {
 protected:
  [[nodiscard]] std::string path(const std::string& name) const { return (folder_.path() / name).string(); }

 private:
  TempFolder folder_;
};

TEST_F(Legend, IsHorizontalUnlessAskedOtherwise) {
  EXPECT_EQ(outputOf({"legend", "gray", "-o", path("a.png")}), "");
  const PngFile file = readPng(path("a.png"));
  EXPECT_EQ(file.width, 512U);
  EXPECT_EQ(file.height, 64U);
  EXPECT_EQ(file.at(0, 63), (Rgba{0, 0, 0, 255}));
  EXPECT_EQ(file.at(256, 0), (Rgba{128, 128, 128, 255}));
  EXPECT_EQ(file.at(511, 0), (Rgba{255, 255, 255, 255}));
}

TEST_F(Legend, RunsUpwardsWhenItIsVertical) {
  EXPECT_EQ(outputOf({"legend", "red-white-blue", "--vertical", "-o", path("a.png")}), "");
  const PngFile file = readPng(path("a.png"));
  EXPECT_EQ(file.width, 64U);
  EXPECT_EQ(file.height, 512U);
  EXPECT_EQ(file.at(63, 0), (Rgba{1, 1, 255, 255}));
  EXPECT_EQ(file.at(0, 511), (Rgba{255, 0, 0, 255}));
}

TEST_F(Legend, HasTheSizeThatItIsGiven) {
  EXPECT_EQ(outputOf({"legend", "jet", "--width", "7", "--height", "3", "-o", path("a.PNG")}), "");
  EXPECT_EQ(readPng(path("a.PNG")).width, 7U);
  EXPECT_EQ(readPng(path("a.PNG")).height, 3U);
}

TEST_F(Legend, ListsTheMapsAndDrawsEachOfThem) {
  std::istringstream names(outputOf({"legend", "--list"}));
  std::vector<std::string> files;
  for (std::string name; std::getline(names, name);) {
    EXPECT_EQ(outputOf({"legend", name, "--height", "1", "-o", path("a.png")}), "") << name;
    const std::string file = readFile(path("a.png"));
    EXPECT_THAT(files, testing::Not(testing::Contains(file))) << name;
    files.push_back(file);
  }
  EXPECT_EQ(files.size(), 18U);
}

TEST_F(Legend, RefusesACallThatMeansNothing) {
  const auto refuses = [](const std::vector<std::string>& arguments, const char* why) {
    const ProcessResult result = runProgram(arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr(why));
  };
  refuses({"legend"}, "MAP is missing: sorvik legend --list lists them");
  refuses({"legend", "rainbow", "-o", path("a.png")},
          "MAP: 'rainbow' is no colour map: sorvik legend --list");
  refuses({"legend", "", "-o", path("a.png")}, "MAP");
  refuses({"legend", "jet"}, "-o is missing");
  refuses({"legend", "jet", "-o", path("a.jpg")}, "a.jpg' is no .png file");
  refuses({"legend", "jet", "-o", path("a.png"), "--width", "0"}, "--width: '0' is out of range");
  refuses({"legend", "jet", "-o", path("a.png"), "--height", "16385"}, "--height: '16385' is out of range");
  refuses({"legend", "jet", "-o", path("a.png"), "--height", ""}, "--height");
  refuses({"legend", "jet", "--list"}, "MAP excludes --list");
  EXPECT_FALSE(std::filesystem::exists(path("a.png")));
}

TEST_F(Legend, FailsWhereItCannotWrite) {
  const ProcessResult result = runProgram({"legend", "jet", "-o", path("none/a.png")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, AllOf(HasSubstr("none/a.png"), HasSubstr("No such file")));
}

TEST_F(Legend, LeavesNothingWhenItIsInterrupted) {
  const auto call = programCommand({"legend", "jet", "-o", path("a.png")});
  EXPECT_EQ(Process(call, {.pendingInterrupt = true}).wait().status, 130);
  EXPECT_FALSE(std::filesystem::exists(path("a.png")));
}

}  // namespace
}  // namespace Testing
