#include <gmock/gmock.h>

#include <cmath>

#include "formats/UnsupportedFormat.h"
#include "formats/projects/RspProject.h"
#include "support/SampleData.h"

namespace Testing {
namespace {

using Formats::ProjectMember;
using Formats::RspProject;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

RspProject read(const std::string& xml) {
  return Formats::readRspProject(std::as_bytes(std::span(xml)), {"p.rsp"});
}

std::vector<std::string> pathsOf(const RspProject& project) {
  std::vector<std::string> paths;
  for (const ProjectMember& member : project.members) paths.push_back(member.path);
  return paths;
}

std::string refusal(const std::string& xml) {
  try {
    (void)read(xml);
  } catch (const Core::FormatError& error) {
    return error.what();
  }
  return "accepted";
}

std::string matrix(const std::string& numbers) {
  return "<matrix rows='4' cols='4'> " + numbers + " </matrix>";
}

constexpr const char* kIdentity = "1 0 0 0  0 1 0 0  0 0 1 0  0 0 0 1";
constexpr const char* kShift = "1 0 0 100\r\n 0 1 0 2E+002\r\n 0 0 1 3.5\r\n 0 0 0 1";
constexpr const char* kQuarterTurn = "0 -1 0 10  1 0 0 20  0 0 1 30  0 0 0 1";

/// A project of one position with one scan; each part may be replaced.
struct Project {
  std::string head = "<?xml version='1.0'?><!DOCTYPE project SYSTEM './project.dtd'>";
  std::string pop = "<pop>" + matrix(kIdentity) + "</pop>";
  std::string sop = "<sop>" + matrix(kIdentity) + "</sop>";
  std::string lists =
      "<singlescans fold='SINGLESCANS'><scan name='a'><file>a.rxp</file></scan></singlescans>";
  std::string objects = {};

