#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "core/http/HttpSettings.h"

namespace Core {

/// The tries of one request: which failures allow another one, after what pause, and what all of them were.
/// Reads no clock.
class RetryPlan {
 public:
  using Time = std::chrono::steady_clock::duration;

  enum class Failure {
    Passing,     ///< busy server, broken connection, stall: all tries
    Wrong,       ///< an answer that does not fit what was asked: one more try
    Unresolved,  ///< the host's name: one more try
    Final,       ///< no other try would end otherwise
  };

  RetryPlan(const HttpSettings& settings, unsigned tries);

  /// Notes how a try failed and how long it waited.
  /// @param retryAfter  the pause that the server asked for.
  /// @return the pause before the next try; nothing when there is none.
  std::optional<Time> pauseAfter(Failure failure, const std::string& reason, Time waited,
                                 std::optional<std::chrono::seconds> retryAfter);
  /// How long the try that is under way may still wait.
  [[nodiscard]] Time waitingLeft() const { return waitingLeft_; }
  /// Whether the server could not be had, and might be had later.
  [[nodiscard]] bool endedPassing() const { return endedPassing_; }
  /// The failures, in order, equal ones in a row counted: "HTTP status 503 (4 tries), connection refused".
  [[nodiscard]] std::string history() const;

 private:
  struct Failed {
    std::string reason;
    unsigned tries;
  };

  Time nextPause_;
  Time longestRetryAfter_;
  Time waitingLeft_;
  unsigned triesLeft_;
  int wrongLeft_ = 1;
  int unresolvedLeft_ = 1;
  bool endedPassing_ = false;
  std::vector<Failed> failures_;
};

}  // namespace Core
