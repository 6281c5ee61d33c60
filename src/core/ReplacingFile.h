#pragma once

#include <cstddef>
#include <filesystem>
#include <span>

namespace Core {

/// A file that appears under its name only once it is complete: until then it is written beside it, under the
/// name with ".partial" behind, and a file of that name stays as it was. Every std::system_error names the
/// path and the reason.
class ReplacingFile {
 public:
  /// @throws std::system_error when the file cannot be made; std::runtime_error naming the path when what is
  ///         there is no plain file.
  explicit ReplacingFile(const std::filesystem::path& path);
  /// Removes what was written, unless it was committed.
  ~ReplacingFile();
  ReplacingFile(const ReplacingFile&) = delete;
  ReplacingFile& operator=(const ReplacingFile&) = delete;

  /// Writes behind what was written before, unbuffered.
  /// @throws std::system_error.
  void append(std::span<const std::byte> bytes);

  /// Writes over the first bytes, which must have been written before.
  /// @throws std::system_error.
  void overwriteStart(std::span<const std::byte> bytes);

  /// The file that is written until commit().
  [[nodiscard]] const std::filesystem::path& partialPath() const { return partialPath_; }

  /// Brings the bytes to the disk and makes what was written the file of that name. Once, and nothing may be
  /// written behind.
  /// @throws std::system_error.
  void commit();

 private:
  [[noreturn]] void fail(int error) const;

  const std::filesystem::path path_;         // symbolic links resolved, so that they stay
  const std::filesystem::path partialPath_;  // taken by no other file when this object was made
  const int descriptor_;
  bool committed_ = false;
};

}  // namespace Core
