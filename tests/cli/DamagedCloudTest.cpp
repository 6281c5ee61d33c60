#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "cli/Program.h"
#include "cli/SmallCloud.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// A real cloud whose point file ends early: some of its nodes cannot be read.
void writeTruncated(const std::filesystem::path& cloud, const TempFolder& folder) {
  for (const char* const name : {"metadata.json", "hierarchy.bin"})
    (void)folder.write(name, readFile(cloud / name));
  (void)folder.write("octree.bin", readFile(cloud / "octree.bin").substr(0, 300'000));
}

TEST(DamagedCloud, IsReadAsFarAsItGoesAndFails) {
  SORVIK_SAMPLE_OR_SKIP(cloud, "potree/andelskahora");
  const TempFolder folder;
  writeTruncated(cloud, folder);
  const ProcessResult result = runProgram({"points", folder.path().string()});
  EXPECT_EQ(result.status, 1);
  EXPECT_GT(csvRows(result.out).size(), 5000U);
  EXPECT_LT(csvRows(result.out).size(), 26845U);
  EXPECT_THAT(result.err, HasSubstr(" nodes of the cloud could not be read:\n  r"));
  EXPECT_THAT(result.err, HasSubstr("octree.bin"));
  EXPECT_THAT(result.err, HasSubstr("--skip-unreadable takes what can be read\n"));
}

TEST(DamagedCloud, ShowsTheFirstReasonsOnly) {
  SORVIK_SAMPLE_OR_SKIP(cloud, "potree/andelskahora");
  const TempFolder folder;
  writeTruncated(cloud, folder);
  const std::string messages = runProgram({"points", folder.path().string(), "--count"}).err;
  EXPECT_EQ(std::count(messages.begin(), messages.end(), '\n'), 1 + 5 + 1 + 1);
  EXPECT_THAT(messages, HasSubstr("\n  ...\n"));
}

TEST(DamagedCloud, CountsAsDoneWhenUnreadableNodesAreSkipped) {
  SORVIK_SAMPLE_OR_SKIP(cloud, "potree/andelskahora");
  const TempFolder folder;
  writeTruncated(cloud, folder);
  const std::string path = folder.path().string();
  const ProcessResult failed = runProgram({"points", path, "--json"});
  const ProcessResult skipped = runProgram({"points", path, "--json", "--skip-unreadable"});
  EXPECT_EQ(failed.status, 1);
  EXPECT_EQ(skipped.status, 0);
  EXPECT_EQ(skipped.out, failed.out);
  EXPECT_EQ(nlohmann::json::parse(skipped.out)["numChunks"], 69);
}

TEST(DamagedCloud, IsWrittenToAFileOnlyWhenUnreadableNodesAreSkipped) {
  const TempFolder folder;
  rowOfPoints(10).write(folder.path() / "cloud");
  (void)folder.write("cloud/octree.bin", "");
  const std::string file = (folder.path() / "out.csv").string();
  const std::vector<std::string> call{"points", (folder.path() / "cloud").string(), "-o", file};
  const ProcessResult failed = runProgram(call);
  EXPECT_EQ(failed.status, 1);
  EXPECT_THAT(failed.err, StartsWith("sorvik: 1 node of the cloud could not be read:\n  r: "));
  EXPECT_THAT(failed.err, HasSubstr(file + " was not written; --skip-unreadable takes what can be read\n"));
  EXPECT_FALSE(std::filesystem::exists(file));
  std::vector<std::string> skipping = call;
  skipping.emplace_back("--skip-unreadable");
  EXPECT_EQ(runProgram(skipping).status, 0);
  EXPECT_EQ(csvRows(readFile(file)).size(), 0U);
}

TEST(DamagedCloud, IsWalkedPastAPartOfTheHierarchyThatIsLost) {
  const TempFolder folder;
  SmallCloud cloud = rowOfPoints(10);
  cloud.lostSubtree = true;
  cloud.write(folder.path() / "cloud");
  const std::string path = (folder.path() / "cloud").string();
  const ProcessResult result = runProgram({"points", path, "--count"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "10\n");
  EXPECT_THAT(result.err, HasSubstr("hierarchy.bin"));
  EXPECT_EQ(outputOf({"points", path, "--count", "--skip-unreadable"}), "10\n");
}

}  // namespace
}  // namespace Testing
