#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "converter/WrittenOctree.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace {

using testing::HasSubstr;
using Testing::TempFolder;
using Testing::WrittenOctree;

struct Outcome {
  int status;
  std::string output;
};

/// Runs the program with the words @p arguments, in @p folder.
Outcome run(const TempFolder& folder, const std::string& arguments) {
  const std::string command =
      "cd " + folder.path().string() + " && '" MAKE_DEMO_CLOUD "' " + arguments + " >output.txt 2>&1";
  const int status = std::system(command.c_str());
  return {WEXITSTATUS(status), Testing::readFile(folder.path() / "output.txt")};
}

TEST(MakeDemoCloud, WritesAnUncompressedOctreeOfAsManyPointsAsAskedFor) {
  const TempFolder folder;
  EXPECT_EQ(run(folder, "cloud --points 5000").status, 0);
  const WrittenOctree octree(folder.path() / "cloud");
  EXPECT_EQ(octree.metaData["encoding"], "DEFAULT");
  EXPECT_EQ(octree.allPoints().size(), 5000U);
}

TEST(MakeDemoCloud, CompressesWhenAskedTo) {
  const TempFolder folder;
  EXPECT_EQ(run(folder, "--encoding brotli --points 5000 --seed 7 cloud").status, 0);
  const WrittenOctree octree(folder.path() / "cloud");
  EXPECT_EQ(octree.metaData["encoding"], "BROTLI");
  auto expected = splitRecords(Testing::surveyRecords(5000, 7));
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(octree.allPoints(), expected);
}

TEST(MakeDemoCloud, EndsWithTwoAndTheUsageForACallThatItDoesNotUnderstand) {
  const TempFolder folder;
  for (const char* arguments :
       {"", "a b", "a --points", "a --points 0", "a --points 1e6", "a --points -1", "a --points 4294967296",
        "a --seed x", "a --encoding zip", "a --other 1", "''", "--help"}) {
    const Outcome outcome = run(folder, arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_THAT(outcome.output, HasSubstr("usage: make_demo_cloud FOLDER")) << arguments;
  }
}

TEST(MakeDemoCloud, EndsWithOneAndTheReasonWhenThereIsACloudAlready) {
  const TempFolder folder;
  folder.write("cloud/metadata.json", "mine");
  const Outcome outcome = run(folder, "cloud --points 100");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.output, HasSubstr("make_demo_cloud: cannot write cloud/metadata.json: it exists"));
}

}  // namespace
