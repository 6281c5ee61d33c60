#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <utility>

namespace Core {

/// A file that is read by position. Threads: all calls are safe together.
class ReadableFile {
 public:
  virtual ~ReadableFile() = default;

  /// The size now; files may grow or shrink while they are open.
  [[nodiscard]] virtual std::uint64_t size() const = 0;

  /// When the file was last written to, in nanoseconds since 1970: another number means that it has changed.
  [[nodiscard]] virtual std::int64_t modificationTime() const = 0;

  /// Fills @p out with the bytes from @p offset on.
  /// @throws FormatError naming the path, the range and the file's size when the range leaves the file;
  ///         std::system_error naming the path when reading fails.
  virtual void read(std::uint64_t offset, std::span<std::byte> out) const = 0;
};

/// A new file that is written by position and may be read back. One that goes without a successful close() is
/// removed. Every std::system_error names the path. Threads: write() and read() are safe together.
class WritableFile : public ReadableFile {
 public:
  /// @throws std::system_error, also in a later call.
  virtual void write(std::uint64_t offset, std::span<const std::byte> bytes) = 0;

  /// Gives the space of a range, which is not read again, back to the file system where that is possible;
  /// otherwise does nothing.
  virtual void discard(std::uint64_t offset, std::uint64_t size) = 0;

  /// Brings the bytes to the disk, if the file system object was told to, and closes the file, which stays.
  /// No other call may follow.
  /// @throws std::system_error.
  virtual void close() = 0;
};

/// What conversions ask of the operating system's files, so that tests can make each call fail.
/// Every failure is a std::system_error that names the path. Threads: all calls are safe together.
class FileSystem {
 public:
  virtual ~FileSystem() = default;

  [[nodiscard]] virtual std::unique_ptr<ReadableFile> open(const std::filesystem::path& path) = 0;
  /// Makes a new file; one that exists is an error.
  [[nodiscard]] virtual std::unique_ptr<WritableFile> create(const std::filesystem::path& path) = 0;

  /// Parents included; folders that exist are no error.
  virtual void createDirectories(const std::filesystem::path& path) = 0;
  /// Replaces a file or an empty folder at @p to. Atomic.
  virtual void rename(const std::filesystem::path& from, const std::filesystem::path& to) = 0;
  /// Lets two paths change places, atomically. False, and nothing has changed, where the file system cannot.
  virtual bool exchange(const std::filesystem::path& a, const std::filesystem::path& b) = 0;
  /// With all that is in it; a path that does not exist is no error.
  virtual void removeAll(const std::filesystem::path& path) = 0;
  /// Brings the names in a folder to the disk, if this object was told to.
  virtual void syncDirectory(const std::filesystem::path& path) = 0;
  /// Bytes that may still be written to the file system that holds @p path.
  [[nodiscard]] virtual std::uint64_t freeBytes(const std::filesystem::path& path) = 0;
};

/// A file system that hands every call on to another; those derived from it change some of them.
class ForwardingFileSystem : public FileSystem {
 public:
  explicit ForwardingFileSystem(std::shared_ptr<FileSystem> files) : files_(std::move(files)) {}

  std::unique_ptr<ReadableFile> open(const std::filesystem::path& path) override {
    return files_->open(path);
  }
  std::unique_ptr<WritableFile> create(const std::filesystem::path& path) override {
    return files_->create(path);
  }
  void createDirectories(const std::filesystem::path& path) override { files_->createDirectories(path); }
  void rename(const std::filesystem::path& from, const std::filesystem::path& to) override {
    files_->rename(from, to);
  }
  bool exchange(const std::filesystem::path& a, const std::filesystem::path& b) override {
    return files_->exchange(a, b);
  }
  void removeAll(const std::filesystem::path& path) override { files_->removeAll(path); }
  void syncDirectory(const std::filesystem::path& path) override { files_->syncDirectory(path); }
  std::uint64_t freeBytes(const std::filesystem::path& path) override { return files_->freeBytes(path); }

 protected:
  [[nodiscard]] FileSystem& files() { return *files_; }

 private:
  std::shared_ptr<FileSystem> files_;
};

/// The file system of the machine.
class DiskFileSystem final : public FileSystem {
 public:
  /// Whether close() and syncDirectory() wait until the disk has the bytes (fsync), so that what was finished
  /// survives a loss of power.
  enum class Sync { Yes, No };
  explicit DiskFileSystem(Sync sync) : sync_(sync == Sync::Yes) {}

  std::unique_ptr<ReadableFile> open(const std::filesystem::path& path) override;
  std::unique_ptr<WritableFile> create(const std::filesystem::path& path) override;
  void createDirectories(const std::filesystem::path& path) override;
  void rename(const std::filesystem::path& from, const std::filesystem::path& to) override;
  bool exchange(const std::filesystem::path& a, const std::filesystem::path& b) override;
  void removeAll(const std::filesystem::path& path) override;
  void syncDirectory(const std::filesystem::path& path) override;
  std::uint64_t freeBytes(const std::filesystem::path& path) override;

 private:
  bool sync_;
};

}  // namespace Core
