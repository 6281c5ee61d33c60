#pragma once

#include <cstddef>
#include <memory>

#include "core/FileSystem.h"

namespace Core {

/// Another file system, of whose files for reading only so many are open at a time: those that were read
/// last. One that is read after it was closed is opened again, so that thousands of files may be at hand
/// whatever the process's limit of descriptors is. Threads: all calls are safe together.
class BoundedFiles final : public FileSystem {
 public:
  /// @param mostOpen  at least 1 (not checked). While files are being read on many threads, each of these may
  ///                  hold one more.
  BoundedFiles(std::shared_ptr<FileSystem> files, std::size_t mostOpen);
  ~BoundedFiles() override;
  BoundedFiles(const BoundedFiles&) = delete;
  BoundedFiles& operator=(const BoundedFiles&) = delete;

  /// Opens the file once, so that what is wrong with it shows here. It may outlive this object.
  std::unique_ptr<ReadableFile> open(const std::filesystem::path& path) override;

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

 private:
  class OpenFiles;
  class BoundedFile;

  std::shared_ptr<FileSystem> files_;
  std::shared_ptr<OpenFiles> open_;
};

}  // namespace Core
