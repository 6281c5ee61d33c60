#pragma once

#include <optional>
#include <ostream>
#include <string>

#include "Sorvik/Converter.h"

namespace Program {

/// How progress is shown: not at all, as a bar that is drawn over itself on a terminal, or as lines.
enum class ProgressForm { None, Bar, Lines };

/// How far a conversion is.
struct ProgressFacts {
  Sorvik::ConversionStage stage = Sorvik::ConversionStage::Open;
  double share = 0;    ///< of all work, 0 to 1
  double elapsed = 0;  ///< seconds since the start
  double pointsPerSecond = 0;
  std::optional<double> secondsLeft;
};

/// Stage, percent, points per second, time left: "indexing, 45 %, 12.3 M points/s, 1:23 left". What is not
/// known is left out.
[[nodiscard]] std::string progressText(const ProgressFacts& facts);

/// Shows how far a conversion is. The destructor takes a bar away.
class ProgressDisplay {
 public:
  /// @param messages  must outlive this object.
  ProgressDisplay(ProgressForm form, std::ostream& messages) : form_(form), messages_(messages) {}
  ~ProgressDisplay();
  ProgressDisplay(const ProgressDisplay&) = delete;
  ProgressDisplay& operator=(const ProgressDisplay&) = delete;

  /// May be called as often as one likes. A line appears for a new stage, or for a new percent a second after
  /// the last; a bar is drawn five times a second.
  void show(const ProgressFacts& facts);

 private:
  [[nodiscard]] bool isDue(const ProgressFacts& facts) const;

  ProgressForm form_;
  std::ostream& messages_;
  std::optional<ProgressFacts> shown_;  // the last
};

}  // namespace Program
