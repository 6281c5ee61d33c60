#include "core/http/RetryPlan.h"

#include <algorithm>

namespace Core {

RetryPlan::RetryPlan(const HttpSettings& settings, unsigned tries)
    : nextPause_(settings.firstPause),
      longestRetryAfter_(settings.longestRetryAfter),
      waitingLeft_(settings.waitingBudget),
      triesLeft_(tries) {}

std::optional<RetryPlan::Time> RetryPlan::pauseAfter(Failure failure, const std::string& reason, Time waited,
                                                     std::optional<std::chrono::seconds> retryAfter) {
  if (!failures_.empty() && failures_.back().reason == reason) {
    ++failures_.back().tries;
  } else {
    failures_.push_back({reason, 1});
  }
  const Time pause = std::max<Time>(
      nextPause_, std::min<Time>(retryAfter.value_or(std::chrono::seconds(0)), longestRetryAfter_));
  nextPause_ *= 2;
  waitingLeft_ -= waited + pause;
  if (triesLeft_ > 0) --triesLeft_;
  const bool another = failure == Failure::Passing || (failure == Failure::Wrong && wrongLeft_-- > 0) ||
                       (failure == Failure::Unresolved && unresolvedLeft_-- > 0);
  if (another && triesLeft_ > 0 && waitingLeft_ > Time::zero()) return pause;
  endedPassing_ = failure == Failure::Passing || failure == Failure::Unresolved;
  return std::nullopt;
}

std::string RetryPlan::history() const {
  std::string text;
  for (const Failed& failed : failures_) {
    if (!text.empty()) text += ", ";
    text += failed.reason;
    if (failed.tries > 1) text += " (" + std::to_string(failed.tries) + " tries)";
  }
  return text;
}

}  // namespace Core
