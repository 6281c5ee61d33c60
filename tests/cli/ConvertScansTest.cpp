// Whole conversions by the program.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>

#include "cli/Program.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

using nlohmann::json;

/// All that an octree holds of its points as CSV, the lines sorted.
std::vector<std::string> linesOf(const std::string& octree) {
  std::istringstream text(outputOf({"points", octree}));
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  std::sort(lines.begin(), lines.end());
  return lines;
}

class ThereAndBack : public testing::TestWithParam<const char*> {};

TEST_P(ThereAndBack, KeepsEveryAttributeOfAScan) {
  SORVIK_SAMPLE_OR_SKIP(scan, std::string("las/") + GetParam());
  const TempFolder folder;
  const auto path = [&](const char* name) { return (folder.path() / name).string(); };
  (void)outputOf({"convert", scan.string(), "-o", path("first"), "--encoding", "uncompressed"});
  const std::vector<std::string> lines = linesOf(path("first"));
  EXPECT_GT(lines.size(), 5U);
  for (const char* const back : {"back.las", "back.laz"}) {
    (void)outputOf({"points", path("first"), "-o", path(back)});
    const std::string second = path(back) + "-octree";
    (void)outputOf({"convert", path(back), "-o", second, "--encoding", "uncompressed"});
    EXPECT_EQ(linesOf(second), lines) << back;
  }
}

INSTANTIATE_TEST_SUITE_P(Scans, ThereAndBack,
                         testing::Values("pdal-autzen_trim_7.las", "laspy-simple1_4.las",
                                         "laszip-5points_14.las", "loadersgl-pdrf8-1.4.las"));

TEST(ConvertScans, MakeTheSameOctreeCompressedOrNot) {
  const TempFolder folder;
  const auto path = [&](const std::string& name) { return (folder.path() / name).string(); };
  for (const std::string extension : {"las", "laz"}) {
    (void)outputOf({"make-sample", path("scan." + extension), "--points", "120000"});
    (void)outputOf(
        {"convert", path("scan." + extension), "-o", path(extension), "--encoding", "uncompressed"});
  }
  for (const std::string file : {"octree.bin", "hierarchy.bin"}) {
    EXPECT_TRUE(readFile(path("las/" + file)) == readFile(path("laz/" + file))) << file;
  }
}

TEST(ConvertScans, AreAnyNumberHoweverFewFilesMayBeOpen) {
  constexpr int kFiles = 120;
  SORVIK_SAMPLE_OR_SKIP(scan, "las/laszip-5points_14.las");
  const TempFolder folder;
  std::filesystem::create_directories(folder.path() / "scans");
  for (int i = 0; i < kFiles; ++i) {
    std::filesystem::copy_file(scan, folder.path() / "scans" / (std::to_string(i) + ".las"));
  }
  const std::string program = programCommand({}).front();
  const ProcessResult result =
      runShell("ulimit -n 64; '" + program + "' convert '" + (folder.path() / "scans").string() + "' -o '" +
               (folder.path() / "out").string() + "' --json");
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(json::parse(result.out)["numPoints"], 5 * kFiles);
}

}  // namespace
}  // namespace Testing
