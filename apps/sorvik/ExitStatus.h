#pragma once

namespace Program {

/// What the program says to its caller when it ends.
enum class ExitStatus {
  Done = 0,
  Failed = 1,
  WrongCall = 2,
  Interrupted = 130,
};

}  // namespace Program
