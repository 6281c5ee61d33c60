#include "sorvik/OutputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace Program {
namespace {

std::string replaceablePath(const std::string& path) {
  const std::filesystem::file_status status = std::filesystem::status(path);
  if (!std::filesystem::exists(status)) return path;
  if (!std::filesystem::is_regular_file(status)) {
    throw std::runtime_error(path + ": not a plain file, so it cannot be replaced");
  }
  return std::filesystem::canonical(path).string();
}

/// The first of path.partial, path.partial2, ... that is free: killed runs may have left some.
std::string freePath(const std::string& path) {
  std::string name = path + ".partial";
  for (int number = 2; std::filesystem::exists(std::filesystem::symlink_status(name)); ++number) {
    name = path + ".partial" + std::to_string(number);
  }
  return name;
}

int createFile(const std::string& path) {
  constexpr int kNewFile = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
  constexpr mode_t kForAllThatTheUmaskLets = 0666;
  const int descriptor = open(path.c_str(), kNewFile, kForAllThatTheUmaskLets);
  if (descriptor < 0) throw std::system_error(errno, std::generic_category(), path);
  return descriptor;
}

}  // namespace

OutputFile::OutputFile(const std::string& path, const Interrupt& interrupt)
    : path_(replaceablePath(path)),
      partialPath_(freePath(path_)),
      descriptor_(createFile(partialPath_)),
      output_(descriptor_, path_, interrupt) {}

OutputFile::~OutputFile() {
  close(descriptor_);
  if (!committed_) unlink(partialPath_.c_str());
}

void OutputFile::overwriteStart(std::string_view bytes) {
  if (lseek(descriptor_, 0, SEEK_SET) < 0) fail(errno);
  output_.write(bytes);
}

void OutputFile::commit() {
  // Some file systems report a full disk here first, and the old file must not go before that.
  if (fsync(descriptor_) != 0) fail(errno);
  if (std::rename(partialPath_.c_str(), path_.c_str()) != 0) fail(errno);
  committed_ = true;
}

void OutputFile::fail(int error) const { throw std::system_error(error, std::generic_category(), path_); }

}  // namespace Program
