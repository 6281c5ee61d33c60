#include <gmock/gmock.h>
#include <sys/stat.h>

#include "converter/ConversionError.h"
#include "converter/InputFiles.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

namespace fs = std::filesystem;
using Converter::InputChoice;
using Converter::InputFiles;
using Converter::Result;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A folder "in" to be filled with files, and an output beside it that does not exist.
class FindInputFiles : public testing::Test {
 protected:
  fs::path add(const fs::path& relative) const { return folder_.write("in" / relative, "x"); }
  [[nodiscard]] fs::path in() const { return folder_.path() / "in"; }
  [[nodiscard]] fs::path out() const { return folder_.path() / "out"; }

  [[nodiscard]] InputFiles find(std::vector<fs::path> inputs, std::vector<fs::path> files = {}) const {
    return Converter::findInputFiles({std::move(inputs), std::move(files), out()}, {});
  }
  [[nodiscard]] InputFiles findInFolder() const { return find({in()}); }

  void expectFailure(const InputChoice& choice, Result result, const std::string& text) const {
    try {
      (void)Converter::findInputFiles(choice, {});
      FAIL() << "expected: " << text;
    } catch (const Converter::ConversionError& error) {
      EXPECT_EQ(error.result(), result);
      EXPECT_THAT(error.what(), HasSubstr(text));
    }
  }

 private:
  TempFolder folder_;
};

TEST_F(FindInputFiles, TakesASingleFileWhateverItsName) {
  const fs::path file = add("scan.dat");
  EXPECT_THAT(find({file}).files, ElementsAre(file));
}

TEST_F(FindInputFiles, FindsFilesOfKnownFormatsInAFolderAndBelowSorted) {
  const fs::path last = add("z.las");
  const fs::path first = add("A.LAZ");
  const fs::path below = add("deep/er/b.E57");
  add("notes.txt");
  add("las");
  add(".las");
  EXPECT_THAT(findInFolder().files, ElementsAre(first, below, last));
}

TEST_F(FindInputFiles, FindsFilesOfFurtherFormatsInAFolder) {
  const fs::path text = add("a.XYZ");
  add("b.xy");
  EXPECT_THAT(Converter::findInputFiles({{in()}, {}, out(), {".xyz"}}, {}).files, ElementsAre(text));
  expectFailure({{in()}, {}, out()}, Result::InputPointCloudFormatUnsupported, ".zfs, .zfprj");
  expectFailure({{in()}, {}, out(), {".abc"}}, Result::InputPointCloudFormatUnsupported, ".zfprj, .abc");
}

TEST_F(FindInputFiles, SaysOfAFolderOfClosedScansWhatToDo) {
  add("a.rxp");
  expectFailure({{in()}, {}, out()}, Result::InputPointCloudFormatUnsupported, "a.rxp: is a RIEGL scan");
}

TEST_F(FindInputFiles, TakesSeveralFilesAndFolders) {
  const fs::path a = add("one/a.las");
  const fs::path b = add("two/b.las");
  add("two/c.txt");
  EXPECT_THAT(find({in() / "two", a}).files, ElementsAre(a, b));
}

TEST_F(FindInputFiles, TakesNamesThatAreNoUtf8OrHaveColonsAndSpaces) {
  const fs::path colon = add("at 12:30.las");
  const fs::path bytes = add("\xFF\xFE.las");
  EXPECT_THAT(findInFolder().files, ElementsAre(colon, bytes));
}

TEST_F(FindInputFiles, LeavesOutTheOutputAndWhatIsWrittenBesideIt) {
  const fs::path scan = add("a.las");
  for (const char* const name : {"out", "out.partial", "out.old"}) add(fs::path(name) / "b.las");
  for (const fs::path& output : {in() / "out", in() / "out/", in() / "x/../out"}) {
    EXPECT_THAT(Converter::findInputFiles({{in()}, {}, output}, {}).files, ElementsAre(scan));
  }
}

