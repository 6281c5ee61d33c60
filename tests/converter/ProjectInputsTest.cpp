#include <gmock/gmock.h>

#include "converter/ConversionError.h"
#include "converter/ProjectInputs.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

namespace fs = std::filesystem;
using Converter::ProjectOptions;
using Converter::Result;
using Converter::ScanInput;
using Converter::ScanInputs;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kIdentity = "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1";

std::string rsp(const std::vector<std::string>& files, const std::string& sop = kIdentity) {
  std::string scans;
  for (const std::string& file : files) scans += "<scan><file>" + file + "</file></scan>";
  return std::string("<project><pop><matrix>") + kIdentity +
         "</matrix></pop><scanpositions fold='SCANS'><scanposition fold='P'><name>P</name><sop><matrix>" +
         sop + "</matrix></sop><singlescans>" + scans +
         "</singlescans></scanposition></scanpositions></project>";
}

std::string rpp(const std::vector<std::string>& texts) {
  std::string xml = "<anything>";
  for (const std::string& text : texts) xml += "<x>" + text + "</x>";
  return xml + "</anything>";
}

std::vector<fs::path> filesOf(const ScanInputs& inputs) {
  std::vector<fs::path> files;
  for (const ScanInput& scan : inputs.scans) files.push_back(scan.file);
  return files;
}

/// A reader for a further format, whose files hold but this text.
ProjectOptions withReader(const std::string& extension, const std::string& content) {
  ProjectOptions options;
  options.furtherExtensions = {extension};
  options.isFurther = [content](const fs::path& file) { return readFile(file) == content; };
  return options;
}

/// A folder "p" of a project, and files in and beside it.
class FindScans : public testing::Test {
 protected:
  fs::path write(const fs::path& relative, const std::string& bytes = "x") const {
    return folder_.write(relative, bytes);
  }

  [[nodiscard]] ScanInputs find(const std::vector<fs::path>& inputs, const ProjectOptions& options = {}) {
    return Converter::findScans(files_, inputs, options, {});
  }

  void expectFailure(const fs::path& project, Result result, const std::string& text,
                     const ProjectOptions& options = {}) {
    try {
      (void)find({project}, options);
      FAIL() << "expected: " << text;
    } catch (const Converter::ConversionError& error) {
      EXPECT_EQ(error.result(), result) << error.what();
      EXPECT_THAT(error.what(), AllOf(HasSubstr(project.string()), HasSubstr(text)));
    }
  }

 private:
  TempFolder folder_;
  Core::DiskFileSystem files_{Core::DiskFileSystem::Sync::No};
};

TEST_F(FindScans, HandsOnWhatIsNoProject) {
  const fs::path b = write("b.las");
  const fs::path a = write("a.rcs");
  const ScanInputs found = find({b, a});
  EXPECT_THAT(filesOf(found), ElementsAre(a, b));
  EXPECT_THAT(found.projects, IsEmpty());
}

TEST_F(FindScans, TakesTheExportedSiblingOfAClosedScan) {
  const fs::path project = write("p/project.rsp", rsp({"a.rxp", "b.rxp", "c.rxp"}));
  write("p/SCANS/P/a.rxp");
  const fs::path a = write("p/SCANS/P/a.las");
  const fs::path b = write("p/SCANS/P/B.LAZ");
  write("p/scans/p/c.e57");  // in another folder: the exact one is there
  const ScanInputs found = find({project});
  EXPECT_THAT(filesOf(found), ElementsAre(b, a));
  EXPECT_THAT(found.projects, ElementsAre(project));
  EXPECT_THAT(found.remarks, ElementsAre(HasSubstr("1 scan left out for lack of a reader or of the file")));
}

TEST_F(FindScans, PrefersLasToLazAndE57AndAMemberThatCanBeReadToItsSiblings) {
  const fs::path project = write("p/project.rsp", rsp({"a.rxp", "b.e57"}));
  const fs::path a = write("p/SCANS/P/a.las");
  write("p/SCANS/P/a.laz");
  write("p/SCANS/P/a.e57");
  write("p/SCANS/P/b.las");
  const fs::path b = write("p/SCANS/P/b.e57");
  EXPECT_THAT(filesOf(find({project})), ElementsAre(a, b));
}

