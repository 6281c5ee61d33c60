#pragma once

#include <exception>

namespace Program {

/// The user pressed Ctrl-C: exit status 130.
class Interrupted : public std::exception {
 public:
  [[nodiscard]] const char* what() const noexcept override { return "interrupted"; }
};

/// Ctrl-C (SIGINT) as a question that the work asks between two steps. The first one is only noted, and ends
/// system calls that wait; the second one ends the process at once, with status 130.
class Interrupt {
 public:
  /// Takes the signal over for the rest of the process, unblocked.
  Interrupt();

  /// Whether the signal came.
  [[nodiscard]] bool came() const;
  /// @throws Interrupted once the signal came.
  void check() const;
};

}  // namespace Program
