#include "core/Descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <string>
#include <system_error>
#include <utility>

#include "core/FormatError.h"

namespace Core {
namespace {

constexpr mode_t kNewFileMode = 0666;

struct stat statusOf(int descriptor, const std::filesystem::path& path) {
  struct stat status = {};
  if (fstat(descriptor, &status) != 0) failWith(errno, path);
  return status;
}

}  // namespace

void failWith(int error, const std::filesystem::path& path) {
  throw std::system_error(error, std::generic_category(), path.native());
}

Descriptor::Descriptor(std::filesystem::path path, int flags) : path_(std::move(path)) {
  do {
    descriptor_ = open(path_.c_str(), flags | O_CLOEXEC, kNewFileMode);
  } while (descriptor_ < 0 && errno == EINTR);
  if (descriptor_ < 0) failWith(errno, path_);
}

Descriptor::~Descriptor() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

void Descriptor::requireRegularFile() const {
  const mode_t mode = statusOf(descriptor_, path_).st_mode;
  if (S_ISDIR(mode)) failWith(EISDIR, path_);
  if (!S_ISREG(mode)) failWith(EINVAL, path_);
}

std::uint64_t Descriptor::size() const {
  return static_cast<std::uint64_t>(statusOf(descriptor_, path_).st_size);
}

std::int64_t Descriptor::modificationTime() const {
  const struct stat status = statusOf(descriptor_, path_);
  return std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec;
}

void Descriptor::requireRange(std::uint64_t offset, std::uint64_t size) const {
  const std::uint64_t fileSize = this->size();
  if (offset > fileSize || size > fileSize - offset) {
    throw FormatError({path_.native(), offset}, "bytes to read", std::to_string(size),
                      std::to_string(fileSize - std::min(offset, fileSize)));
  }
}

void Descriptor::read(std::uint64_t offset, std::span<std::byte> out) const {
  for (std::size_t done = 0; done < out.size();) {
    const ssize_t got =
        pread(descriptor_, out.data() + done, out.size() - done, static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) failWith(errno, path_);
    if (got == 0) {
      throw FormatError({path_.native(), offset + done}, "bytes to read", std::to_string(out.size() - done),
                        "0 (the file became shorter)");
    }
    done += static_cast<std::size_t>(got);
  }
}

void Descriptor::write(std::uint64_t offset, std::span<const std::byte> bytes) const {
  constexpr auto kLargestOffset = static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());
  if (offset > kLargestOffset || bytes.size() > kLargestOffset - offset) failWith(EFBIG, path_);
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t written =
        pwrite(descriptor_, bytes.data() + done, bytes.size() - done, static_cast<off_t>(offset + done));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) failWith(written < 0 ? errno : EIO, path_);
    done += static_cast<std::size_t>(written);
  }
}

void Descriptor::sync() const {
  int failed = 0;
  do {
    failed = fsync(descriptor_);
  } while (failed != 0 && errno == EINTR);
  if (failed != 0) failWith(errno, path_);
}

void Descriptor::close() {
  // Linux has released the descriptor even when a signal came in between.
  if (::close(std::exchange(descriptor_, -1)) != 0 && errno != EINTR) failWith(errno, path_);
}

}  // namespace Core
