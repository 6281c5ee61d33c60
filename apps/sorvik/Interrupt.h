#pragma once

#include <atomic>
#include <exception>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace Program {

/// The user pressed Ctrl-C: exit status 130.
class Interrupted : public std::exception {
 public:
  [[nodiscard]] const char* what() const noexcept override { return "interrupted"; }
};

/// Ctrl-C (SIGINT), waited for by a thread of its own; every other thread blocks the signal. A command either
/// ends in order and asks between two steps whether it came, a second one then ending the process, or has the
/// first one end the process at once, whatever it waits for: a disk, a server, a reader of its output. The
/// process ends with status 130, and an unfinished file is removed.
/// Threads: all calls are safe together.
class Interrupt {
 public:
  /// Takes the signal over for the rest of the process. To be made before any other thread.
  Interrupt();
  ~Interrupt();
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

  /// Whether the signal came.
  [[nodiscard]] bool came() const { return came_; }
  /// @throws Interrupted once the signal came.
  void check() const;

  /// From now on the signal ends the process at once; right here if it came already.
  void endAtOnce();

  /// Calls @p make, which makes a file and gives its path, without a break: the signal removes the file from
  /// then on. An empty path stands for none. Throws what it throws.
  void removeUnfinished(const std::function<std::string()>& make);

 private:
  void waitForSignals();
  [[noreturn]] void leave() const;

  std::atomic<bool> came_{false};
  mutable std::mutex mutex_;
  bool atOnce_ = false;  // this and what follows: guarded by mutex_
  bool ending_ = false;
  std::string unfinishedFile_;
  std::thread thread_;  // joined by the destructor
};

}  // namespace Program
