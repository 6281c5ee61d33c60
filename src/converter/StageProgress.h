#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>

#include "converter/Progress.h"
#include "octree/potree/MetaData.h"

namespace Converter {

inline constexpr std::size_t kNumStages = 4;

/// The share of a conversion's time that each stage takes, in the order of Stage; the sum is 1.
using StageWeights = std::array<double, kNumStages>;

/// The usual shares for an encoding: compressing takes most of the time where there is any.
[[nodiscard]] StageWeights stageWeights(PoTree::Encoding encoding);

/// Makes one share, 0 to 1, of the stages of a conversion, and says how long the rest will take.
/// Threads: all calls are safe together; advance() is one atomic addition.
class StageProgress final : public Progress {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// @param now  the present time; tests give their own.
  explicit StageProgress(const StageWeights& weights,
                         std::function<TimePoint()> now = std::chrono::steady_clock::now);

  /// A stage that begins again takes what is left of its share for all of its work.
  void begin(Stage stage, std::uint64_t total) override;
  void advance(std::uint64_t units) override { done_.fetch_add(units, std::memory_order_relaxed); }

  /// The share of the work that is done, 0 to 1; never less than in an earlier call.
  [[nodiscard]] double share() const;
  /// The present stage; nothing before the first.
  [[nodiscard]] std::optional<Stage> stage() const;
  /// How long the rest takes when it goes on at the pace since the first stage began; nothing before a
  /// hundredth is done.
  [[nodiscard]] std::optional<std::chrono::steady_clock::duration> timeLeft() const;

 private:
  [[nodiscard]] double lockedShare() const;

  const StageWeights weights_;
  const std::function<TimePoint()> now_;
  std::atomic<std::uint64_t> done_ = 0;  // units of the present stage
  mutable std::mutex mutex_;
  std::optional<Stage> stage_;  // guarded by mutex_, as the rest
  TimePoint start_;             // of the first stage
  std::uint64_t total_ = 0;     // units of the present stage
  double from_ = 0;             // the share when the present stage began
  double to_ = 0;               // the share when it will have ended
};

}  // namespace Converter
