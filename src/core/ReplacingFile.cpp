#include "core/ReplacingFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <system_error>

namespace Core {
namespace {

std::filesystem::path replaceablePath(const std::filesystem::path& path) {
  const std::filesystem::file_status status = std::filesystem::status(path);
  if (!std::filesystem::exists(status)) return path;
  if (!std::filesystem::is_regular_file(status)) {
    throw std::runtime_error(path.string() + ": not a plain file, so it cannot be replaced");
  }
  return std::filesystem::canonical(path);
}

/// The first of path.partial, path.partial2, ... that is free: killed runs may have left some.
std::filesystem::path freePath(const std::filesystem::path& path) {
  const std::string first = path.string() + ".partial";
  std::filesystem::path name = first;
  for (int number = 2; std::filesystem::exists(std::filesystem::symlink_status(name)); ++number) {
    name = first + std::to_string(number);
  }
  return name;
}

int createFile(const std::filesystem::path& path) {
  constexpr int kNewFile = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
  constexpr mode_t kForAllThatTheUmaskLets = 0666;
  const int descriptor = open(path.c_str(), kNewFile, kForAllThatTheUmaskLets);
  if (descriptor < 0) throw std::system_error(errno, std::generic_category(), path.string());
  return descriptor;
}

}  // namespace

ReplacingFile::ReplacingFile(const std::filesystem::path& path)
    : path_(replaceablePath(path)), partialPath_(freePath(path_)), descriptor_(createFile(partialPath_)) {}

ReplacingFile::~ReplacingFile() {
  close(descriptor_);
  if (!committed_) unlink(partialPath_.c_str());
}

void ReplacingFile::append(std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(descriptor_, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      fail(errno);
    }
  }
}

void ReplacingFile::overwriteStart(std::span<const std::byte> bytes) {
  if (lseek(descriptor_, 0, SEEK_SET) < 0) fail(errno);
  append(bytes);
}

void ReplacingFile::commit() {
  // Some file systems report a full disk here first, and the old file must not go before that.
  if (fsync(descriptor_) != 0) fail(errno);
  if (std::rename(partialPath_.c_str(), path_.c_str()) != 0) fail(errno);
  committed_ = true;
}

void ReplacingFile::fail(int error) const {
  throw std::system_error(error, std::generic_category(), path_.string());
}

}  // namespace Core
