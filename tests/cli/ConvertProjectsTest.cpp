// Scanner projects converted by the program.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "cli/Program.h"
#include "support/LasFile.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

/// A project of one position, shifted by (1000, 2000, 30), whose scan has one point (1, 2, 3).
class ConvertProjects : public testing::Test {
 protected:
  ConvertProjects() {
    folder_.write("p/S/scan.las", LasFile().point(100, 200, 300).bytes());
    writeProject("S/scan.rxp");
  }

  void writeProject(const std::string& file) const {
    folder_.write("p/project.rsp",
                  "<project><scanpositions><scanposition><sop><matrix>1 0 0 1000 0 1 0 2000 0 0 1 30 0 0 0 1"
                  "</matrix></sop><singlescans><scan><file>" +
                      file + "</file></scan></singlescans></scanposition></scanpositions></project>");
  }

  [[nodiscard]] ProcessResult convert(const std::vector<std::string>& options) const {
    std::vector<std::string> arguments{"convert", (folder_.path() / "p/project.rsp").string(), "-o", out(),
                                       "--json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return runProgram(arguments);
  }

  [[nodiscard]] std::string out() const { return (folder_.path() / "out").string(); }

  TempFolder folder_;
};

TEST_F(ConvertProjects, KeepCoordinatesWithoutApplyPose) {
  const ProcessResult result = convert({});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("project.rsp: the poses of its scans were not applied"));
  EXPECT_THAT(allPositions(out()), ElementsAre(std::array<double, 3>{1, 2, 3}));
}

TEST_F(ConvertProjects, MovePointsWithApplyPose) {
  EXPECT_EQ(convert({"--apply-pose"}).status, 0);
  const std::vector<std::array<double, 3>> positions = allPositions(out());
  ASSERT_EQ(positions.size(), 1U);
  EXPECT_NEAR(positions[0][0], 1001, 1e-4);
  EXPECT_NEAR(positions[0][1], 2002, 1e-4);
  EXPECT_NEAR(positions[0][2], 33, 1e-4);
}

TEST_F(ConvertProjects, LeaveTheirFolderOnlyWithAllowOutside) {
  folder_.write("q/scan.las", LasFile().point(500, 0, 0).bytes());
  writeProject("../q/scan.rxp");
  const ProcessResult refused = convert({});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(json::parse(refused.out)["result"], "InputCannotRead");
  EXPECT_THAT(refused.err, HasSubstr("its scan ../q/scan.rxp lies outside the project's folder"));
  EXPECT_EQ(convert({"--allow-outside"}).status, 0);
  EXPECT_EQ(allPositions(out()).size(), 1U);
}

TEST_F(ConvertProjects, OfClosedScansAreRefusedWithWhatToDo) {
  writeProject("S/other.rxp");
  const ProcessResult refused = convert({});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(json::parse(refused.out)["result"], "InputPointCloudFormatUnsupported");
  EXPECT_THAT(refused.err, HasSubstr("beside S/other.rxp; export the scans as LAS, LAZ or E57"));
}

}  // namespace
}  // namespace Testing
