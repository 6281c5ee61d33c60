#include "support/FaultyFileSystem.h"

#include <algorithm>
#include <system_error>
#include <utility>
#include <vector>

namespace Testing {
namespace {

class FaultyReadableFile final : public Core::ReadableFile {
 public:
  FaultyReadableFile(FaultyFileSystem& files, std::filesystem::path path,
                     std::unique_ptr<Core::ReadableFile> inner)
      : files_(files), path_(std::move(path)), inner_(std::move(inner)) {}

  [[nodiscard]] std::uint64_t size() const override { return inner_->size(); }
  [[nodiscard]] std::int64_t modificationTime() const override { return inner_->modificationTime(); }
  void read(std::uint64_t offset, std::span<std::byte> out) const override {
    files_.ask(FileCall::Read, path_);
    inner_->read(offset, out);
  }

 private:
  FaultyFileSystem& files_;
  std::filesystem::path path_;
  std::unique_ptr<Core::ReadableFile> inner_;
};

class FaultyWritableFile final : public Core::WritableFile {
 public:
  FaultyWritableFile(FaultyFileSystem& files, std::filesystem::path path,
                     std::unique_ptr<Core::WritableFile> inner)
      : files_(files), path_(std::move(path)), inner_(std::move(inner)) {}

  [[nodiscard]] std::uint64_t size() const override { return inner_->size(); }
  [[nodiscard]] std::int64_t modificationTime() const override { return inner_->modificationTime(); }
  void read(std::uint64_t offset, std::span<std::byte> out) const override {
    files_.ask(FileCall::Read, path_);
    inner_->read(offset, out);
  }
  void write(std::uint64_t offset, std::span<const std::byte> bytes) override {
    files_.ask(FileCall::Write, path_);
    inner_->write(offset, bytes);
  }
  void discard(std::uint64_t offset, std::uint64_t size) override { inner_->discard(offset, size); }
  void close() override {
    files_.ask(FileCall::Close, path_);
    inner_->close();
  }

 private:
  FaultyFileSystem& files_;
  std::filesystem::path path_;
  std::unique_ptr<Core::WritableFile> inner_;
};

}  // namespace

void FaultyFileSystem::failNth(std::size_t n, std::set<FileCall> kinds, int error) {
  failed_ = false;
  before([this, left = n, kinds = std::move(kinds), error](FileCall call,
                                                           const std::filesystem::path& path) mutable {
    if (!kinds.contains(call) || left == 0 || --left != 0) return;
    failed_ = true;
    throw std::system_error(error, std::generic_category(), path.native());
  });
}

void FaultyFileSystem::ask(FileCall call, const std::filesystem::path& path) {
  const std::lock_guard lock(mutex_);
  hook_(call, path);
}

std::unique_ptr<Core::ReadableFile> FaultyFileSystem::open(const std::filesystem::path& path) {
  ask(FileCall::Open, path);
  return std::make_unique<FaultyReadableFile>(*this, path, inner_.open(path));
}

std::unique_ptr<Core::WritableFile> FaultyFileSystem::create(const std::filesystem::path& path) {
  ask(FileCall::Create, path);
  return std::make_unique<FaultyWritableFile>(*this, path, inner_.create(path));
}

void FaultyFileSystem::createDirectories(const std::filesystem::path& path) {
  ask(FileCall::CreateDirectories, path);
  inner_.createDirectories(path);
}

void FaultyFileSystem::rename(const std::filesystem::path& from, const std::filesystem::path& to) {
  ask(FileCall::Rename, to);
  inner_.rename(from, to);
}

bool FaultyFileSystem::exchange(const std::filesystem::path& a, const std::filesystem::path& b) {
  ask(FileCall::Exchange, b);
  return canExchange_ && inner_.exchange(a, b);
}

void FaultyFileSystem::removeAll(const std::filesystem::path& path) {
  if (std::filesystem::is_directory(std::filesystem::symlink_status(path))) {
    std::vector<std::filesystem::path> entries;
    for (const auto& entry : std::filesystem::directory_iterator(path)) entries.push_back(entry.path());
    std::sort(entries.begin(), entries.end());
    for (const std::filesystem::path& entry : entries) removeAll(entry);
  }
  ask(FileCall::RemoveAll, path);
  inner_.removeAll(path);
}

void FaultyFileSystem::syncDirectory(const std::filesystem::path& path) {
  ask(FileCall::SyncDirectory, path);
  inner_.syncDirectory(path);
}

std::uint64_t FaultyFileSystem::freeBytes(const std::filesystem::path& path) {
  ask(FileCall::FreeBytes, path);
  return inner_.freeBytes(path);
}

std::set<FileCall> readingCalls() { return {FileCall::Open, FileCall::Read}; }

std::set<FileCall> writingCalls() {
  return {FileCall::Create, FileCall::Write,    FileCall::Close,     FileCall::CreateDirectories,
          FileCall::Rename, FileCall::Exchange, FileCall::RemoveAll, FileCall::SyncDirectory};
}

std::set<FileCall> allCalls() {
  std::set<FileCall> all = writingCalls();
  all.merge(readingCalls());
  all.insert(FileCall::FreeBytes);
  return all;
}

}  // namespace Testing
