#include "core/File.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "core/FormatError.h"

namespace Core {
namespace {

[[noreturn]] void failWith(int error, const std::filesystem::path& path) {
  throw std::system_error(error, std::generic_category(), path.string());
}

struct stat statusOf(int descriptor, const std::filesystem::path& path) {
  struct stat status = {};
  if (fstat(descriptor, &status) != 0) failWith(errno, path);
  return status;
}

}  // namespace

// O_NONBLOCK: opening a named pipe must not wait for its writer; regular files ignore it.
File::File(const std::filesystem::path& path)
    : path_(path), descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
  if (descriptor_ < 0) failWith(errno, path_);
  struct stat status = {};
  const int failed = fstat(descriptor_, &status);
  const int error = failed != 0               ? errno
                    : S_ISDIR(status.st_mode) ? EISDIR
                    : S_ISREG(status.st_mode) ? 0
                                              : EINVAL;
  if (error != 0) {
    close(descriptor_);
    failWith(error, path_);
  }
}

File::~File() { close(descriptor_); }

std::uint64_t File::size() const { return static_cast<std::uint64_t>(statusOf(descriptor_, path_).st_size); }

std::string File::read(std::uint64_t offset, std::uint64_t size) const {
  const std::uint64_t fileSize = this->size();
  if (offset > fileSize || size > fileSize - offset) {
    throw FormatError({path_.native(), offset}, "bytes to read", std::to_string(size),
                      std::to_string(fileSize - std::min(offset, fileSize)));
  }
  std::string bytes(size, '\0');
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t got =
        pread(descriptor_, bytes.data() + done, bytes.size() - done, static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) failWith(errno, path_);
    if (got == 0) {
      throw FormatError({path_.native(), offset + done}, "bytes to read", std::to_string(bytes.size() - done),
                        "0 (the file became shorter)");
    }
    done += static_cast<std::size_t>(got);
  }
  return bytes;
}

}  // namespace Core
