#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <vector>

namespace Bench {

[[nodiscard]] inline double wallSeconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// Processor time of the whole process.
[[nodiscard]] inline double processorSeconds() {
  timespec now = {};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// The median of the middle two for an even number.
[[nodiscard]] inline double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

struct Medians {
  double ours;
  double baseline;
};

/// Runs the two in turn, so that a change of the machine's speed meets both, and gives the medians of what
/// `clock` says each took. What a call returns is destroyed outside the timing.
template <class Ours, class Baseline>
[[nodiscard]] Medians alternate(int rounds, double (*clock)(), const Ours& ours, const Baseline& baseline) {
  const auto timed = [clock](const auto& work) {
    const double begin = clock();
    [[maybe_unused]] const auto result = work();
    return clock() - begin;
  };
  std::vector<double> oursTaken;
  std::vector<double> baselineTaken;
  for (int round = 0; round < rounds; ++round) {
    baselineTaken.push_back(timed(baseline));
    oursTaken.push_back(timed(ours));
  }
  return {median(oursTaken), median(baselineTaken)};
}

/// One line: both times for each of @p count things, and how many times as fast as the baseline ours is.
inline void report(const char* what, const char* baseline, const Medians& taken, std::size_t count) {
  const double each = 1e9 / static_cast<double>(count);
  std::printf("%-44s ours %10.2f ns   %s %10.2f ns   %6.3f times as fast\n", what, taken.ours * each,
              baseline, taken.baseline * each, taken.baseline / taken.ours);
}

}  // namespace Bench