TEST_F(FindScans, TakesMembersOfFurtherFormatsThatHaveAReader) {
  const fs::path project = write("p/project.rsp", rsp({"a.rxp"}));
  const fs::path scan = write("p/SCANS/P/a.rxp");
  write("p/SCANS/P/a.las");
  EXPECT_THAT(filesOf(find({project}, withReader(".rxp", "x"))), ElementsAre(scan));
}

TEST_F(FindScans, TakesTheExportedSiblingOfAMemberThatItsReaderDoesNotKnow) {
  const fs::path project = write("p/project.rsp", rsp({"a.rxp", "b.rxp"}));
  write("p/SCANS/P/a.rxp", "other");
  write("p/SCANS/P/b.rxp", "other");
  const fs::path exported = write("p/SCANS/P/a.las");
  const ScanInputs found = find({project}, withReader(".rxp", "x"));
  EXPECT_THAT(filesOf(found), ElementsAre(exported));
  EXPECT_THAT(found.remarks, ElementsAre(HasSubstr("1 scan left out for lack of a reader or of the file")));
}

TEST_F(FindScans, HandsOnProjectsThatHaveAReader) {
  const fs::path project = write("p/project.rsp", "not XML");
  EXPECT_THAT(filesOf(find({project}, withReader(".rsp", "not XML"))), ElementsAre(project));
}

TEST_F(FindScans, ReadsProjectsThatTheReaderOfTheirExtensionDoesNotKnow) {
  const fs::path project = write("p/project.rsp", rsp({"a.rxp"}));
  const fs::path a = write("p/SCANS/P/a.las");
  const ScanInputs found = find({project}, withReader(".rsp", "another format"));
  EXPECT_THAT(filesOf(found), ElementsAre(a));
  EXPECT_THAT(found.projects, ElementsAre(project));
}

TEST_F(FindScans, GivesThePoseOnlyWhereItIsToBeApplied) {
  const fs::path project = write("p/project.rsp", rsp({"a.rxp"}, "1 0 0 5 0 1 0 6 0 0 1 7 0 0 0 1"));
  write("p/SCANS/P/a.las");
  const ScanInputs without = find({project});
  EXPECT_EQ(without.scans.at(0).pose, std::nullopt);
  EXPECT_THAT(without.remarks, ElementsAre(HasSubstr("the poses of its scans were not applied")));
  ProjectOptions options;
  options.applyPose = true;
  const ScanInputs with = find({project}, options);
  EXPECT_EQ(with.scans.at(0).pose.value().apply({}), (Math::Point<double, 3>{{5, 6, 7}}));
  EXPECT_THAT(with.remarks, IsEmpty());
}

TEST_F(FindScans, WarnsOfOddMatricesWherePosesAreApplied) {
  const fs::path project = write("p/project.rsp", rsp({"a.rxp"}, "1 2 3"));
  write("p/SCANS/P/a.las");
  EXPECT_THAT(find({project}).remarks, IsEmpty());
  ProjectOptions options;
  options.applyPose = true;
  EXPECT_THAT(find({project}, options).remarks,
              ElementsAre(HasSubstr("project.rsp: The matrix of the position P is not that of a pose")));
}

TEST_F(FindScans, ReadsAFileOnceThatIsAnInputAndAMember) {
  const fs::path project = write("p/project.rsp", rsp({"a.rxp", "a.las"}, "1 0 0 5 0 1 0 0 0 0 1 0 0 0 0 1"));
  const fs::path a = write("p/SCANS/P/a.las");
  ProjectOptions options;
  options.applyPose = true;
  for (const auto& inputs :
       {std::vector{a, project}, std::vector{project, a}, std::vector{project, a, project}}) {
    const ScanInputs found = find(inputs, options);
    EXPECT_THAT(filesOf(found), ElementsAre(a));
    EXPECT_TRUE(found.scans.at(0).pose);
  }
}

