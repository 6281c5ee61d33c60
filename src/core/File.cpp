#include "core/File.h"

#include <fcntl.h>

namespace Core {

// O_NONBLOCK: opening a named pipe must not wait for its writer; regular files ignore it.
File::File(const std::filesystem::path& path) : descriptor_(path, O_RDONLY | O_NONBLOCK) {
  descriptor_.requireRegularFile();
}

void File::read(std::uint64_t offset, std::span<std::byte> out) const {
  descriptor_.requireRange(offset, out.size());
  descriptor_.read(offset, out);
}

std::string File::read(std::uint64_t offset, std::uint64_t size) const {
  descriptor_.requireRange(offset, size);
  std::string bytes(size, '\0');
  descriptor_.read(offset, std::as_writable_bytes(std::span(bytes)));
  return bytes;
}

}  // namespace Core
