#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <utility>

#include "core/FileSystem.h"

namespace Testing {

/// What can be asked of a file system or its files and can fail. discard() and size() are not among them.
enum class FileCall {
  Open,
  Read,
  Create,
  Write,
  Close,
  CreateDirectories,
  Rename,
  Exchange,
  RemoveAll,
  SyncDirectory,
  FreeBytes
};

/// A file system that asks a hook before each call of another one. The hook may throw, so that the call fails
/// without having been made; it may change what is on disk, or end the process. removeAll() asks before each
/// file and folder that it removes, as a real one can be interrupted between them.
/// Threads: as the contract says; the hook is called by one thread at a time.
class FaultyFileSystem final : public Core::FileSystem {
 public:
  /// @param path  of the file or folder; of a renamed one the new path.
  using Hook = std::function<void(FileCall call, const std::filesystem::path& path)>;

  /// @param inner  must outlive this object and its files.
  explicit FaultyFileSystem(Core::FileSystem& inner) : inner_(inner) {}

  void before(Hook hook) { hook_ = std::move(hook); }
  /// Lets the @p n th (from 1) of the calls of @p kinds fail with @p error (EIO and the like), once.
  void failNth(std::size_t n, std::set<FileCall> kinds, int error);
  /// Lets exchange() answer that the file system cannot, from now on.
  void cannotExchange() { canExchange_ = false; }
  /// Whether failNth() has come to its call.
  [[nodiscard]] bool hasFailed() const { return failed_; }

  std::unique_ptr<Core::ReadableFile> open(const std::filesystem::path& path) override;
  std::unique_ptr<Core::WritableFile> create(const std::filesystem::path& path) override;
  void createDirectories(const std::filesystem::path& path) override;
  void rename(const std::filesystem::path& from, const std::filesystem::path& to) override;
  bool exchange(const std::filesystem::path& a, const std::filesystem::path& b) override;
  void removeAll(const std::filesystem::path& path) override;
  void syncDirectory(const std::filesystem::path& path) override;
  std::uint64_t freeBytes(const std::filesystem::path& path) override;

  /// Calls the hook.
  void ask(FileCall call, const std::filesystem::path& path);

 private:
  Core::FileSystem& inner_;
  std::mutex mutex_;  // guards calls of hook_
  Hook hook_ = [](FileCall, const std::filesystem::path&) {};
  bool canExchange_ = true;
  std::atomic<bool> failed_ = false;
};

/// All calls that fail at reading, at writing, and at all.
[[nodiscard]] std::set<FileCall> readingCalls();
[[nodiscard]] std::set<FileCall> writingCalls();
[[nodiscard]] std::set<FileCall> allCalls();

}  // namespace Testing
