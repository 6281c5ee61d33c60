#include "core/http/TransferPace.h"

#include <algorithm>

namespace Core {

void TransferPace::received(Clock::time_point now, std::uint64_t bytes) {
  const Clock::duration passed = now - last_;
  // A day is long enough, and bytes may be many.
  const double seconds = std::min(static_cast<double>(bytes) / slowest_, 86'400.0);
  const auto due = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
  behind_ = std::max(behind_ + passed - due, Clock::duration::zero());
  if (due < passed) waited_ += passed;
  last_ = now;
}

}  // namespace Core
