#include "converter/E57Ranges.h"

namespace Converter {

using Formats::E57::chooseRange;
using Formats::E57::Role;
using Formats::E57::Scan;
using Formats::E57::ValueRange;
using Formats::E57::ValueScale;

ValueScale intensityScale(const Scan& scan, const LookAtValues& look) {
  if (!scan.hasAll({Role::Intensity})) return {};
  const auto stated = Formats::E57::statedRange(scan, {Role::Intensity});
  auto range = chooseRange(scan.intensityLimits, stated, std::nullopt);
  if (!range && scan.intensityLimits) {
    range = chooseRange(scan.intensityLimits, stated, look({Role::Intensity}, false));
  }
  if (!range) range = look({Role::Intensity}, true);
  return ValueScale(range.value_or(ValueRange{}));
}

ValueScale colorScale(const Scan& scan, const LookAtValues& look) {
  const auto kChannels = {Role::ColorRed, Role::ColorGreen, Role::ColorBlue};
  if (!scan.hasAll(kChannels)) return {};
  const auto stated = Formats::E57::statedRange(scan, kChannels);
  if (const auto range = chooseRange(scan.colorLimits, stated, std::nullopt)) return ValueScale(*range);
  const ValueRange seen = look(kChannels, false).value_or(ValueRange{});
  const auto range = chooseRange(scan.colorLimits, stated, seen);
  return ValueScale(range ? *range : Formats::E57::commonColorRange(seen));
}

}  // namespace Converter
