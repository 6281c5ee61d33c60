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
  /// @param name       how messages call it: a path, or "standard output".
  /// @param interrupt  must outlive this object.
  Output(int descriptor, std::string name, const Interrupt& interrupt);

  /// Writes all the bytes. Once the reader of a pipe has gone they are dropped without a word.
  /// @throws Interrupted when the user interrupted, also while a write waits.
  /// @throws std::runtime_error naming the output and the reason: disk full, closed, ...
  void write(std::string_view bytes);

  /// The same, but also after an interrupt: for what a command that ends in order has to say.
  void writeLast(std::string_view bytes);

  /// Whether a pipe was written to that nobody reads any more.
  [[nodiscard]] bool readerGone() const { return readerGone_; }

 private:
  void writeSome(std::string_view& bytes);
  void waitOrFail(int error);

  int descriptor_;
  std::string name_;
  const Interrupt* interrupt_;
  bool readerGone_ = false;
};

/// Where a command's words go, and what may stop it.
struct Streams {
  Output& results;         ///< standard output
  std::ostream& messages;  ///< standard error
  const Interrupt& interrupt;
};

}  // namespace Program
