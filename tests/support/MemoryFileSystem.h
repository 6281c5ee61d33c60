#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "core/FileSystem.h"

namespace Testing {

/// A handful of named files in memory, for readers. What writes throws std::logic_error.
class MemoryFileSystem final : public Core::FileSystem {
 public:
  /// Makes a file, or changes its bytes and modification time, also for those who have it open.
  void put(const std::filesystem::path& path, const std::string& bytes);
  /// Lets a call of read() beyond the first @p reads of any file fail with EIO.
  void failReadsAfter(std::size_t reads) { *readsLeft_ = reads; }
  /// The bytes that were read since the last put().
  [[nodiscard]] std::uint64_t bytesRead() const { return *bytesRead_; }

  std::unique_ptr<Core::ReadableFile> open(const std::filesystem::path& path) override;
  std::unique_ptr<Core::WritableFile> create(const std::filesystem::path& path) override;
  void createDirectories(const std::filesystem::path& path) override;
  void rename(const std::filesystem::path& from, const std::filesystem::path& to) override;
  bool exchange(const std::filesystem::path& a, const std::filesystem::path& b) override;
  void removeAll(const std::filesystem::path& path) override;
  void syncDirectory(const std::filesystem::path& path) override;
  std::uint64_t freeBytes(const std::filesystem::path& path) override;

 private:
  struct Content {
    std::string bytes;
    std::int64_t modificationTime = 0;
  };
  class File;

  std::map<std::filesystem::path, std::shared_ptr<Content>> files_;
  // Shared with the files, from which threads read at once.
  std::shared_ptr<std::atomic<std::size_t>> readsLeft_ = std::make_shared<std::atomic<std::size_t>>(SIZE_MAX);
  std::shared_ptr<std::atomic<std::uint64_t>> bytesRead_ = std::make_shared<std::atomic<std::uint64_t>>(0);
};

}  // namespace Testing
