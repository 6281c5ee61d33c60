#include <gmock/gmock.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "converter/OutputFolders.h"
#include "support/ForkedChild.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using Testing::FaultyFileSystem;
using testing::HasSubstr;
using testing::IsEmpty;
using Testing::names;
using Testing::octreeAt;

constexpr int kKilled = 9;
constexpr std::size_t kMostCalls = 200;

/// What a conversion meets: nothing or an octree at its output, a file system that can exchange folders or
/// not.
enum class Situation { New, Overwrite, OverwriteWithoutExchange };

std::string nameOf(const testing::TestParamInfo<Situation>& info) {
  return std::array{"New", "Overwrite", "OverwriteWithoutExchange"}.at(static_cast<std::size_t>(info.param));
}

class OutputRecovery : public Testing::OutputFolders, public testing::WithParamInterface<Situation> {
 public:
  OutputRecovery() { folder_.write("scratch/mine", "mine"); }

  void prepare() {
    fs::remove_all(path("out"));
    if (GetParam() != Situation::New) writeOctree(path("out"), "old");
  }

  [[nodiscard]] Converter::OutputOptions options() const {
    Converter::OutputOptions options = overwrite();
    options.temporaryFolder = path("scratch");
    return options;
  }

  /// A conversion whose file calls all go through @p files.
  void convertOn(FaultyFileSystem& files) {
    if (GetParam() == Situation::OverwriteWithoutExchange) files.cannotExchange();
    Converter::OutputFolder output(files, path("out"), options());
    const auto temporary = files.create(output.temporary() / "chunk");
    temporary->write(0, std::as_bytes(std::span("temporary")));
    Testing::writeOctree(files, output.partial(), "new");
    output.commit();
  }

  void expectWholeOrAbsent() {
    const std::string found = octreeAt(path("out"));
    if (GetParam() == Situation::New) {
      EXPECT_THAT(found, testing::AnyOf("none", "new"));
    } else if (found == "none") {
      EXPECT_EQ(GetParam(), Situation::OverwriteWithoutExchange);
      EXPECT_EQ(octreeAt(path("out.old")), "old") << "set aside, for a moment";
    } else {
      EXPECT_THAT(found, testing::AnyOf("old", "new"));
    }
  }

  void expectNothingElse() {
    for (const std::string& name : names(folder_.path())) EXPECT_THAT(name, testing::AnyOf("out", "scratch"));
    EXPECT_THAT(names(path("scratch")), ElementsAre("mine"));
  }
};

TEST_P(OutputRecovery, FindsAWholeOctreeOrNoneWhereverTheProcessIsKilled) {
  bool killed = true;
  for (std::size_t n = 1; killed && n < kMostCalls; ++n) {
    SCOPED_TRACE("killed before call " + std::to_string(n));
    prepare();
    killed = Testing::inChild([&] {
               FaultyFileSystem files(files_);
               std::size_t left = n;
               files.before([&left](Testing::FileCall, const fs::path&) {
                 if (--left == 0) _exit(kKilled);
               });
               convertOn(files);
               return 0;
             }) == kKilled;
    expectWholeOrAbsent();
    convert(path("out"), options());
    EXPECT_EQ(octreeAt(path("out")), "new");
    expectNothingElse();
  }
  EXPECT_FALSE(killed) << "a run of more calls than expected";
}

TEST_P(OutputRecovery, IsKilledWhileItCleansUpBehindAKilledOne) {
  const auto killedBefore = [&](std::size_t n) {
    return Testing::inChild([&] {
             FaultyFileSystem files(files_);
             files.before([left = n](Testing::FileCall, const fs::path&) mutable {
               if (--left == 0) _exit(kKilled);
             });
             convertOn(files);
             return 0;
           }) == kKilled;
  };
  for (std::size_t first = 1; first < kMostCalls; first += 5) {
    prepare();
    if (!killedBefore(first)) break;
    for (std::size_t second = 1; second < 8; second += 2) {
      SCOPED_TRACE("killed before call " + std::to_string(first) + ", then " + std::to_string(second));
      killedBefore(second);
      expectWholeOrAbsent();
    }
    convert(path("out"), options());
    EXPECT_EQ(octreeAt(path("out")), "new");
    expectNothingElse();
  }
}

TEST_P(OutputRecovery, LeavesAWholeOctreeOrNoneWhicheverCallFails) {
  for (const int error : {EIO, ENOSPC}) {
    FaultyFileSystem files(files_);
    for (std::size_t n = 1; n < kMostCalls; ++n) {
      SCOPED_TRACE("call " + std::to_string(n) + " fails with " + std::to_string(error));
      prepare();
      files.failNth(n, Testing::allCalls(), error);
      try {
        convertOn(files);
        if (!files.hasFailed()) break;
      } catch (const std::exception&) {
        expectWholeOrAbsent();
      }
      if (!fs::exists(path("out.partial.lock"))) expectNothingElse();
      convert(path("out"), options());
      EXPECT_EQ(octreeAt(path("out")), "new");
      expectNothingElse();
    }
    EXPECT_FALSE(files.hasFailed());
  }
}

