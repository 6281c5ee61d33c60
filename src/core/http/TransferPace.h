#pragma once

#include <chrono>
#include <cstdint>

namespace Core {

/// How fast the bytes of one transfer come, held against the slowest pace that is no stall. It reads no
/// clock: times are handed in, and do not fall.
class TransferPace {
 public:
  using Clock = std::chrono::steady_clock;

  TransferPace(Clock::time_point start, std::uint64_t slowestBytesPerSecond)
      : slowest_(static_cast<double>(slowestBytesPerSecond)), last_(start) {}

  void received(Clock::time_point now, std::uint64_t bytes);

  /// How far the transfer lies behind the slowest pace; nothing is saved up by coming faster.
  [[nodiscard]] Clock::duration behind(Clock::time_point now) const { return behind_ + (now - last_); }
  /// The time in which bytes came more slowly than the slowest pace, the start included.
  [[nodiscard]] Clock::duration waited(Clock::time_point now) const { return waited_ + (now - last_); }

 private:
  double slowest_;
  Clock::time_point last_;
  Clock::duration behind_{};
  Clock::duration waited_{};
};

}  // namespace Core
