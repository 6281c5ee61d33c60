#include "core/BoundedFiles.h"

#include <list>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace Core {

/// The files that are open now. Threads: all calls are safe together; files are opened and closed outside of
/// the lock.
class BoundedFiles::OpenFiles {
 public:
  OpenFiles(std::shared_ptr<FileSystem> files, std::size_t mostOpen)
      : files_(std::move(files)), mostOpen_(mostOpen) {}

  [[nodiscard]] std::uint64_t nextNumber() {
    const std::lock_guard lock(mutex_);
    return ++numbers_;
  }

  /// The file of that number, opened if it is not open; it stays so while the caller holds it.
  [[nodiscard]] std::shared_ptr<ReadableFile> get(std::uint64_t number, const std::filesystem::path& path) {
    {
      const std::lock_guard lock(mutex_);
      const auto found = places_.find(number);
      if (found != places_.end()) {
        byUse_.splice(byUse_.begin(), byUse_, found->second);
        return found->second->file;
      }
    }
    std::shared_ptr<ReadableFile> opened = files_->open(path);
    std::shared_ptr<ReadableFile> closed;  // after the lock was released
    const std::lock_guard lock(mutex_);
    const auto [place, isNew] = places_.try_emplace(number);
    if (!isNew) return place->second->file;  // another thread was faster
    byUse_.push_front({number, opened});
    place->second = byUse_.begin();
    if (byUse_.size() > mostOpen_) {
      closed = std::move(byUse_.back().file);
      places_.erase(byUse_.back().number);
      byUse_.pop_back();
    }
    return opened;
  }

  void close(std::uint64_t number) {
    std::shared_ptr<ReadableFile> closed;  // after the lock was released
    const std::lock_guard lock(mutex_);
    const auto found = places_.find(number);
    if (found == places_.end()) return;
    closed = std::move(found->second->file);
    byUse_.erase(found->second);
    places_.erase(found);
  }

 private:
  struct Entry {
    std::uint64_t number;
    std::shared_ptr<ReadableFile> file;
  };

  const std::shared_ptr<FileSystem> files_;
  const std::size_t mostOpen_;
  std::mutex mutex_;  // guards all that follows
  std::uint64_t numbers_ = 0;
  std::list<Entry> byUse_;  // last used first
  std::unordered_map<std::uint64_t, std::list<Entry>::iterator> places_;
};

class BoundedFiles::BoundedFile final : public ReadableFile {
 public:
  BoundedFile(std::shared_ptr<OpenFiles> open, std::filesystem::path path)
      : open_(std::move(open)), path_(std::move(path)), number_(open_->nextNumber()) {}
  ~BoundedFile() override { open_->close(number_); }
  BoundedFile(const BoundedFile&) = delete;
  BoundedFile& operator=(const BoundedFile&) = delete;

  [[nodiscard]] std::uint64_t size() const override { return file()->size(); }
  [[nodiscard]] std::int64_t modificationTime() const override { return file()->modificationTime(); }
  void read(std::uint64_t offset, std::span<std::byte> out) const override { file()->read(offset, out); }

  [[nodiscard]] std::shared_ptr<ReadableFile> file() const { return open_->get(number_, path_); }

 private:
  std::shared_ptr<OpenFiles> open_;
  std::filesystem::path path_;
  std::uint64_t number_;
};

BoundedFiles::BoundedFiles(std::shared_ptr<FileSystem> files, std::size_t mostOpen)
    : ForwardingFileSystem(files), open_(std::make_shared<OpenFiles>(std::move(files), mostOpen)) {}

BoundedFiles::~BoundedFiles() = default;

std::unique_ptr<ReadableFile> BoundedFiles::open(const std::filesystem::path& path) {
  auto file = std::make_unique<BoundedFile>(open_, path);
  (void)file->file();
  return file;
}

}  // namespace Core
