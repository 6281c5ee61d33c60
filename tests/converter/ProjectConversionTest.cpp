// Whole conversions of scanner projects, whose scans lie beside them as LAS files.
#include <gmock/gmock.h>

#include "converter/ConversionError.h"
#include "converter/Converter.h"
#include "converter/WrittenOctree.h"
#include "support/LasFile.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

namespace fs = std::filesystem;
using Converter::ConverterOptions;
using Converter::Result;
using Core::JobState;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;

/// A position with a matrix and a scan "x.rxp".
std::string position(const std::string& name, const std::string& matrix) {
  return "<scanposition fold='" + name + "'><name>" + name + "</name><sop><matrix>" + matrix +
         "</matrix></sop><singlescans fold='S'><scan><file>x.rxp</file></scan></singlescans></scanposition>";
}

/// Two positions: one turned by a right angle, one shifted; the project lies far from its global origin.
std::string twoPositions() {
  return "<project><pop><matrix>1 0 0 1999000 0 1 0 2000000 0 0 1 0 0 0 0 1</matrix></pop><scanpositions>" +
         position("A", "0 -1 0 10 1 0 0 20 0 0 1 30 0 0 0 1") +
         position("B", "1 0 0 -5 0 1 0 0 0 0 1 0 0 0 0 1") + "</scanpositions></project>";
}

std::vector<std::array<double, 3>> worldPoints(const fs::path& cloud) {
  const WrittenOctree octree(cloud);
  std::vector<std::array<double, 3>> points;
  for (const std::string& record : octree.allPoints()) {
    const std::array<std::int32_t, 3> stored = positionOf(record);
    std::array<double, 3>& point = points.emplace_back();
    for (std::size_t axis = 0; axis < 3; ++axis) {
      point[axis] = stored[axis] * octree.metaData["scale"][axis].get<double>() +
                    octree.metaData["offset"][axis].get<double>();
    }
  }
  std::sort(points.begin(), points.end());
  return points;
}

/// A project folder of two positions.
class ConvertProject : public testing::Test {
 protected:
  ConvertProject() {
    // (1, 2, 3) and (3, 0, 0), then (0, 0, 0).
    write("A/S/x.las", LasFile().point(100, 200, 300).point(300, 0, 0).bytes());
    write("B/S/X.LAS", LasFile().point(0, 0, 0).bytes());
  }

  fs::path write(const fs::path& relative, const std::string& bytes) const {
    return folder_.write("p" / relative, bytes);
  }

  [[nodiscard]] std::vector<std::array<double, 3>> convert(const fs::path& input, bool applyPose) {
    ConverterOptions options;
    options.conversion.encoding = PoTree::Encoding::Uncompressed;
    options.applyPose = applyPose;
    options.overwrite = true;
    options.syncToDisk = false;
    Converter::Converter job(input, out(), options);
    EXPECT_EQ(job.run(), JobState::Completed) << job.failedReason();
    remarks = job.report().remarks;
    return worldPoints(out());
  }

  void expectPoints(const std::vector<std::array<double, 3>>& found,
                    const std::vector<std::array<double, 3>>& expected) {
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
      for (std::size_t axis = 0; axis < 3; ++axis) EXPECT_NEAR(found[i][axis], expected[i][axis], 1e-4) << i;
    }
  }

  [[nodiscard]] fs::path out() const { return folder_.path() / "out"; }

  std::vector<std::string> remarks;

 private:
  TempFolder folder_;

 protected:
  const fs::path project = write("project.rsp", twoPositions());
};

TEST_F(ConvertProject, KeepsTheCoordinatesOfExportsByDefault) {
  expectPoints(convert(project, false), {{0, 0, 0}, {1, 2, 3}, {3, 0, 0}});
  EXPECT_THAT(remarks, Contains(HasSubstr("the poses of its scans were not applied")));
}

TEST_F(ConvertProject, BringsScansToTheGlobalSystemWhereThatIsAskedFor) {
  expectPoints(convert(project, true),
               {{1998995, 2000000, 0}, {1999008, 2000021, 33}, {1999010, 2000023, 30}});
}

TEST_F(ConvertProject, ReadsEachFileOnceWhenTheWholeFolderIsTheInput) {
  write("other.las", LasFile().point(700, 0, 0).bytes());
  expectPoints(convert(project.parent_path(), true),
               {{7, 0, 0}, {1998995, 2000000, 0}, {1999008, 2000021, 33}, {1999010, 2000023, 30}});
}

TEST_F(ConvertProject, DoesNotReplaceItsOwnFolder) {
  ConverterOptions options;
  options.overwrite = true;
  Converter::Converter job(project, project.parent_path(), options);
  EXPECT_EQ(job.run(), JobState::Failed);
  EXPECT_TRUE(fs::exists(project.parent_path() / "A/S/x.las"));
}

TEST_F(ConvertProject, FailsWithTheDamageOfAMember) {
  write("A/S/x.las", "LASF and no more");
  Converter::Converter job(project, out(), ConverterOptions());
  EXPECT_EQ(job.run(), JobState::Failed);
  EXPECT_EQ(job.resultCode(), static_cast<int>(Result::InputGetInfoError));
  EXPECT_THAT(job.failedReason(), HasSubstr("A/S/x.las"));
}

TEST(RealClosedScans, AreRefusedWithTheVendorAndTheWayOut) {
  SORVIK_SAMPLE_OR_SKIP(file, "vendor/pdal-autzen-thin-srs.rdbx");
  const TempFolder folder;
  Converter::Converter job(file, folder.path() / "out", ConverterOptions());
  EXPECT_EQ(job.run(), JobState::Failed);
  EXPECT_EQ(job.resultCode(), static_cast<int>(Result::InputPointCloudFormatUnsupported));
  EXPECT_THAT(job.failedReason(), AllOf(HasSubstr("autzen-thin-srs.rdbx: is a RIEGL point database"),
                                        HasSubstr("export them as E57 or LAS")));
  EXPECT_FALSE(fs::exists(folder.path() / "out"));
}

TEST(RealProjects, WithoutExportsAreRefusedWithWhatToExport) {
  for (const char* const name : {"vendor/riscan-project.rsp", "vendor/riscan-extra-crap-in-doctype.rsp"}) {
    SORVIK_SAMPLE_OR_SKIP(file, name);
    const TempFolder folder;
    Converter::Converter job(file, folder.path() / "out", ConverterOptions());
    EXPECT_EQ(job.run(), JobState::Failed);
    EXPECT_EQ(job.resultCode(), static_cast<int>(Result::InputPointCloudFormatUnsupported));
    EXPECT_THAT(job.failedReason(), HasSubstr("is a RIEGL RiSCAN PRO project of which no scan can be read"));
  }
}

}  // namespace
}  // namespace Testing
