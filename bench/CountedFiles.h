#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <utility>

#include "core/FileSystem.h"

namespace Bench {

/// Bytes that went through a file system.
struct ByteCounts {
  std::atomic<std::uint64_t> read = 0;
  std::atomic<std::uint64_t> written = 0;
};

/// A file that counts what is read and written.
class CountedFile final : public Core::WritableFile {
 public:
  /// @param writable  the same file where it can be written, else null.
  /// @param counts    must outlive this object.
  CountedFile(std::unique_ptr<Core::ReadableFile> file, Core::WritableFile* writable, ByteCounts& counts)
      : file_(std::move(file)), writable_(writable), counts_(counts) {}

  [[nodiscard]] std::uint64_t size() const override { return file_->size(); }
  [[nodiscard]] std::int64_t modificationTime() const override { return file_->modificationTime(); }
  void read(std::uint64_t offset, std::span<std::byte> out) const override {
    file_->read(offset, out);
    counts_.read += out.size();
  }
  void write(std::uint64_t offset, std::span<const std::byte> bytes) override {
    writable_->write(offset, bytes);
    counts_.written += bytes.size();
  }
  void discard(std::uint64_t offset, std::uint64_t size) override { writable_->discard(offset, size); }
  void close() override { writable_->close(); }

 private:
  std::unique_ptr<Core::ReadableFile> file_;
  Core::WritableFile* writable_;  // file_ again
  ByteCounts& counts_;
};

/// The machine's file system, counting. Threads: as the contract says.
class CountedFileSystem final : public Core::ForwardingFileSystem {
 public:
  explicit CountedFileSystem(Core::DiskFileSystem::Sync sync)
      : ForwardingFileSystem(std::make_shared<Core::DiskFileSystem>(sync)) {}

  [[nodiscard]] const ByteCounts& counts() const { return counts_; }

  std::unique_ptr<Core::ReadableFile> open(const std::filesystem::path& path) override {
    return std::make_unique<CountedFile>(files().open(path), nullptr, counts_);
  }
  std::unique_ptr<Core::WritableFile> create(const std::filesystem::path& path) override {
    std::unique_ptr<Core::WritableFile> file = files().create(path);
    Core::WritableFile* const writable = file.get();
    return std::make_unique<CountedFile>(std::move(file), writable, counts_);
  }

 private:
  ByteCounts counts_;
};

}  // namespace Bench
