#include <gmock/gmock.h>

#include <fstream>
#include <system_error>

#include "core/BoundedFiles.h"
#include "support/TempFolder.h"

namespace {

using Core::BoundedFiles;
using Core::ReadableFile;

/// Counts how often files are opened, and how many are open.
class CountingFiles final : public Core::ForwardingFileSystem {
 public:
  struct Counts {
    int opened = 0;
    int open = 0;
    int mostOpen = 0;
  };

  explicit CountingFiles(Counts& counts)
      : ForwardingFileSystem(std::make_shared<Core::DiskFileSystem>(Core::DiskFileSystem::Sync::No)),
        counts_(counts) {}

  std::unique_ptr<ReadableFile> open(const std::filesystem::path& path) override {
    return std::make_unique<Counted>(files().open(path), counts_);
  }

 private:
  class Counted final : public ReadableFile {
   public:
    Counted(std::unique_ptr<ReadableFile> file, Counts& counts) : file_(std::move(file)), counts_(counts) {
      ++counts_.opened;
      counts_.mostOpen = std::max(counts_.mostOpen, ++counts_.open);
    }
    ~Counted() override { --counts_.open; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    [[nodiscard]] std::uint64_t size() const override { return file_->size(); }
    [[nodiscard]] std::int64_t modificationTime() const override { return file_->modificationTime(); }
    void read(std::uint64_t offset, std::span<std::byte> out) const override { file_->read(offset, out); }

   private:
    std::unique_ptr<ReadableFile> file_;
    Counts& counts_;
  };

  Counts& counts_;
};

class BoundedFilesTest : public testing::Test {
 protected:
  std::filesystem::path write(const std::string& text) {
    auto path = folder_.path() / text;
    std::ofstream(path) << text;
    return path;
  }
  static std::string contentOf(const ReadableFile& file) {
    std::string text(file.size(), '\0');
    file.read(0, std::as_writable_bytes(std::span(text)));
    return text;
  }

  Testing::TempFolder folder_;
  CountingFiles::Counts counts_;
  BoundedFiles files_{std::make_shared<CountingFiles>(counts_), 2};
};

TEST_F(BoundedFilesTest, ReadsAnyNumberOfFilesWithFewOpen) {
  std::vector<std::unique_ptr<ReadableFile>> files;
  for (int i = 0; i < 10; ++i) files.push_back(files_.open(write("file " + std::to_string(i))));
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(contentOf(*files[static_cast<std::size_t>(i)]), "file " + std::to_string(i));
  }
  EXPECT_LE(counts_.mostOpen, 3) << "two, and the one that is about to be closed";
}

TEST_F(BoundedFilesTest, KeepsThoseOpenThatWereReadLast) {
  const auto a = files_.open(write("a"));
  const auto b = files_.open(write("b"));
  (void)contentOf(*a);
  const auto c = files_.open(write("c"));  // closes b
  counts_.opened = 0;
  (void)contentOf(*a);
  EXPECT_EQ(counts_.opened, 0);
  (void)contentOf(*b);
  EXPECT_EQ(counts_.opened, 1);
}

TEST_F(BoundedFilesTest, ClosesFilesThatGo) {
  files_.open(write("a"));
  EXPECT_EQ(counts_.open, 0);
}

TEST_F(BoundedFilesTest, SaysAtOnceWhatIsWrongWithAFile) {
  EXPECT_THROW((void)files_.open(folder_.path() / "missing"), std::system_error);
}

TEST_F(BoundedFilesTest, NamesAFileThatWentWhileItWasClosed) {
  const auto a = files_.open(write("a"));
  const auto b = files_.open(write("b"));
  const auto c = files_.open(write("c"));
  std::filesystem::remove(folder_.path() / "a");
  EXPECT_THAT([&] { (void)a->size(); },
              testing::ThrowsMessage<std::system_error>(testing::HasSubstr((folder_.path() / "a").string())));
}

}  // namespace
