#include "sorvik/ProgressDisplay.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace Program {
namespace {

constexpr double kSecondsBetweenBars = 0.2;
constexpr double kSecondsBetweenLines = 1;
constexpr int kBarWidth = 24;
constexpr const char* kEraseLine = "\r\x1b[K";

const char* nameOf(Sorvik::ConversionStage stage) {
  switch (stage) {
    case Sorvik::ConversionStage::Open:
      return "opening";
    case Sorvik::ConversionStage::Survey:
      return "surveying";
    case Sorvik::ConversionStage::Distribute:
      return "distributing";
    case Sorvik::ConversionStage::Index:
      return "indexing";
    case Sorvik::ConversionStage::Write:
      break;
  }
  return "writing";
}

/// Rounded down, so that 100 is the end.
int percentOf(double share) { return static_cast<int>(std::clamp(share, 0.0, 1.0) * 100); }

template <class... Values>
std::string formatted(const char* format, Values... values) {
  std::array<char, 64> buffer{};
  std::snprintf(buffer.data(), buffer.size(), format, values...);
  return buffer.data();
}

std::string rateText(double pointsPerSecond) {
  constexpr double kThousand = 1e3;
  constexpr double kMillion = 1e6;
  if (pointsPerSecond >= kMillion) return formatted("%.1f M points/s", pointsPerSecond / kMillion);
  if (pointsPerSecond >= kThousand) return formatted("%.1f k points/s", pointsPerSecond / kThousand);
  return formatted("%.0f points/s", pointsPerSecond);
}

std::string durationText(double seconds) {
  constexpr double kLongest = 1e9;  // thirty years
  const auto whole = static_cast<long>(std::clamp(std::ceil(seconds), 0.0, kLongest));
  if (whole < 3600) return formatted("%ld:%02ld", whole / 60, whole % 60);
  return formatted("%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
}

std::string barText(const ProgressFacts& facts) {
  const auto filled = static_cast<std::size_t>(percentOf(facts.share) * kBarWidth / 100);
  return '[' + std::string(filled, '#') + std::string(kBarWidth - filled, '.') + "] " + progressText(facts);
}

}  // namespace

std::string progressText(const ProgressFacts& facts) {
  std::string text = nameOf(facts.stage) + formatted(", %d %%", percentOf(facts.share));
  if (facts.pointsPerSecond > 0) text += ", " + rateText(facts.pointsPerSecond);
  if (facts.secondsLeft) text += ", " + durationText(*facts.secondsLeft) + " left";
  return text;
}

ProgressDisplay::~ProgressDisplay() {
  if (form_ == ProgressForm::Bar && shown_) messages_ << kEraseLine << std::flush;
}

void ProgressDisplay::show(const ProgressFacts& facts) {
  if (form_ == ProgressForm::None || !isDue(facts)) return;
  shown_ = facts;
  // In one piece, since standard error is not buffered.
  const bool bar = form_ == ProgressForm::Bar;
  messages_ << (bar ? kEraseLine + barText(facts) : "sorvik: " + progressText(facts) + '\n') << std::flush;
}

bool ProgressDisplay::isDue(const ProgressFacts& facts) const {
  if (!shown_ || shown_->stage != facts.stage) return true;
  const double pause = facts.elapsed - shown_->elapsed;
  if (form_ == ProgressForm::Bar) return pause >= kSecondsBetweenBars;
  return pause >= kSecondsBetweenLines && percentOf(shown_->share) != percentOf(facts.share);
}

}  // namespace Program