TEST_F(FindScans, SaysWhatIsListedTwice) {
  const fs::path project = write("p/project.rsp", rsp({"a.rxp", "A.las", "b.las"}));
  write("p/SCANS/P/a.las");
  const fs::path b = write("p/SCANS/P/b.las");
  EXPECT_THAT(find({project, b}).remarks,
              ElementsAre(HasSubstr("and again in " + project.string() + "; it is read once")));
}

TEST_F(FindScans, FindsNamesBeyondAscii) {
  const fs::path project = write("p/project.rsp", rsp({"Stra\xDF\x65 1.rxp"}));
  const fs::path scan = write("p/SCANS/P/Stra\u00DFe 1.las");
  EXPECT_THAT(filesOf(find({project})), ElementsAre(scan));
}

TEST_F(FindScans, KeepsThePoseOfTheFirstProjectAndSaysSo) {
  const fs::path first = write("p/1.rsp", rsp({"a.rxp"}, "1 0 0 1 0 1 0 0 0 0 1 0 0 0 0 1"));
  const fs::path second = write("p/2.rsp", rsp({"a.rxp"}, "1 0 0 2 0 1 0 0 0 0 1 0 0 0 0 1"));
  write("p/SCANS/P/a.las");
  ProjectOptions options;
  options.applyPose = true;
  const ScanInputs found = find({first, second}, options);
  ASSERT_THAT(found.scans, SizeIs(1));
  EXPECT_EQ(found.scans[0].pose.value().apply({})[0], 1);
  EXPECT_THAT(found.remarks,
              ElementsAre(HasSubstr("a.las is listed in " + first.string() + " and, in another pose, in " +
                                    second.string() + "; it is read once, in the first pose")));
}

TEST_F(FindScans, FailsWhenNoMemberCanBeReadAndSaysWhatToDo) {
  const fs::path project = write("p/project.rsp", rsp({"a.rxp", "b.rxp", "c.rxp", "d.rxp"}));
  expectFailure(
      project, Result::InputPointCloudFormatUnsupported,
      "is a RIEGL RiSCAN PRO project of which no scan can be read: a reader is missing for the vendor's "
      "closed formats, and there is no LAS, LAZ or E57 file of the same name beside SCANS/P/a.rxp, "
      "SCANS/P/b.rxp, SCANS/P/c.rxp and 1 more; export the scans as LAS, LAZ or E57");
}

TEST_F(FindScans, RefusesListedScansOutsideTheFolderUnlessAllowed) {
  const fs::path project = write("p/project.rsp", rsp({"../../../q/a.las"}));
  write("p/SCANS/P/other");
  const fs::path outside = write("q/a.las");
  expectFailure(project, Result::InputCannotRead, "lies outside the project's folder");
  ProjectOptions options;
  options.allowOutside = true;
  const ScanInputs found = find({project}, options);
  ASSERT_THAT(found.scans, SizeIs(1));
  EXPECT_TRUE(fs::equivalent(found.scans[0].file, outside));
}

TEST_F(FindScans, RefusesScansToWhichALinkLeadsOutOfTheFolder) {
  const fs::path project = write("p/project.rsp", rsp({"a.rxp"}));
  write("p/SCANS/P/other");
  fs::create_symlink(write("q/a.las"), project.parent_path() / "SCANS/P/a.las");
  expectFailure(project, Result::InputCannotRead, "lies outside the project's folder");
  ProjectOptions options;
  options.allowOutside = true;
  EXPECT_THAT(find({project}, options).scans, SizeIs(1));
}

TEST_F(FindScans, TakesTextsOfOtherProjectsThatNameFilesInTheFolder) {
  const fs::path a = write("p/data/a.las");
  const fs::path b = write("p/b.laz");
  write("p/c.txt");
  const fs::path project =
      write("p/project.rpp", rpp({"data\\a.rxp", "b.laz", "c.txt", "RiPROCESS 1.9.2.x", "other.xml"}));
  const ScanInputs found = find({project});
  EXPECT_THAT(filesOf(found), ElementsAre(b, a));
  EXPECT_EQ(found.scans.at(0).pose, std::nullopt);
  EXPECT_THAT(found.remarks, IsEmpty());
}

