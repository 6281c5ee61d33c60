#include "formats/e57/ValueScale.h"

namespace Formats::E57 {

ValueScale::ValueScale(const ValueRange& range) : minimum_(range.minimum) {
  if (range.usable()) factor_ = kMost / (range.maximum - range.minimum);
}

std::optional<ValueRange> statedRange(const Scan& scan, std::initializer_list<Role> roles) {
  std::optional<ValueRange> all;
  for (const Role role : roles) {
    const auto field = scan.find(role);
    if (!field || !scan.fields[*field].statedRange) return std::nullopt;
    const ValueRange& range = *scan.fields[*field].statedRange;
    if (!all) all = range;
    all->expand(range);
  }
  if (!all || !all->usable()) return std::nullopt;
  return all;
}

std::optional<ValueRange> chooseRange(const std::optional<ValueRange>& limits,
                                      const std::optional<ValueRange>& stated,
                                      const std::optional<ValueRange>& seen) {
  if (limits && ((stated && limits->contains(*stated)) || (seen && limits->contains(*seen)))) return limits;
  if (!limits || seen) return stated;
  return std::nullopt;
}

ValueRange commonColorRange(const ValueRange& seen) {
  if (seen.maximum <= 1) return {0, 1};
  return {0, seen.maximum <= 255 ? 255.0 : 65535.0};
}

}  // namespace Formats::E57
