#include "support/MemoryFileSystem.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include "core/FormatError.h"

namespace Testing {
namespace {

[[noreturn]] void refuse(const std::filesystem::path& path) {
  throw std::logic_error("files in memory are read only: " + path.string());
}

}  // namespace

class MemoryFileSystem::File final : public Core::ReadableFile {
 public:
  File(std::string name, std::shared_ptr<const Content> content,
       std::shared_ptr<std::atomic<std::size_t>> readsLeft,
       std::shared_ptr<std::atomic<std::uint64_t>> bytesRead)
      : name_(std::move(name)),
        content_(std::move(content)),
        readsLeft_(std::move(readsLeft)),
        bytesRead_(std::move(bytesRead)) {}

  [[nodiscard]] std::uint64_t size() const override { return content_->bytes.size(); }
  [[nodiscard]] std::int64_t modificationTime() const override { return content_->modificationTime; }

  void read(std::uint64_t offset, std::span<std::byte> out) const override {
    std::size_t left = *readsLeft_;
    do {
      if (left == 0) throw std::system_error(EIO, std::generic_category(), name_);
    } while (!readsLeft_->compare_exchange_weak(left, left - 1));
    if (offset > size() || out.size() > size() - offset) {
      throw Core::FormatError({name_, offset}, "bytes to read", std::to_string(out.size()),
                              std::to_string(size() - std::min(offset, size())));
    }
    if (!out.empty()) std::memcpy(out.data(), content_->bytes.data() + offset, out.size());
    *bytesRead_ += out.size();
  }

 private:
  std::string name_;
  std::shared_ptr<const Content> content_;
  std::shared_ptr<std::atomic<std::size_t>> readsLeft_;
  std::shared_ptr<std::atomic<std::uint64_t>> bytesRead_;
};

void MemoryFileSystem::put(const std::filesystem::path& path, const std::string& bytes) {
  auto& content = files_[path];
  if (content == nullptr) content = std::make_shared<Content>();
  content->bytes = bytes;
  ++content->modificationTime;
  *bytesRead_ = 0;
}

std::unique_ptr<Core::ReadableFile> MemoryFileSystem::open(const std::filesystem::path& path) {
  const auto found = files_.find(path);
  if (path.filename().empty()) throw std::system_error(EISDIR, std::generic_category(), path.string());
  if (found == files_.end()) throw std::system_error(ENOENT, std::generic_category(), path.string());
  return std::make_unique<File>(path.string(), found->second, readsLeft_, bytesRead_);
}

std::unique_ptr<Core::WritableFile> MemoryFileSystem::create(const std::filesystem::path& path) {
  refuse(path);
}
void MemoryFileSystem::createDirectories(const std::filesystem::path& path) { refuse(path); }
void MemoryFileSystem::rename(const std::filesystem::path& from, const std::filesystem::path&) {
  refuse(from);
}
bool MemoryFileSystem::exchange(const std::filesystem::path& a, const std::filesystem::path&) { refuse(a); }
void MemoryFileSystem::removeAll(const std::filesystem::path& path) { refuse(path); }
void MemoryFileSystem::syncDirectory(const std::filesystem::path& path) { refuse(path); }
std::uint64_t MemoryFileSystem::freeBytes(const std::filesystem::path& path) { refuse(path); }

}  // namespace Testing