TEST_F(FindInputFiles, FollowsLinksAndEndsInLoopsOfThem) {
  const fs::path scan = add("a.las");
  fs::create_directory_symlink(in(), in() / "loop");
  fs::create_directory_symlink(in() / "loop", in() / "more");
  EXPECT_THAT(findInFolder().files, ElementsAre(scan));
  fs::create_directory_symlink(in(), out().string() + "-link");
  EXPECT_THAT(find({out().string() + "-link"}).files, testing::SizeIs(1));
}

TEST_F(FindInputFiles, ReadsAFileOnceThatIsNamedTwiceAndSaysSo) {
  const fs::path scan = add("a.las");
  fs::create_symlink(scan, in() / "b.las");
  const InputFiles linked = findInFolder();
  EXPECT_THAT(linked.files, ElementsAre(scan));
  EXPECT_THAT(linked.remarks, ElementsAre((in() / "b.las").string() + " is the same file as " +
                                          scan.string() + " and is read once"));
  EXPECT_THAT(find({scan, scan}).remarks,
              ElementsAre(scan.string() + " was named more than once and is read once"));
  EXPECT_THAT(find({scan, in() / "." / "a.las"}).files, ElementsAre(scan));
}

TEST_F(FindInputFiles, ReadsTheFilesThatWereChosenAndNoOthers) {
  add("a.las");
  const fs::path b = add("b.las");
  const fs::path c = add("deep/c.xyz");
  EXPECT_THAT(find({in()}, {"b.las", "deep/c.xyz"}).files, ElementsAre(b, c));
  EXPECT_THAT(find({in() / "a.las"}, {"b.las"}).files, ElementsAre(b));
  EXPECT_THAT(find({in() / "no such folder"}, {c}).files, ElementsAre(c));
}

TEST_F(FindInputFiles, RefusesWhatDoesNotExist) {
  expectFailure({{in() / "none.las"}, {}, out()}, Result::InputFileNotFound, "none.las: does not exist");
  expectFailure({{fs::path()}, {}, out()}, Result::InputFileNotFound, "does not exist");
  add("a.las");
  expectFailure({{in()}, {"none.las"}, out()}, Result::InputFileNotFound, "none.las: does not exist");
  fs::create_symlink(in() / "gone", in() / "link.las");
  expectFailure({{in()}, {}, out()}, Result::InputFileNotFound,
                "link.las: link to a file that does not exist");
}

TEST_F(FindInputFiles, RefusesWhatIsNoFile) {
  add("a.las");
  expectFailure({{in()}, {"."}, out()}, Result::InputNotFile, "is a folder, expected a file");
  const fs::path pipe = in() / "pipe.las";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  expectFailure({{pipe}, {}, out()}, Result::InputNotFile, "pipe.las: is neither a file nor a folder");
  expectFailure({{in()}, {}, out()}, Result::InputNotFile, "pipe.las: is neither a file nor a folder");
}

TEST_F(FindInputFiles, RefusesAPathThatCannotBeLookedAt) {
  add("a.las");
  const fs::path tooLong = in() / std::string(300, 'x');
  expectFailure({{tooLong}, {}, out()}, Result::InputCannotRead, "File name too long");
  fs::create_symlink("self", in() / "self");
  expectFailure({{in() / "self"}, {}, out()}, Result::InputCannotRead, "self: ");
}

TEST_F(FindInputFiles, RefusesFoldersWithoutScans) {
  fs::create_directories(in() / "empty");
  expectFailure({{in()}, {}, out()}, Result::InputEmpty, "the folder holds no files");
  expectFailure({{}, {}, out()}, Result::InputEmpty, "no input was named");
  add("notes.txt");
  expectFailure({{in()}, {}, out()}, Result::InputPointCloudFormatUnsupported,
                "notes.txt and what else was found are no scan files: expected one of .e57, .las, .laz");
}

TEST_F(FindInputFiles, EndsWhenAStopIsRequested) {
  add("a.las");
  std::stop_source stop;
  stop.request_stop();
  EXPECT_THROW((void)Converter::findInputFiles({{in()}, {}, out()}, stop.get_token()),
               Converter::ConversionCancelled);
}

}  // namespace
}  // namespace Testing
