#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>

namespace Core {

/// A descriptor of the operating system and the path that it was opened by, closed by the destructor. Every
/// std::system_error names the path. Threads: all calls but close() are safe together, there is no current
/// position.
class Descriptor {
 public:
  /// @param flags  as of open(2); O_CLOEXEC is added. A new file may be read and written by everyone that the
  ///               process's mask lets.
  /// @throws std::system_error.
  Descriptor(std::filesystem::path path, int flags);
  ~Descriptor();
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }
  [[nodiscard]] int get() const { return descriptor_; }

  /// @throws std::system_error unless it is a regular file.
  void requireRegularFile() const;
  /// The size now, in bytes.
  [[nodiscard]] std::uint64_t size() const;
  /// In nanoseconds since 1970.
  [[nodiscard]] std::int64_t modificationTime() const;

  /// @throws FormatError naming path, range and size when @p size bytes from @p offset on leave the file.
  void requireRange(std::uint64_t offset, std::uint64_t size) const;
  /// Fills @p out with the bytes from @p offset on, whose range has been checked.
  /// @throws FormatError when the file has become shorter; std::system_error when reading fails.
  void read(std::uint64_t offset, std::span<std::byte> out) const;
  /// Writes all of @p bytes at @p offset. @throws std::system_error.
  void write(std::uint64_t offset, std::span<const std::byte> bytes) const;
  /// Waits until the disk has the content. @throws std::system_error.
  void sync() const;
  /// No other call but the destructor may follow. @throws std::system_error, and it is closed all the same.
  void close();

 private:
  std::filesystem::path path_;
  int descriptor_ = -1;  // -1 once closed
};

/// Throws the std::system_error for the number @p error of the operating system.
[[noreturn]] void failWith(int error, const std::filesystem::path& path);

}  // namespace Core