INSTANTIATE_TEST_SUITE_P(Situations, OutputRecovery,
                         testing::Values(Situation::New, Situation::Overwrite,
                                         Situation::OverwriteWithoutExchange),
                         nameOf);

class OutputLeftovers : public Testing::OutputFolders {
 public:
  /// Leaves what a conversion leaves that is killed before its commit. @return its temporary folder.
  fs::path leave(const Converter::OutputOptions& options) {
    Testing::inChild([&] {
      const Converter::OutputFolder output(files_, path("out"), options);
      writeOctree(output.partial(), "killed");
      folder_.write("temporary", output.temporary().native());
      _exit(kKilled);
      return 0;
    });
    std::ifstream file(path("temporary"));
    std::string temporary;
    std::getline(file, temporary);
    fs::remove(path("temporary"));
    return temporary;
  }
};

TEST_F(OutputLeftovers, AreRemovedAndReported) {
  folder_.write("scratch/mine", "mine");
  Converter::OutputOptions options;
  options.temporaryFolder = path("scratch");
  const fs::path temporary = leave(options);
  ASSERT_TRUE(fs::exists(temporary));
  ASSERT_TRUE(fs::exists(path("out.partial")));
  EXPECT_THAT(convert(path("out")), ElementsAre(HasSubstr(temporary.string() + ", left by an interrupted"),
                                                HasSubstr(path("out.partial").string() + ", left by")));
  EXPECT_THAT(names(path("scratch")), ElementsAre("mine"));
  EXPECT_THAT(names(folder_.path()), ElementsAre("out", "scratch"));
}

TEST_F(OutputLeftovers, OfAnotherOutputStay) {
  leave({});
  convert(path("other"));
  EXPECT_THAT(names(folder_.path()), ElementsAre("other", "out.partial", "out.partial.lock"));
}

TEST_F(OutputLeftovers, AreRemovedAlsoWhenTheOutputIsRefused) {
  leave({});
  writeOctree(path("out"), "mine");
  EXPECT_EQ(resultOf(path("out")), Converter::Result::OutputPathExists);
  EXPECT_THAT(names(folder_.path()), ElementsAre("out"));
  EXPECT_EQ(octreeAt(path("out")), "mine");
}

TEST_F(OutputLeftovers, AreNotTakenFromALockThatSaysNothingSound) {
  folder_.write("mine/file", "mine");
  const std::string line = "writing; temporary folder:\n";
  for (const std::string& text :
       {std::string(), line, line + path("mine").string(), line + "sorvik-temporary-0123456789abcdef",
        line + path("sorvik-temporary-01234567").string(), path("mine").string(), std::string(9000, 'x')}) {
    folder_.write("out.partial.lock", text);
    folder_.write("sorvik-temporary-01234567/mine", "mine");
    EXPECT_THAT(convert(path("out"), overwrite()), IsEmpty()) << text;
    EXPECT_EQ(names(folder_.path()), (std::vector<std::string>{"mine", "out", "sorvik-temporary-01234567"}));
    EXPECT_TRUE(fs::exists(path("mine/file")));
  }
}

TEST_F(OutputLeftovers, AreNoBackupOfTheUser) {
  leave({});
  writeOctree(path("out.old"), "backup");
  convert(path("out"));
  EXPECT_EQ(octreeAt(path("out")), "new");
  EXPECT_EQ(octreeAt(path("out.old")), "backup");
}

TEST_F(OutputLeftovers, StayWithTheirLockWhenTheyCannotBeRemoved) {
  leave({});
  FaultyFileSystem files(files_);
  files.before([](Testing::FileCall call, const fs::path& at) {
    if (call == Testing::FileCall::RemoveAll)
      throw std::system_error(EBUSY, std::generic_category(), at.native());
  });
  EXPECT_THAT([&] { Converter::OutputFolder(files, path("out"), {}); },
              fails(Converter::Result::OutputCannotWrite));
  EXPECT_TRUE(fs::exists(path("out.partial.lock")));
  convert(path("out"));
  EXPECT_THAT(names(folder_.path()), ElementsAre("out"));
}

TEST_F(OutputLeftovers, OfAReplacedOctreeAreARemark) {
  writeOctree(path("out"), "old");
  FaultyFileSystem files(files_);
  Converter::OutputFolder output(files, path("out"), overwrite());
  writeOctree(output.partial(), "new");
  files.before([&](Testing::FileCall call, const fs::path& at) {
    if (call == Testing::FileCall::RemoveAll && at == path("out.partial")) {
      throw std::system_error(EACCES, std::generic_category(), at.native());
    }
  });
  EXPECT_NO_THROW(output.commit());
  EXPECT_THAT(output.remarks(), ElementsAre(HasSubstr("out.partial: Permission denied")));
  EXPECT_EQ(octreeAt(path("out")), "new");
}

}  // namespace
