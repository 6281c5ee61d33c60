#pragma once

#include <chrono>
#include <cstdint>

namespace Core {

/// The numbers by which an HttpClient works. Tests shrink them.
struct HttpSettings {
  using Time = std::chrono::milliseconds;

  /// Requests under way at a time; others wait in a queue.
  unsigned parallelRequests = 8;
  /// How long a request waits for neighbours that it can be joined with.
  Time gatherTime{1};
  /// The most unused bytes between two ranges that are fetched as one.
  std::uint64_t largestGap = std::uint64_t{64} << 10U;
  /// The most bytes that ranges are joined to.
  std::uint64_t largestJoined = std::uint64_t{4} << 20U;

  Time connectTimeout{10'000};
  /// A transfer slower than so many bytes a second for that long is a stall.
  std::uint64_t slowestBytesPerSecond = 1024;
  Time stallTime{30'000};
  /// The most that a request waits in all its tries: for connections, in pauses and for bytes that come more
  /// slowly than the pace above.
  Time waitingBudget{60'000};
  unsigned tries = 5;
  /// The pause before the second try; each further one is twice as long.
  Time firstPause{250};
  /// A server that asks for a longer pause is asked again after this one.
  Time longestRetryAfter{30'000};
  /// After so many failed requests in a row, all fail at once for that long.
  unsigned failuresBeforeRest = 3;
  Time restTime{10'000};
  unsigned redirects = 5;

  /// The largest file that is fetched whole.
  std::uint64_t largestWholeFile = std::uint64_t{64} << 20U;
  /// Bytes that are kept of files that came whole when a range was asked for, in all.
  std::uint64_t keptBytes = std::uint64_t{64} << 20U;
};

}  // namespace Core
