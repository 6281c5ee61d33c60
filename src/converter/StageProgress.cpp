#include "converter/StageProgress.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace Converter {
namespace {

// With less behind it the pace is mostly that of opening files.
constexpr double kLeastShareForEstimate = 0.01;

}  // namespace

StageWeights stageWeights(PoTree::Encoding encoding) {
  if (encoding == PoTree::Encoding::Brotli) return {0.01, 0.05, 0.91, 0.03};
  return {0.03, 0.14, 0.79, 0.04};
}

StageProgress::StageProgress(const StageWeights& weights, std::function<TimePoint()> now)
    : weights_(weights), now_(std::move(now)) {}

void StageProgress::begin(Stage stage, std::uint64_t total) {
  const auto place = weights_.begin() + static_cast<std::ptrdiff_t>(stage);
  const double start = std::accumulate(weights_.begin(), place, 0.0);
  const std::lock_guard lock(mutex_);
  if (!stage_) start_ = now_();
  from_ = std::max(lockedShare(), start);
  to_ = std::max(from_, start + *place);
  stage_ = stage;
  total_ = total;
  done_ = 0;
}

double StageProgress::share() const {
  const std::lock_guard lock(mutex_);
  return lockedShare();
}

std::optional<Stage> StageProgress::stage() const {
  const std::lock_guard lock(mutex_);
  return stage_;
}

std::optional<std::chrono::steady_clock::duration> StageProgress::timeLeft() const {
  const std::lock_guard lock(mutex_);
  const double done = lockedShare();
  if (!stage_ || done < kLeastShareForEstimate) return std::nullopt;
  const std::chrono::duration<double> elapsed = now_() - start_;
  return std::chrono::duration_cast<std::chrono::steady_clock::duration>(elapsed * ((1 - done) / done));
}

double StageProgress::lockedShare() const {
  if (total_ == 0) return from_;
  const double part =
      static_cast<double>(done_.load(std::memory_order_relaxed)) / static_cast<double>(total_);
  return std::min(1.0, from_ + (to_ - from_) * std::min(1.0, part));
}

}  // namespace Converter
