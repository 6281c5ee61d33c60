#include <gmock/gmock.h>

#include <cmath>
#include <fstream>

#include "cli/Program.h"
#include "cli/SmallCloud.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

using ::testing::HasSubstr;

constexpr const char* kBall =
    R"({"type":"Sphere","volume":{"center":[844161.7,1014989.2,636],"radius":0.02}})";

class RegionFiles : public ::testing::Test {
 protected:
  std::string file(const std::string& text) {
    const std::filesystem::path path = folder_.path() / "region.json";
    std::ofstream(path) << text;
    return path.string();
  }

  TempFolder folder_;
};

/// A ball as a region's text.
std::string ball(double x, double y, double z, double radius) {
  return R"({"type":"Sphere","volume":{"center":[)" + std::to_string(x) + ',' + std::to_string(y) + ',' +
         std::to_string(z) + R"(],"radius":)" + std::to_string(radius) + "}}";
}

using RegionCommand = RegionFiles;
using PointsOfRegions = RegionFiles;

TEST_F(RegionCommand, SaysWhetherAPointLiesInTheRegionToTheLastDigit) {
  const std::string path = file(kBall);
  EXPECT_EQ(outputOf({"region", path, "--at", "844161.71,1014989.2,636"}), "inside\n");
  EXPECT_EQ(outputOf({"region", path, "--at", "844161.73,1014989.2,636"}), "outside\n");
  EXPECT_EQ(outputOf({"region", path, "--at", "844161.7,1014989.2,636", "--json"}), "{\"inside\":true}\n");
  EXPECT_EQ(outputOf({"region", path, "--at", "-1,-2,-3", "--json"}), "{\"inside\":false}\n");
}

TEST_F(RegionCommand, FailsForFilesThatHoldNoRegion) {
  for (const char* const text : {"", "null", "{}", R"({"type":"Cone"})", "<!DOCTYPE html"}) {
    const std::string path = file(text);
    const ProcessResult result = runProgram({"region", path, "--at", "0,0,0"});
    EXPECT_EQ(result.status, 1) << text;
    EXPECT_THAT(result.err, HasSubstr(path)) << text;
  }
  EXPECT_THAT(runProgram({"region", file(R"({"type":"Cone"})"), "--at", "0,0,0"}).err,
              HasSubstr("Unknown typeName"));
}

TEST_F(RegionCommand, FailsForFilesThatCannotBeReadOrAreTooLong) {
  const std::string missing = (folder_.path() / "missing.json").string();
  EXPECT_THAT(runProgram({"region", missing, "--at", "0,0,0"}).err,
              HasSubstr("missing.json: No such file or directory"));
  const ProcessResult folder = runProgram({"region", folder_.path().string(), "--at", "0,0,0"});
  EXPECT_EQ(folder.status, 1);
  EXPECT_THAT(folder.err, HasSubstr("Is a directory"));
  EXPECT_THAT(runProgram({"region", "/dev/zero", "--at", "0,0,0"}).err, HasSubstr("at most 8388608 bytes"));
}

TEST_F(RegionCommand, RefusesWrongCalls) {
  const std::string path = file(kBall);
  for (const std::vector<std::string>& call : {std::vector<std::string>{"region"},
                                               {"region", path},
                                               {"region", path, "--at", "1,2"},
                                               {"region", path, "--at", "1,2,3,4"},
                                               {"region", path, "--at", "1,2,x"}}) {
    EXPECT_EQ(runProgram(call).status, 2);
  }
}

TEST_F(PointsOfRegions, AreThoseOfTheSameShapeInBothFrames) {
  SORVIK_SAMPLE_OR_SKIP(cloud, "potree/andelskahora");
  // The reference position is -844161.69, -1014989.25, 636.83.
  const std::string shape =
      outputOf({"points", cloud.string(), "--json", "--local", "--sphere", "200,200,40,50"});
  EXPECT_EQ(
      outputOf({"points", cloud.string(), "--json", "--local", "--region", file(ball(200, 200, 40, 50))}),
      shape);
  EXPECT_EQ(
      outputOf({"points", cloud.string(), "--json", "--local", "--region",
                file(ball(-844161.69 + 200, -1014989.25 + 200, 636.83 + 40, 50)), "--region-frame", "world"}),
      shape);
}

TEST_F(PointsOfRegions, OfAnInvertedRegionAreTheOthers) {
  SORVIK_SAMPLE_OR_SKIP(cloud, "potree/andelskahora");
  const std::string inside = ball(200, 200, 40, 50);
  const long in = std::stol(outputOf({"points", cloud.string(), "--count", "--region", file(inside)}));
  const long out = std::stol(outputOf({"points", cloud.string(), "--count", "--region",
                                       file(R"({"type":"InvertedRegion","region":)" + inside + "}")}));
  EXPECT_GT(in, 100);
  EXPECT_EQ(in + out, 26845);
}

TEST_F(PointsOfRegions, CannotBeAskedForTogetherWithAShapeNorAFrameWithoutThem) {
  rowOfPoints(3).write(folder_.path() / "cloud");
  const std::string cloud = (folder_.path() / "cloud").string();
  const std::string path = file(kBall);
  EXPECT_EQ(runProgram({"points", cloud, "--region", path, "--sphere", "0,0,0,1"}).status, 2);
  EXPECT_EQ(runProgram({"points", cloud, "--region-frame", "world"}).status, 2);
  EXPECT_EQ(runProgram({"points", cloud, "--region", path, "--region-frame", "moon"}).status, 2);
  EXPECT_EQ(runProgram({"points", cloud, "--region", path + "x"}).status, 1);
}

}  // namespace
}  // namespace Testing
