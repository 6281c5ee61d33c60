#pragma once

#include <cstdio>
#include <filesystem>
#include <string_view>

namespace Converter {

/// A new file that is written from start to end. One that goes without a successful close() is removed, so
/// that nothing half-written stays behind. Every std::system_error of it names the path and the reason.
class OutputFile {
 public:
  /// Creates the file; one that exists is never overwritten.
  /// @throws std::system_error, also when there is such a file.
  explicit OutputFile(std::filesystem::path path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// @throws std::system_error, at once or in a later call, since bytes are buffered.
  void write(std::string_view bytes);

  /// Hands the last bytes to the system and keeps the file; no call but the destructor may follow.
  /// @throws std::system_error.
  void close();

 private:
  [[noreturn]] void fail() const;

  std::filesystem::path path_;
  std::FILE* file_ = nullptr;  // owned; null once closed
  bool kept_ = false;
};

}  // namespace Converter
