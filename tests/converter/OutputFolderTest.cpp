#include <gmock/gmock.h>

#include "converter/ConversionError.h"
#include "converter/OutputFolder.h"
#include "converter/OutputFolders.h"

namespace {

namespace fs = std::filesystem;
using Converter::ConversionError;
using Converter::Result;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Testing::names;
using Testing::octreeAt;

class OutputFolder : public Testing::OutputFolders {};

TEST_F(OutputFolder, BecomesTheOutputAndLeavesNothingElse) {
  {
    Converter::OutputFolder output(files_, path("out"), {});
    EXPECT_EQ(output.partial(), path("out.partial"));
    writeOctree(output.partial(), "new");
    folder_.write(output.temporary() / "chunk", "temporary");
    EXPECT_FALSE(fs::exists(path("out")));
    output.commit();
    EXPECT_THAT(output.remarks(), IsEmpty());
  }
  EXPECT_EQ(octreeAt(path("out")), "new");
  EXPECT_THAT(names(folder_.path()), ElementsAre("out"));
  EXPECT_THAT(names(path("out")), ElementsAre("hierarchy.bin", "metadata.json", "octree.bin"));
}

TEST_F(OutputFolder, LeavesNothingWhenItIsNotCommitted) {
  {
    Converter::OutputFolder output(files_, path("a/b/out"), {});
    writeOctree(output.partial(), "new");
    folder_.write(output.temporary() / "chunk", "temporary");
  }
  EXPECT_THAT(names(folder_.path()), IsEmpty()) << "parents that were made are gone, too";
}

TEST_F(OutputFolder, MakesMissingParents) {
  convert(path("a/b/out"));
  EXPECT_EQ(octreeAt(path("a/b/out")), "new");
  const fs::path file = folder_.write("file", "");
  EXPECT_EQ(resultOf(file / "out"), Result::OutputCannotCreateDirs);
  EXPECT_EQ(resultOf(file / "a" / "out"), Result::OutputCannotCreateDirs);
}

TEST_F(OutputFolder, NeverTouchesWhatExists) {
  folder_.write("folder/mine", "");
  folder_.write("file", "");
  writeOctree(path("octree"), "old");
  fs::create_symlink("nowhere", path("link"));
  const auto before = names(folder_.path());
  for (const char* name : {"folder", "file", "octree", "link", "."}) {
    EXPECT_EQ(resultOf(path(name)), Result::OutputPathExists) << name;
  }
  EXPECT_EQ(resultOf("/"), Result::OutputPathExists);
  EXPECT_EQ(names(folder_.path()), before);
  EXPECT_EQ(octreeAt(path("octree")), "old");
}

TEST_F(OutputFolder, TakesAnEmptyFolderWithItsPermissions) {
  fs::create_directory(path("out"));
  fs::permissions(path("out"), fs::perms::owner_all);
  convert(path("out"));
  EXPECT_EQ(octreeAt(path("out")), "new");
  EXPECT_EQ(fs::status(path("out")).permissions(), fs::perms::owner_all);
}

TEST_F(OutputFolder, ReplacesAnOctreeWhenAskedTo) {
  for (const bool canExchange : {true, false}) {
    fs::remove_all(path("out"));
    writeOctree(path("out"), "old");
    Testing::FaultyFileSystem files(files_);
    if (!canExchange) files.cannotExchange();
    {
      Converter::OutputFolder output(files, path("out"), overwrite());
      writeOctree(output.partial(), "new");
      EXPECT_EQ(octreeAt(path("out")), "old") << "until the new one is complete";
      output.commit();
    }
    EXPECT_EQ(octreeAt(path("out")), "new");
    EXPECT_THAT(names(folder_.path()), ElementsAre("out"));
  }
}

TEST_F(OutputFolder, ReplacesNothingButOctrees) {
  folder_.write("folder/thesis.txt", "mine");
  folder_.write("scan.las", "mine");
  const auto before = names(folder_.path());
  for (const char* name : {"folder", "scan.las"}) {
    EXPECT_EQ(resultOf(path(name), overwrite()), Result::OutputPathExists) << name;
  }
  EXPECT_EQ(names(folder_.path()), before);
  EXPECT_TRUE(fs::exists(path("folder/thesis.txt")));
}

TEST_F(OutputFolder, ReplacesNoOctreeThatHoldsAnInput) {
  writeOctree(path("out"), "old");
  Converter::OutputOptions options = overwrite();
  options.inputs = {folder_.write("elsewhere.las", ""), folder_.write("out/scans/a.las", "")};
  EXPECT_EQ(resultOf(path("out"), options), Result::OutputPathExists);
  options.inputs.pop_back();
  convert(path("out"), options);
  EXPECT_EQ(octreeAt(path("out")), "new");
}

TEST_F(OutputFolder, LeavesAFolderThatOnlyHasTheNameOfItsOwn) {
  writeOctree(path("out"), "old");
  folder_.write("out.old/backup", "mine");
  EXPECT_EQ(resultOf(path("out"), overwrite()), Result::OutputPathExists);
  folder_.write("other.partial/mine", "mine");
  EXPECT_EQ(resultOf(path("other")), Result::OutputPathExists);
  EXPECT_THAT(names(folder_.path()), ElementsAre("other.partial", "out", "out.old"));
  EXPECT_TRUE(fs::exists(path("out.old/backup")));
  EXPECT_TRUE(fs::exists(path("other.partial/mine")));
}

TEST_F(OutputFolder, LeavesABackupThatIsMadeWhileItIsReplaced) {
  writeOctree(path("out"), "old");
  Converter::OutputFolder output(files_, path("out"), overwrite());
  writeOctree(output.partial(), "new");
  fs::copy(path("out"), path("out.old"), fs::copy_options::recursive);
  output.commit();
  EXPECT_EQ(octreeAt(path("out")), "new");
  EXPECT_EQ(octreeAt(path("out.old")), "old");
}

TEST_F(OutputFolder, LeavesWhatComesToTheOutputMeanwhile) {
  {
    Converter::OutputFolder output(files_, path("out"), {});
    writeOctree(output.partial(), "new");
    folder_.write("out/mine", "");
    EXPECT_THAT([&] { output.commit(); }, fails(Result::OutputPathExists));
  }
  EXPECT_THAT(names(folder_.path()), ElementsAre("out"));
  EXPECT_THAT(names(path("out")), ElementsAre("mine"));
}

TEST_F(OutputFolder, SaysWhichFileOfTheOctreeIsGone) {
  for (const auto& [name, result] :
       std::map<std::string, Result>{{"metadata.json", Result::OutputDescriptorDamaged},
                                     {"hierarchy.bin", Result::OutputDataFilesMissing},
                                     {"octree.bin", Result::OutputDataFilesMissing}}) {
    Converter::OutputFolder output(files_, path("out"), {});
    writeOctree(output.partial(), "new");
    fs::remove(output.partial() / name);
    EXPECT_THAT([&] { output.commit(); }, fails(result)) << name;
  }
  EXPECT_THAT(names(folder_.path()), IsEmpty());
}

TEST_F(OutputFolder, BelongsToOneConversionAtATime) {
  Converter::OutputFolder first(files_, path("out"), {});
  writeOctree(first.partial(), "first");
  EXPECT_THAT([&] { Converter::OutputFolder(files_, path("out"), {}); },
              testing::ThrowsMessage<ConversionError>(HasSubstr(path("out.partial.lock").string())));
  EXPECT_EQ(resultOf(path("out")), Result::OutputCannotWrite);
  first.commit();
  EXPECT_EQ(octreeAt(path("out")), "first");
}

TEST_F(OutputFolder, PutsTemporaryFilesIntoTheFolderThatWasChosen) {
  folder_.write("scratch/mine", "");
  Converter::OutputOptions options;
  options.temporaryFolder = path("scratch");
  {
    Converter::OutputFolder output(files_, path("out"), options);
    EXPECT_EQ(output.temporary().parent_path(), path("scratch"));
    folder_.write(output.temporary() / "chunk", "");
  }
  EXPECT_THAT(names(path("scratch")), ElementsAre("mine"));
}

TEST_F(OutputFolder, NeedsATemporaryFolderThatExists) {
  Converter::OutputOptions options;
  options.temporaryFolder = path("none");
  EXPECT_EQ(resultOf(path("out"), options), Result::ConvertTempPathNotFound);
  options.temporaryFolder = folder_.write("file", "");
  EXPECT_EQ(resultOf(path("out"), options), Result::ConvertTempDirInvalid);
  EXPECT_THAT(names(folder_.path()), ElementsAre("file"));
}

TEST_F(OutputFolder, CanHaveItsTemporaryFilesInTheEmptyFolderThatItReplaces) {
  fs::create_directory(path("out"));
  Converter::OutputOptions options;
  options.temporaryFolder = path("out");
  convert(path("out"), options);
  EXPECT_THAT(names(path("out")), ElementsAre("hierarchy.bin", "metadata.json", "octree.bin"));
}

TEST_F(OutputFolder, SyncsFilesThenTheirFolderThenTheNewName) {
  std::vector<std::string> calls;
  Testing::FaultyFileSystem files(files_);
  Converter::OutputFolder output(files, path("out"), {});
  writeOctree(output.partial(), "new");
  files.before([&](Testing::FileCall call, const fs::path& at) {
    if (call == Testing::FileCall::SyncDirectory) calls.push_back("sync " + at.filename().string());
    if (call == Testing::FileCall::Rename) calls.push_back("rename to " + at.filename().string());
  });
  output.commit();
  const std::string parent = "sync " + folder_.path().filename().string();
  EXPECT_THAT(calls, ElementsAre("sync out.partial", "rename to out", parent, parent));
}

}  // namespace
