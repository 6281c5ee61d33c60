#include "core/Job.h"

#include <exception>
#include <new>
#include <system_error>
#include <utility>

namespace Core {
namespace {

// Short enough to be held without an allocation, which would fail again.
constexpr const char* kOutOfMemory = "out of memory";

JobOutcome failure(int code, const char* reason) noexcept {
  JobOutcome outcome{JobState::Failed, code, {}};
  try {
    outcome.failedReason = reason;
  } catch (const std::bad_alloc&) {
    outcome.failedReason = kOutOfMemory;
  }
  return outcome;
}

}  // namespace

JobState Job::run() {
  if (begin()) execute();
  return state();
}

void Job::runAsync() {
  if (!begin()) return;
  try {
    thread_ = std::jthread([this] { execute(); });
  } catch (const std::system_error& error) {
    end(failure(unexpectedErrorCode_, error.what()));
  }
}

void Job::requestCancellation() {
  stopSource_.request_stop();
  JobState pending = JobState::Pending;
  state_.compare_exchange_strong(pending, JobState::Cancelled, std::memory_order_acq_rel);
}

std::optional<double> Job::progress() const {
  const JobState now = state();
  if (now == JobState::Pending) return std::nullopt;
  return now == JobState::Completed ? 1.0 : shareDone();
}

std::optional<std::chrono::system_clock::time_point> Job::estimatedTimeOfArrival() const {
  if (!isRunning()) return std::nullopt;
  const std::optional<std::chrono::steady_clock::duration> left = timeLeft();
  if (!left) return std::nullopt;
  return std::chrono::system_clock::now() +
         std::chrono::duration_cast<std::chrono::system_clock::duration>(*left);
}

const std::string& Job::failedReason() const { return isFailed() ? outcome_.failedReason : noReason_; }

int Job::resultCode() const { return isFailed() ? outcome_.resultCode : 0; }

void Job::cancelAndJoin() noexcept {
  stopSource_.request_stop();
  if (thread_.joinable()) thread_.join();
}

bool Job::begin() {
  JobState pending = JobState::Pending;
  return state_.compare_exchange_strong(pending, JobState::Running, std::memory_order_acq_rel);
}

void Job::execute() noexcept { end(guardedWork()); }

JobOutcome Job::guardedWork() noexcept {
  try {
    return work(stopSource_.get_token());
  } catch (const std::bad_alloc&) {
    return failure(unexpectedErrorCode_, kOutOfMemory);
  } catch (const std::exception& error) {
    return failure(unexpectedErrorCode_, error.what());
  } catch (...) {
    return failure(unexpectedErrorCode_, "an error of unknown kind");
  }
}

void Job::end(JobOutcome outcome) noexcept {
  outcome_ = std::move(outcome);
  state_.store(outcome_.state, std::memory_order_release);
}

}  // namespace Core
