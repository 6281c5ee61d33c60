#include "converter/CloudRecords.h"

#include <algorithm>
#include <string_view>

#include "converter/ConversionError.h"

namespace Converter {
namespace {

constexpr std::string_view kPosition = "position";
constexpr std::string_view kGpsTime = "gps-time";

bool sameValues(const Math::Attribute& a, const Math::Attribute& b) {
  return a.type == b.type && a.numElements == b.numElements && a.scale == b.scale && a.offset == b.offset;
}

/// The number of the cloud's attribute that holds the values of @p wanted, which is added if it is not there.
/// @param used  by other attributes of the scan.
std::size_t attributeFor(Math::Attribute wanted, const std::vector<std::size_t>& used,
                         std::vector<Math::Attribute>& attributes) {
  const std::string name = wanted.name;
  for (int copy = name == kPosition ? 2 : 1;; ++copy) {
    if (copy > 1) wanted.name = name + "_" + std::to_string(copy);
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [&](const Math::Attribute& a) { return a.name == wanted.name; });
    if (found == attributes.end()) {
      attributes.push_back(std::move(wanted));
      return attributes.size() - 1;
    }
    const auto number = static_cast<std::size_t>(found - attributes.begin());
    const bool isUsed = std::find(used.begin(), used.end(), number) != used.end();
    if (!isUsed && sameValues(*found, wanted)) return number;
  }
}

/// Where a scan's times stand in a record; nothing when it has none.
std::optional<std::size_t> timeOffset(const ScanInfo& scan, const ScanMapping& mapping) {
  for (std::size_t i = 0; i < scan.attributes.size(); ++i) {
    const Math::Attribute& attribute = scan.attributes[i];
    const bool isOneDouble = attribute.type == Math::AttributeType::Double && attribute.numElements == 1;
    if (attribute.name == kGpsTime && isOneDouble) return mapping.offsets[i];
  }
  return std::nullopt;
}

void joinTimes(std::span<const ScanInfo* const> scans, CloudRecords& records,
               std::vector<std::string>& remarks) {
  std::vector<std::size_t> timed;
  for (std::size_t i = 0; i < scans.size(); ++i) {
    if (timeOffset(*scans[i], records.mappings[i])) timed.push_back(i);
  }
  const bool allEqual = std::all_of(timed.begin(), timed.end(), [&](std::size_t i) {
    return scans[i]->toAdjustedStandardTime == scans[timed.front()]->toAdjustedStandardTime;
  });
  if (allEqual) return;
  for (const std::size_t i : timed) {
    if (!scans[i]->toAdjustedStandardTime) {
      remarks.push_back(
          scans[i]->name +
          ": its GPS times are seconds of a week and stay so, while other inputs have standard time.");
    } else if (*scans[i]->toAdjustedStandardTime != 0) {
      records.mappings[i].gpsTimeOffset = timeOffset(*scans[i], records.mappings[i]);
      records.mappings[i].gpsTimeShift = *scans[i]->toAdjustedStandardTime;
    }
  }
}

void joinProjections(std::span<const ScanInfo* const> scans, bool strictCrs, CloudRecords& records,
                     std::vector<std::string>& remarks) {
  const ScanInfo* stating = nullptr;
  for (const ScanInfo* scan : scans) {
    if (scan->projection.empty()) continue;
    if (stating == nullptr) {
      stating = scan;
      records.projection = scan->projection;
    } else if (scan->projection != stating->projection) {
      const std::string what = scan->name + ": its coordinate system differs from that of " + stating->name;
      if (strictCrs) throw ConversionError(Result::InputGetInfoError, what);
      remarks.push_back(what + ", which was kept for the cloud; coordinates were not transformed.");
    }
  }
}

}  // namespace

std::optional<std::size_t> CloudRecords::offsetOf(std::string_view name) const {
  for (std::size_t i = 0; i < attributes.size(); ++i) {
    if (attributes[i].name == name) return offsets[i];
  }
  return std::nullopt;
}

CloudRecords joinScans(std::span<const ScanInfo* const> scans, bool strictCrs,
                       std::vector<std::string>& remarks) {
  CloudRecords records;
  std::vector<std::vector<std::size_t>> numbers;  // by scan and its attribute: the cloud's attribute
  for (const ScanInfo* scan : scans) {
    auto& ofScan = numbers.emplace_back();
    for (const Math::Attribute& attribute : scan->attributes) {
      ofScan.push_back(attributeFor(attribute, ofScan, records.attributes));
    }
  }
  for (const Math::Attribute& attribute : records.attributes) {
    records.offsets.push_back(records.stride);
    records.stride += attribute.size();
  }
  for (const auto& ofScan : numbers) {
    ScanMapping& mapping = records.mappings.emplace_back();
    for (const std::size_t number : ofScan) mapping.offsets.push_back(records.offsets[number]);
  }
  joinTimes(scans, records, remarks);
  joinProjections(scans, strictCrs, records, remarks);
  return records;
}

}  // namespace Converter
