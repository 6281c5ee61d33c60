#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include "sorvik/Interrupt.h"

namespace Program {

/// Bytes that go out through a file descriptor, which belongs to somebody else, without buffering. Needs
/// SIGPIPE ignored.
class Output {
 public:
  /// @param name  how messages call it: a path, or "standard output".
  Output(int descriptor, std::string name);

  /// Writes all the bytes. Once the reader of a pipe has gone they are dropped without a word.
  /// @throws std::runtime_error naming the output and the reason: disk full, closed, ...
  void write(std::string_view bytes);

  /// Whether a pipe was written to that nobody reads any more.
  [[nodiscard]] bool readerGone() const { return readerGone_; }

 private:
  void waitOrFail(int error);

  int descriptor_;
  std::string name_;
  bool readerGone_ = false;
};

/// Where a command's words go, and what may stop it.
struct Streams {
  Output& results;         ///< standard output
  std::ostream& messages;  ///< standard error
  Interrupt& interrupt;
};

}  // namespace Program