TEST_F(FindScans, LeavesOutTextsThatNameFilesOutside) {
  write("q/b.las");
  const fs::path a = write("p/a.las");
  const fs::path project =
      write("p/project.rpp", rpp({"a.las", "../q/b.las", "C:\\scans\\c.las", "../q/d.xml"}));
  const ScanInputs found = find({project});
  EXPECT_THAT(filesOf(found), ElementsAre(a));
  EXPECT_THAT(
      found.remarks,
      ElementsAre(HasSubstr("2 scans left out, outside the project's folder: ../q/b.las, C:/scans/c.las")));
  ProjectOptions options;
  options.allowOutside = true;
  EXPECT_THAT(find({project}, options).scans, SizeIs(2));
}

TEST_F(FindScans, FailsForOtherProjectsThatNameNoScansAndSaysWhatWasFound) {
  expectFailure(
      write("p/project.rpp", rpp({"settings.xml"})), Result::InputPointCloudFormatUnsupported,
      "is a RIEGL RiPROCESS project of which no scan can be read: it names no scan files that are known; "
      "export the scans");
  expectFailure(write("p/closed.rpp", rpp({"a.rxp", "b.rdbx"})), Result::InputPointCloudFormatUnsupported,
                "beside a.rxp, b.rdbx; export the scans");
}

TEST_F(FindScans, TellsDamagedProjectsFromFilesThatAreNone) {
  expectFailure(write("p/a.rsp", "<project>"), Result::InputGetInfoError, "a.rsp, byte ");
  expectFailure(write("p/b.rsp", "<notaproject/>"), Result::InputPointCloudFormatUnsupported,
                "found notaproject");
  expectFailure(write("p/c.rpp", "RIFF"), Result::InputPointCloudFormatUnsupported, "expected '<' of XML");
  expectFailure(write("p/d.rcp", "<xml/>"), Result::InputPointCloudFormatUnsupported, "expected 'PK'");
  expectFailure(write("p/e.rcp", "PK\3\4"), Result::InputGetInfoError, "ZIP archive");
  expectFailure(write("p/f.rsp", rsp({"a.rxp"}, "nan 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1")),
                Result::InputGetInfoError, "expected finite numbers");
}

TEST_F(FindScans, LeavesOutProjectsWithoutScansUnlessThereIsNothingElse) {
  const fs::path empty = write("p/empty.rsp", rsp({}));
  expectFailure(empty, Result::InputEmpty, "is a RIEGL RiSCAN PRO project without scans");
  expectFailure(write("p/none.rsp", ""), Result::InputEmpty, "the file is empty");
  const fs::path other = write("p/other.las");
  EXPECT_THAT(find({empty, other}).remarks, ElementsAre(HasSubstr("project without scans; it was left out")));
}

TEST_F(FindScans, StopsWhenTold) {
  std::stop_source stop;
  stop.request_stop();
  Core::DiskFileSystem files(Core::DiskFileSystem::Sync::No);
  EXPECT_THROW((void)Converter::findScans(files, {write("a.las")}, {}, stop.get_token()),
               Converter::ConversionCancelled);
}

TEST_F(FindScans, OfARealProjectAreTheExportsBesideItsScans) {
  SORVIK_SAMPLE_OR_SKIP(file, "vendor/riscan-project.rsp");
  const fs::path project = write("p/project.rsp", readFile(file));
  expectFailure(project, Result::InputPointCloudFormatUnsupported,
                "beside SCANS/SP01/SINGLESCANS/151120_150227.rxp, ");
  const fs::path first = write("p/SCANS/SP01/SINGLESCANS/151120_150404.las");
  const fs::path second = write("p/SCANS/SP02/SINGLESCANS/151120_155528.e57");
  write("p/SCANS/SP02/SINGLESCANS/151120_150227@20160315-120752-025.las");  // marked deleted
  write("p/SCANS/SP02/TIEPOINTSCANS/tp001.las");
  const ScanInputs found = find({project});
  EXPECT_THAT(filesOf(found), ElementsAre(first, second));
  EXPECT_THAT(found.remarks, Contains(HasSubstr("2 scans left out")));
}

}  // namespace
}  // namespace Testing
