#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>

#include "formats/e57/Scan.h"

namespace Formats::E57 {

/// Brings values of a range to 0..65535: (v - minimum) / (maximum - minimum) * 65535, rounded; what lies
/// outside goes to the end, NaN to 0. A range that tells nothing apart gives 0.
class ValueScale {
 public:
  ValueScale() = default;
  explicit ValueScale(const ValueRange& range);

  [[nodiscard]] std::uint16_t operator()(double value) const {
    const double scaled = (value - minimum_) * factor_ + 0.5;
    if (!(scaled > 0)) return 0;
    return scaled < kMost + 0.5 ? static_cast<std::uint16_t>(scaled) : static_cast<std::uint16_t>(kMost);
  }

 private:
  static constexpr double kMost = 65535;

  double minimum_ = 0;
  double factor_ = 0;
};

/// What the types of some fields, taken together, can hold; nothing where one leaves that open, or all can
/// hold one value alone.
[[nodiscard]] std::optional<ValueRange> statedRange(const Scan& scan, std::initializer_list<Role> roles);

/// Which range to scale by. Limits may be wrong: they count when they cover what the fields can hold, or at
/// least the values that were seen; then comes what the fields can hold. Nothing when neither does.
/// @param seen  the range of some values; nothing while none were looked at.
[[nodiscard]] std::optional<ValueRange> chooseRange(const std::optional<ValueRange>& limits,
                                                    const std::optional<ValueRange>& stated,
                                                    const std::optional<ValueRange>& seen);

/// The range of colours that say nothing of it, by some of them: 0 to 1, to 255 or to 65535.
[[nodiscard]] ValueRange commonColorRange(const ValueRange& seen);

}  // namespace Formats::E57
