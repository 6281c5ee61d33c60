#pragma once

#include <cstddef>
#include <memory>

#include "core/FileSystem.h"

namespace Core {

/// Another file system, of whose files for reading only so many are open at a time: those that were read
/// last. One that is read after it was closed is opened again, so that thousands of files may be at hand
/// whatever the process's limit of descriptors is. Threads: all calls are safe together.
class BoundedFiles final : public ForwardingFileSystem {
 public:
  /// @param mostOpen  at least 1 (not checked). While files are being read on many threads, each of these may
  ///                  hold one more.
  BoundedFiles(std::shared_ptr<FileSystem> files, std::size_t mostOpen);
  ~BoundedFiles() override;
  BoundedFiles(const BoundedFiles&) = delete;
  BoundedFiles& operator=(const BoundedFiles&) = delete;

  /// Opens the file once, so that what is wrong with it shows here. It may outlive this object.
  std::unique_ptr<ReadableFile> open(const std::filesystem::path& path) override;

 private:
  class OpenFiles;
  class BoundedFile;

  std::shared_ptr<OpenFiles> open_;
};

}  // namespace Core
