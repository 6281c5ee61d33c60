#include <gmock/gmock.h>
#include <sys/mount.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "converter/FileRole.h"
#include "converter/OutputFolders.h"
#include "support/ForkedChild.h"

namespace {

namespace fs = std::filesystem;
using Converter::Result;
using testing::ElementsAre;
using testing::IsEmpty;
using Testing::names;
using Testing::octreeAt;

/// The working folder while it lives.
class WorkingFolder {
 public:
  explicit WorkingFolder(const fs::path& folder) : before_(fs::current_path()) { fs::current_path(folder); }
  ~WorkingFolder() { fs::current_path(before_); }
  WorkingFolder(const WorkingFolder&) = delete;
  WorkingFolder& operator=(const WorkingFolder&) = delete;

 private:
  fs::path before_;
};

/// A small file system of its own while it lives, for tests that run as root.
class SmallDisk {
 public:
  SmallDisk(fs::path folder, const char* size)
      : folder_(std::move(folder)), mounted_(mount("tmpfs", folder_.c_str(), "tmpfs", 0, size) == 0) {}
  ~SmallDisk() {
    if (mounted_) umount2(folder_.c_str(), MNT_DETACH);
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  [[nodiscard]] bool mounted() const { return mounted_; }

 private:
  fs::path folder_;
  bool mounted_;
};

class OutputPaths : public Testing::OutputFolders {
 public:
  /// How the beginning of a conversion ends, which writes nothing.
  Result resultOfOpening(const fs::path& output, const Converter::OutputOptions& options) {
    try {
      const Converter::OutputFolder folder(files_, output, options);
    } catch (const Converter::ConversionError& error) {
      return error.result();
    }
    return Result::Success;
  }
};

TEST_F(OutputPaths, MayHoldAnyBytes) {
  for (const char* name : {"with space", "Gel\xc3\xa4nde \xe7\x82\xb9\xe4\xba\x91", "no \xff\xfe utf-8",
                           "line\nfeed", "-o", "%s", "quote'\"", "trailing.", "~"}) {
    convert(path(name));
    EXPECT_EQ(octreeAt(path(name)), "new") << name;
    convert(path(name), overwrite());
    EXPECT_THAT(names(folder_.path()), ElementsAre(name));
    fs::remove_all(path(name));
  }
}

TEST_F(OutputPaths, MayBeRelativeAndWrittenInManyWays) {
  fs::create_directories(path("a/b"));
  const WorkingFolder here(path("a"));
  for (const char* way :
       {"out", "./out", "out/", "out//", "b/../out", "../a/out", "out/.", "missing/../out"}) {
    convert(way);
    EXPECT_EQ(octreeAt(path("a/out")), "new") << way;
    EXPECT_THAT(names(path("a")), ElementsAre("b", "out")) << way;
    fs::remove_all(path("a/out"));
  }
}

TEST_F(OutputPaths, MayBeTheEmptyFolderThatOneWorksIn) {
  fs::create_directory(path("out"));
  const WorkingFolder here(path("out"));
  convert(".");
  EXPECT_EQ(octreeAt(path("out")), "new");
}

TEST_F(OutputPaths, FollowLinksAndKeepThem) {
  fs::create_directories(path("disk/clouds"));
  fs::create_directory(path("disk/out"));
  fs::create_directory_symlink(path("disk/clouds"), path("clouds"));
  fs::create_directory_symlink(path("disk/out"), path("link"));
  convert(path("clouds/out"));
  EXPECT_EQ(octreeAt(path("disk/clouds/out")), "new");
  convert(path("link"));
  EXPECT_EQ(octreeAt(path("disk/out")), "new");
  convert(path("link"), overwrite());
  EXPECT_TRUE(fs::is_symlink(path("link")));
  EXPECT_THAT(names(path("disk")), ElementsAre("clouds", "out"));
}

TEST_F(OutputPaths, ThatAreNoneOrTooLongAreRefused) {
  EXPECT_EQ(resultOf(""), Result::OutputCannotWrite);
  EXPECT_EQ(resultOf(path(std::string(300, 'x'))), Result::OutputCannotWrite);
  EXPECT_EQ(resultOf(path(std::string(250, 'x'))), Result::OutputCannotWrite) << "no room for the suffixes";
  fs::path deep = folder_.path();
  for (int i = 0; i < 30; ++i) deep /= std::string(200, 'd');
  EXPECT_EQ(resultOf(deep), Result::OutputCannotWrite);
  EXPECT_THAT(names(folder_.path()), IsEmpty());
}

TEST_F(OutputPaths, MayBeAsLongAsTheSystemAllows) {
  fs::path deep = folder_.path();
  while (deep.native().size() < 3700) deep /= std::string(100, 'd');
  convert(deep / "out");
  EXPECT_EQ(octreeAt(deep / "out"), "new");
}

TEST_F(OutputPaths, ThatMayNotBeWrittenAreRefusedAtOnce) {
  const auto make = [&](const fs::path& name, unsigned mode) {
    fs::create_directories(path(name));
    fs::permissions(path(name), fs::perms(mode));
  };
  make(".", 0755);
  make("locked", 0555);
  make("open", 0777);
  make("open/empty", 0555);
  writeOctree(path("open/octree"), "old");
  make("open/octree", 0555);
  const auto result = [&](const fs::path& output, const Converter::OutputOptions& options = {}) {
    return Result(
        Testing::asPlainUser([&] { return static_cast<int>(resultOfOpening(path(output), options)); }));
  };
  Converter::OutputOptions lockedTemporary;
  lockedTemporary.temporaryFolder = path("locked");
  EXPECT_EQ(result("locked/out"), Result::OutputCannotWrite);
  EXPECT_EQ(result("locked/a/out"), Result::OutputCannotCreateDirs);
  EXPECT_EQ(result("open/octree", overwrite()), Result::OutputCannotWrite);
  EXPECT_EQ(result("open/empty"), Result::OutputCannotWrite);
  EXPECT_EQ(result("open/out", lockedTemporary), Result::ConvertTempDirInvalid);
  EXPECT_EQ(result("open/out"), Result::Success);
  EXPECT_THAT(names(path("open")), ElementsAre("empty", "octree"));
  make("open/octree", 0755);  // so that its files can be removed
}

TEST_F(OutputPaths, ThatAreMountPointsAreRefusedAtOnce) {
  fs::create_directory(path("out"));
  const SmallDisk disk(path("out"), "size=1m");
  if (!disk.mounted()) GTEST_SKIP() << "no file system can be mounted here: " << std::strerror(errno);
  EXPECT_EQ(resultOf(path("out")), Result::OutputCannotWrite);
  convert(path("out/cloud"));
  EXPECT_EQ(octreeAt(path("out/cloud")), "new");
}

TEST_F(OutputPaths, OnAFullDiskFailWithTheirOwnResultAndLeaveNothing) {
  fs::create_directories(path("disk"));
  const SmallDisk disk(path("disk"), "size=64k");
  if (!disk.mounted()) GTEST_SKIP() << "no file system can be mounted here: " << std::strerror(errno);
  EXPECT_THAT(
      [&] {
        const Converter::OutputFolder output(files_, path("disk/out"), {});
        Converter::withRole(Converter::FileRole::Output,
                            [&] { writeOctree(output.partial(), std::string(1 << 17, 'x')); });
      },
      fails(Result::OutputDiskFull));
  EXPECT_THAT(names(path("disk")), IsEmpty());
}

TEST_F(OutputPaths, OnADiskWithoutInodesFailWithTheirOwnResult) {
  fs::create_directories(path("disk"));
  const SmallDisk disk(path("disk"), "nr_inodes=2");
  if (!disk.mounted()) GTEST_SKIP() << "no file system can be mounted here: " << std::strerror(errno);
  EXPECT_EQ(resultOf(path("disk/out")), Result::OutputDiskFull);
  fs::remove_all(path("disk/out.partial.lock"));
  folder_.write("disk/file", "");
  Converter::OutputOptions options;
  options.temporaryFolder = path("disk");
  EXPECT_EQ(resultOf(path("out"), options), Result::ConvertTempFull);
}

}  // namespace
