#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

namespace Core {

/// A file open for reading by position. Threads: all calls are safe together, there is no current position.
class File {
 public:
  /// @throws std::system_error naming the path when it cannot be opened, or is not a regular file.
  explicit File(const std::filesystem::path& path);
  ~File();
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  /// The size now; files may grow or shrink while they are open.
  [[nodiscard]] std::uint64_t size() const;

  /// Reads @p size bytes at @p offset. Allocates only after the range was found to lie inside the file.
  /// @throws FormatError naming the path, the range and the file's size when the range leaves the file;
  ///         std::system_error when reading fails.
  [[nodiscard]] std::string read(std::uint64_t offset, std::uint64_t size) const;

 private:
  std::filesystem::path path_;
  int descriptor_ = -1;
};

}  // namespace Core
