#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace Testing {

/// How a process ended, and what it said.
struct ProcessResult {
  int status = 0;  ///< exit status; 128 and the signal's number when a signal ended it
  std::string out;
  std::string err;
};

/// How a process is started.
struct ProcessSetup {
  int output = -1;                ///< descriptor for its standard output; -1: caught for ProcessResult
  int errors = -1;                ///< the same for standard error
  bool pendingInterrupt = false;  ///< a SIGINT waits for it, blocked, when it starts
};

/// A process that runs beside the test. Killed by the destructor if it still runs, and by the end of the
/// thread that made it.
class Process {
 public:
  /// @param command  the program's path and its arguments.
  /// @throws std::runtime_error when it cannot be started.
  explicit Process(const std::vector<std::string>& command, const ProcessSetup& setup = {});
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  void signal(int number) const;
  /// Returns once the process sleeps in a system call, as in a write to a full pipe, or has ended.
  void waitUntilItSleeps() const;
  /// Whether it has ended by now; wait() then returns at once.
  [[nodiscard]] bool hasEnded() const;
  ProcessResult wait();

 private:
  int out_;
  int err_;
  pid_t pid_;
  bool ended_ = false;
};

/// Runs a process to its end.
[[nodiscard]] ProcessResult runProcess(const std::vector<std::string>& command);

}  // namespace Testing
