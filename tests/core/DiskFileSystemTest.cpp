#include <gmock/gmock.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "core/FileSystem.h"
#include "core/FormatError.h"
#include "support/FileSizeLimit.h"
#include "support/TempFolder.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Property;
using testing::Throws;
using testing::ThrowsMessage;

std::span<const std::byte> bytesOf(std::string_view text) { return std::as_bytes(std::span(text)); }

std::string textOf(const Core::ReadableFile& file) {
  std::string text(file.size(), '\0');
  file.read(0, std::as_writable_bytes(std::span(text)));
  return text;
}

auto failsWith(int error) {
  return Throws<std::system_error>(
      Property(&std::system_error::code, testing::Eq(std::error_code(error, std::generic_category()))));
}

class DiskFileSystem : public testing::Test {
 public:
  [[nodiscard]] fs::path path(const fs::path& name) const { return folder_.path() / name; }

  Core::DiskFileSystem files_{Core::DiskFileSystem::Sync::Yes};
  Testing::TempFolder folder_;
};

TEST_F(DiskFileSystem, ReadsBackWhatWasWrittenByPosition) {
  const auto file = files_.create(path("a"));
  file->write(6, bytesOf("world"));
  file->write(0, bytesOf("hello "));
  EXPECT_EQ(textOf(*file), "hello world");
  file->close();
  EXPECT_EQ(textOf(*files_.open(path("a"))), "hello world");
}

TEST_F(DiskFileSystem, RemovesANewFileThatWasNotClosed) {
  files_.create(path("a"))->write(0, bytesOf("half"));
  EXPECT_FALSE(fs::exists(path("a")));
}

TEST_F(DiskFileSystem, NeverOverwritesAFile) {
  folder_.write("a", "mine");
  EXPECT_THAT([&] { (void)files_.create(path("a")); }, failsWith(EEXIST));
  EXPECT_EQ(textOf(*files_.open(path("a"))), "mine");
}

TEST_F(DiskFileSystem, RefusesToReadBeyondTheEnd) {
  const auto file = files_.create(path("a"));
  file->write(0, bytesOf("0123456789"));
  std::array<std::byte, 4> out{};
  EXPECT_THAT([&] { file->read(8, out); },
              ThrowsMessage<Core::FormatError>(HasSubstr("byte 8: bytes to read: expected 4, found 2")));
  EXPECT_THROW(file->read(UINT64_MAX, out), Core::FormatError);
}

TEST_F(DiskFileSystem, RefusesToWriteWhereNoFileReaches) {
  EXPECT_THAT([&] { files_.create(path("a"))->write(UINT64_MAX - 1, bytesOf("end")); }, failsWith(EFBIG));
}

TEST_F(DiskFileSystem, GivesTheSpaceOfADiscardedRangeBack) {
  const auto file = files_.create(path("a"));
  file->write(0, bytesOf(std::string(1 << 20, 'x')));
  struct stat before = {};
  ASSERT_EQ(stat(path("a").c_str(), &before), 0);
  file->discard(0, 1 << 19);
  struct stat after = {};
  ASSERT_EQ(stat(path("a").c_str(), &after), 0);
  EXPECT_EQ(after.st_size, before.st_size);
  EXPECT_LE(after.st_blocks, before.st_blocks) << "less where the file system can";
  std::array<std::byte, 1> kept{};
  file->read(1 << 19, kept);
  EXPECT_EQ(kept[0], std::byte{'x'});
}

TEST_F(DiskFileSystem, NamesThePathOfEveryFailure) {
  const fs::path none = path("no such folder") / "a";
  const auto namesIt = ThrowsMessage<std::system_error>(HasSubstr(none.string()));
  EXPECT_THAT([&] { (void)files_.open(none); }, namesIt);
  EXPECT_THAT([&] { (void)files_.create(none); }, namesIt);
  EXPECT_THAT([&] { files_.rename(path("x"), none); }, namesIt);
  EXPECT_THAT([&] { files_.exchange(path("x"), none); }, namesIt);
  EXPECT_THAT([&] { files_.syncDirectory(none); }, namesIt);
  EXPECT_THAT([&] { (void)files_.freeBytes(none); }, namesIt);
  const fs::path belowAFile = folder_.write("file", "") / "a";
  EXPECT_THAT([&] { files_.createDirectories(belowAFile); },
              ThrowsMessage<std::system_error>(HasSubstr(belowAFile.string())));
}

TEST_F(DiskFileSystem, MakesFoldersWithTheirParentsOnceOrTwice) {
  for (int i = 0; i < 2; ++i) files_.createDirectories(path("a/b/c/"));
  EXPECT_TRUE(fs::is_directory(path("a/b/c")));
}

TEST_F(DiskFileSystem, RenamesAFolderOntoAnEmptyOneOnly) {
  folder_.write("new/file", "x");
  files_.createDirectories(path("empty"));
  files_.rename(path("new"), path("empty"));
  EXPECT_TRUE(fs::exists(path("empty/file")));
  files_.createDirectories(path("other"));
  EXPECT_THAT([&] { files_.rename(path("other"), path("empty")); }, failsWith(ENOTEMPTY));
}

TEST_F(DiskFileSystem, ExchangesTwoFoldersOrLeavesThem) {
  folder_.write("a/from a", "");
  folder_.write("b/from b", "");
  const bool exchanged = files_.exchange(path("a"), path("b"));
  EXPECT_EQ(fs::exists(path("a/from b")), exchanged);
  EXPECT_EQ(fs::exists(path("b/from a")), exchanged);
}

TEST_F(DiskFileSystem, RemovesLinksRatherThanWhatTheyLeadTo) {
  folder_.write("kept/file", "mine");
  files_.createDirectories(path("gone"));
  fs::create_directory_symlink(path("kept"), path("gone/link"));
  files_.removeAll(path("gone"));
  files_.removeAll(path("gone"));
  EXPECT_FALSE(fs::exists(path("gone")));
  EXPECT_TRUE(fs::exists(path("kept/file")));
}

TEST_F(DiskFileSystem, KnowsTheFreeSpace) { EXPECT_GT(files_.freeBytes(folder_.path()), 0U); }

TEST_F(DiskFileSystem, SyncsFoldersOnlyWhenItWasToldTo) {
  EXPECT_NO_THROW(files_.syncDirectory(folder_.path()));
  Core::DiskFileSystem lazy(Core::DiskFileSystem::Sync::No);
  EXPECT_NO_THROW(lazy.syncDirectory(path("none")));
}

TEST_F(DiskFileSystem, SaysThatAFileGrowsTooBig) {
  const auto file = files_.create(path("a"));
  const Testing::FileSizeLimit limit(1000);
  EXPECT_THAT([&] { file->write(0, bytesOf(std::string(2000, 'x'))); }, failsWith(EFBIG));
}

}  // namespace