  [[nodiscard]] std::string xml() const {
    return head + "<project name='p' kind='ProjectX' fold='p.RiSCAN'>" + pop +
           "<scanpositions fold='SCANS'><scanposition name='SP01' fold='P1'><name>SP01</name>"
           "<registered>1</registered>" +
           sop + lists + "</scanposition></scanpositions>" + objects + "</project>";
  }
};

TEST(RspProject, JoinsFoldersAndFileToAPath) {
  const RspProject project = read(Project().xml());
  EXPECT_THAT(pathsOf(project), ElementsAre("SCANS/P1/SINGLESCANS/a.rxp"));
  EXPECT_EQ(project.numPositions, 1U);
  EXPECT_THAT(project.warnings, IsEmpty());
}

TEST(RspProject, ListsScansAndPointCloudsButNoScansOfReflectors) {
  Project project;
  project.lists =
      "<singlescans fold='S'><scan><file>a.rxp</file></scan><scan/><scan><file> "
      "</file></scan></singlescans>"
      "<tiepointscans fold='T'><scan><file>tp1.rxp</file></scan></tiepointscans>"
      "<profilescans><scan><file>line.rxp</file></scan></profilescans>"
      "<rdb2pointclouds fold='C'><rdb2pointcloud><file>c.rdbx</file></rdb2pointcloud></rdb2pointclouds>"
      "<scanposimages fold='I'><scanposimage><file>i.jpg</file></scanposimage></scanposimages>";
  project.objects =
      "<geometry_objects><pointclouds fold='ALL'><rdb2pointcloud><file>all.rdbx</file></rdb2pointcloud>"
      "</pointclouds><images fold='I'><image><file>x.jpg</file></image></images></geometry_objects>";
  EXPECT_THAT(pathsOf(read(project.xml())),
              ElementsAre("SCANS/P1/S/a.rxp", "SCANS/P1/line.rxp", "SCANS/P1/C/c.rdbx", "ALL/all.rdbx"));
}

TEST(RspProject, SkipsWhatIsMarkedDeleted) {
  Project project;
  project.lists =
      "<singlescans><scan states='deleted' date_deleted='2016'><file>old@2016.rxp</file></scan>"
      "<scan states='default'><file>new.rxp</file></scan></singlescans>";
  EXPECT_THAT(pathsOf(read(project.xml())), ElementsAre("SCANS/P1/new.rxp"));
  EXPECT_EQ(read(project.xml()).numDeleted, 1U);

  std::string xml = Project().xml();
  xml.replace(xml.find("<scanposition "), 14, "<scanposition states='deleted' ");
  EXPECT_THAT(pathsOf(read(xml)), IsEmpty());
  EXPECT_EQ(read(xml).numPositions, 0U);
}

TEST(RspProject, MultipliesProjectsAndPositionsMatrices) {
  Project project;
  project.pop = "<pop>" + matrix(kShift) + "</pop>";
  project.sop = "<sop>" + matrix(kQuarterTurn) + "</sop>";
  project.objects =
      "<geometry_objects><pointclouds><c><file>c.rdbx</file></c></pointclouds></geometry_objects>";
  const RspProject found = read(project.xml());
  // (1, 2, 3) turned is (-2, 1, 3).
  EXPECT_EQ(found.members[0].pose.apply({{1, 2, 3}}), (Math::Point<double, 3>{{108, 221, 36.5}}));
  EXPECT_EQ(found.members[1].pose.apply({{1, 2, 3}}), (Math::Point<double, 3>{{101, 202, 6.5}}));
}

class OddMatrix : public testing::TestWithParam<const char*> {};

TEST_P(OddMatrix, IsTakenAsTheIdentityWithAWarning) {
  Project project;
  project.sop = GetParam();
  const RspProject found = read(project.xml());
  EXPECT_EQ(found.members[0].pose, Math::Pose());
  EXPECT_THAT(found.warnings, ElementsAre(HasSubstr("The matrix of the position SP01 is ")));
}

INSTANTIATE_TEST_SUITE_P(Rsp, OddMatrix,
                         testing::Values("", "<sop/>", "<sop><matrix/></sop>",
                                         "<sop><matrix>1 0 0 0 0 1 0 0 0 0 1 0 0 0 0</matrix></sop>",
                                         "<sop><matrix>1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 0</matrix></sop>",
                                         "<sop><matrix>1 0 0 0 0 1 0 0 0 0 1 0 0 0 1 1</matrix></sop>",
                                         "<sop><matrix>1,5 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1</matrix></sop>"));

TEST(RspProject, RefusesMatricesOfNumbersThatAreNotFinite) {
  for (const char* const number : {"nan", "NaN", "inf", "-inf", "1e999"}) {
    Project project;
    project.pop = "<pop>" + matrix(std::string(number) + " 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1") + "</pop>";
    EXPECT_THAT(refusal(project.xml()), HasSubstr("the matrix of the project: expected finite numbers"))
        << number;
  }
}

TEST(RspProject, WarnsOfPositionsThatAreNotRegistered) {
  std::string xml = Project().xml();
  xml.replace(xml.find("<registered>1"), 13, "<registered>0");
  EXPECT_THAT(read(xml).warnings, ElementsAre(HasSubstr("the position SP01 is not registered")));
}

TEST(RspProject, RefusesAnotherRootElement) {
  try {
    (void)read("<notaproject>\n</notaproject>");
    FAIL();
  } catch (const Formats::UnsupportedFormat& error) {
    EXPECT_THAT(error.what(),
                HasSubstr("p.rsp, byte 0: root element of a RiSCAN PRO project: expected project, "
                          "found notaproject"));
  }
}

TEST(RspProject, RefusesEveryTruncation) {
  const std::string whole = Project().xml();
  for (std::size_t n = 0; n < whole.size(); ++n) {
    EXPECT_NE(refusal(whole.substr(0, n)), "accepted") << n << " bytes";
  }
}

TEST(RspProject, RefusesEntitiesAndExpandsNone) {
  Project project;
  project.head = "<!DOCTYPE project [<!ENTITY a 'aaaaaaaaaa'><!ENTITY b '&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;'>]>";
  EXPECT_THAT(refusal(project.xml()), HasSubstr("DOCTYPE: expected no entities"));
  project.head = "<!DOCTYPE project [\n <!-- PUT INTERNAL DOCUMENT TYPE DEFINITION SUBSET HERE -->\n]>";
  EXPECT_THAT(pathsOf(read(project.xml())), Not(IsEmpty()));
}

TEST(RspProject, ReadsNamesOfOldProgramsAsWindows1252) {
  Project project;
  project.lists = "<singlescans><scan><file>Stra\xDF\x65 \x80.rxp</file></scan></singlescans>";
  EXPECT_THAT(pathsOf(read(project.xml())), ElementsAre("SCANS/P1/Stra\u00DFe \u20AC.rxp"));
  project.lists = "<singlescans><scan><file>Stra\u00DFe.rxp</file></scan></singlescans>";
  EXPECT_THAT(pathsOf(read(project.xml())), ElementsAre("SCANS/P1/Stra\u00DFe.rxp"));
}

TEST(RspProject, HandsOnPathsThatLeadOutside) {
  Project project;
  project.lists =
      R"(<singlescans fold="..\.."><scan><file>..\a.rxp</file></scan><scan><file>C:\x\b.rxp</file></scan>)"
      "<scan><file>/etc/c.rxp</file></scan></singlescans>";
  EXPECT_THAT(pathsOf(read(project.xml())),
              ElementsAre("SCANS/P1/../../../a.rxp", "C:/x/b.rxp", "/etc/c.rxp"));
}

TEST(RspProject, SurvivesElementsInElementsInElements) {
  constexpr int kDeep = 100'000;
  std::string xml = "<project>";
  for (int i = 0; i < kDeep; ++i) xml += "<a>";
  for (int i = 0; i < kDeep; ++i) xml += "</a>";
  EXPECT_THAT(read(xml + "</project>").members, IsEmpty());
  EXPECT_NE(refusal(xml), "accepted");
}

TEST(RealRspProject, ListsFourScansOfTwoPositionsAndTheirPoses) {
  SORVIK_SAMPLE_OR_SKIP(file, "vendor/riscan-project.rsp");
  const RspProject project = read(readFile(file));
  EXPECT_THAT(
      pathsOf(project),
      ElementsAre("SCANS/SP01/SINGLESCANS/151120_150227.rxp", "SCANS/SP01/SINGLESCANS/151120_150404.rxp",
                  "SCANS/SP02/SINGLESCANS/151120_155528.rxp", "SCANS/SP02/SINGLESCANS/151120_155857.rxp"));
  EXPECT_EQ(project.numPositions, 2U);
  EXPECT_EQ(project.numDeleted, 6U);
  EXPECT_THAT(project.warnings, IsEmpty());
  // The position that the project states beside the first position's matrix.
  const std::string text = readFile(file);
  const std::size_t at = text.find("<position_vector");
  std::istringstream vector(text.substr(text.find('>', at) + 1));
  const Math::Point<double, 3> origin = project.members[0].pose.apply({});
  for (int axis = 0; axis < 3; ++axis) {
    double stated = 0;
    vector >> stated;
    EXPECT_NEAR(origin[axis], stated, 1e-3) << axis;
  }
}

TEST(RealRspProject, ReadsANewerProjectWithAnInternalSubsetInItsDoctype) {
  SORVIK_SAMPLE_OR_SKIP(file, "vendor/riscan-extra-crap-in-doctype.rsp");
  const RspProject project = read(readFile(file));
  EXPECT_EQ(project.numPositions, 23U);
  EXPECT_THAT(pathsOf(project), Contains("SCANS/ScanPos008/SINGLESCANS/170117_201451.rxp"));
  EXPECT_THAT(pathsOf(project), Contains("OBJECTS/POINTCLOUDS/20170117_SouthPole_1cm_octree.rdbx"));
  EXPECT_THAT(pathsOf(project), Not(Contains(HasSubstr("tp001"))));
  EXPECT_EQ(project.members.size(), 24U + 2U + 1U);
}

TEST(RealRspProject, RefusesAFileThatIsNoProject) {
  SORVIK_SAMPLE_OR_SKIP(file, "vendor/riscan-notaproject.rsp");
  EXPECT_THAT(refusal(readFile(file)), HasSubstr("expected project, found notaproject"));
}

}  // namespace
}  // namespace Testing
