#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <system_error>
#include <utility>

#include "core/Descriptor.h"
#include "core/File.h"
#include "core/FileSystem.h"

namespace Core {
namespace {

class NewFile final : public WritableFile {
 public:
  NewFile(const std::filesystem::path& path, bool sync)
      : descriptor_(path, O_RDWR | O_CREAT | O_EXCL), sync_(sync) {}
  ~NewFile() override {
    if (!kept_) unlink(descriptor_.path().c_str());
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  [[nodiscard]] std::uint64_t size() const override { return descriptor_.size(); }
  [[nodiscard]] std::int64_t modificationTime() const override { return descriptor_.modificationTime(); }

  void read(std::uint64_t offset, std::span<std::byte> out) const override {
    descriptor_.requireRange(offset, out.size());
    descriptor_.read(offset, out);
  }

  void write(std::uint64_t offset, std::span<const std::byte> bytes) override {
    descriptor_.write(offset, bytes);
  }

  void discard(std::uint64_t offset, std::uint64_t size) override {
    constexpr auto kLargest = static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());
    if (offset > kLargest) return;
    // What fails leaves the space taken, no more.
    (void)fallocate(descriptor_.get(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, static_cast<off_t>(offset),
                    static_cast<off_t>(std::min(size, kLargest - offset)));
  }

  void close() override {
    if (sync_) descriptor_.sync();
    descriptor_.close();  // file systems on the network tell here that the disk is full
    kept_ = true;
  }

 private:
  Descriptor descriptor_;
  bool sync_;
  bool kept_ = false;
};

}  // namespace

std::unique_ptr<ReadableFile> DiskFileSystem::open(const std::filesystem::path& path) {
  return std::make_unique<File>(path);
}

std::unique_ptr<WritableFile> DiskFileSystem::create(const std::filesystem::path& path) {
  return std::make_unique<NewFile>(path, sync_);
}

void DiskFileSystem::createDirectories(const std::filesystem::path& path) {
  std::error_code error;
  std::filesystem::create_directories(path, error);
  if (error) failWith(error.value(), path);
}

void DiskFileSystem::rename(const std::filesystem::path& from, const std::filesystem::path& to) {
  if (::rename(from.c_str(), to.c_str()) != 0) failWith(errno, to);
}

bool DiskFileSystem::exchange(const std::filesystem::path& a, const std::filesystem::path& b) {
  if (renameat2(AT_FDCWD, a.c_str(), AT_FDCWD, b.c_str(), RENAME_EXCHANGE) == 0) return true;
  // The kernel, or the file system, does not know the flag.
  if (errno == EINVAL || errno == ENOSYS || errno == ENOTSUP) return false;
  failWith(errno, b);
}

void DiskFileSystem::removeAll(const std::filesystem::path& path) {
  std::error_code error;
  std::filesystem::remove_all(path, error);
  if (error) failWith(error.value(), path);
}

void DiskFileSystem::syncDirectory(const std::filesystem::path& path) {
  if (!sync_) return;
  const Descriptor folder(path, O_RDONLY | O_DIRECTORY);
  try {
    folder.sync();
  } catch (const std::system_error& error) {
    // Some file systems (of networks, in user space) keep folders without being asked, and cannot be asked.
    if (error.code().value() != EINVAL && error.code().value() != ENOTSUP) throw;
  }
}

std::uint64_t DiskFileSystem::freeBytes(const std::filesystem::path& path) {
  struct statvfs status = {};
  if (statvfs(path.c_str(), &status) != 0) failWith(errno, path);
  return std::uint64_t{status.f_bavail} * status.f_frsize;
}

}  // namespace Core
