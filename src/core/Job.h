#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>

namespace Core {

/// A job begins pending, runs once, and ends in one of the last three.
enum class JobState : std::int32_t { Pending = 0, Running = 1, Completed = 2, Cancelled = 3, Failed = 4 };

/// How the work of a job ended.
struct JobOutcome {
  JobState state = JobState::Completed;  ///< Completed, Cancelled or Failed
  int resultCode = 0;                    ///< the job's own numbers; of a failed job alone
  std::string failedReason;              ///< for the user; of a failed job alone
};

/// Work that runs once, on the caller's thread or on one of its own, and can be watched and cancelled.
///
/// A derived class gives the work, which may use its members: so the destructor of the last derived class
/// calls cancelAndJoin(). Threads: all calls but the destructor are safe together.
class Job {
 public:
  /// @param unexpectedErrorCode  the result code for exceptions that the work lets out.
  explicit Job(int unexpectedErrorCode) : unexpectedErrorCode_(unexpectedErrorCode) {}
  virtual ~Job() = default;
  Job(const Job&) = delete;
  Job& operator=(const Job&) = delete;

  /// Does the work and returns how it ended. A job that is not pending is left as it is, its state returned.
  JobState run();
  /// Starts the work on a thread of this job; the state is Running when it returns. A job that is not pending
  /// is left as it is; one whose thread cannot be started has failed.
  void runAsync();
  /// Asks the work to end soon; a pending job is cancelled at once, one that has ended stays as it is.
  virtual void requestCancellation();

  [[nodiscard]] virtual JobState state() const { return state_.load(std::memory_order_acquire); }
  [[nodiscard]] bool isRunning() const { return state() == JobState::Running; }
  [[nodiscard]] bool isCancelled() const { return state() == JobState::Cancelled; }
  /// Not running: also true before the start.
  [[nodiscard]] bool isStopped() const { return state() != JobState::Running; }
  [[nodiscard]] bool isCompleted() const { return state() == JobState::Completed; }
  [[nodiscard]] bool isFailed() const { return state() == JobState::Failed; }

  /// The share of the work that is done, 0 to 1; 1 once completed; nothing before the start and while the
  /// work cannot tell.
  [[nodiscard]] std::optional<double> progress() const;
  /// When the work will probably end; nothing unless it runs and can tell.
  [[nodiscard]] std::optional<std::chrono::system_clock::time_point> estimatedTimeOfArrival() const;

  /// Why the job failed; empty unless it has. The reference is valid as long as the job.
  [[nodiscard]] const std::string& failedReason() const;
  /// What the work returned; 0 unless the job has failed.
  [[nodiscard]] int resultCode() const;

 protected:
  /// The work. It should look at the token several times a second. Exceptions end the job failed.
  virtual JobOutcome work(std::stop_token stopToken) = 0;
  /// The share of the work that is done, 0 to 1, or nothing. Called from any thread, from the start on.
  [[nodiscard]] virtual std::optional<double> shareDone() const { return std::nullopt; }
  /// How long the work will still take, or nothing. Called from any thread while the work runs.
  [[nodiscard]] virtual std::optional<std::chrono::steady_clock::duration> timeLeft() const {
    return std::nullopt;
  }

  /// Asks the work to end and waits until the job's thread has gone.
  void cancelAndJoin() noexcept;

 private:
  bool begin();
  void execute() noexcept;
  [[nodiscard]] JobOutcome guardedWork() noexcept;
  void end(JobOutcome outcome) noexcept;

  const int unexpectedErrorCode_;
  const std::string noReason_;
  std::atomic<JobState> state_{JobState::Pending};
  JobOutcome outcome_;  // written once, before state_ says that the job has ended
  std::stop_source stopSource_;
  std::jthread thread_;  // written by the one call that found the job pending; last, so that it ends first
};

}  // namespace Core
