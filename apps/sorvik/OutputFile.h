#pragma once

#include <string>
#include <string_view>

#include "sorvik/Interrupt.h"
#include "sorvik/Output.h"

namespace Program {

/// A file that appears under its name only once it is complete: until then it is written beside it, under the
/// name with ".partial" behind, and a file of that name stays as it was.
class OutputFile {
 public:
  /// @throws std::runtime_error naming the path when it cannot be written, or is there and no plain file.
  OutputFile(const std::string& path, const Interrupt& interrupt);
  /// Removes what was written, unless it was committed.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  [[nodiscard]] Output& output() { return output_; }

  /// Writes over the first bytes, which must have been written before.
  void overwriteStart(std::string_view bytes);

  /// Makes what was written the file of that name. Once, and nothing may be written behind.
  void commit();

 private:
  [[noreturn]] void fail(int error) const;

  const std::string path_;         // symbolic links resolved, so that they stay
  const std::string partialPath_;  // taken by no other file when this object was made
  const int descriptor_;
  Output output_;
  bool committed_ = false;
};

}  // namespace Program
