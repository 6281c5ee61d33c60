#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "converter/ScanReader.h"
#include "math/Attribute.h"

namespace Converter {

/// How one scan's points become records of the cloud.
struct ScanMapping {
  /// By the scan's attribute number: where its values stand in a record.
  std::vector<std::size_t> offsets;
  /// Where "gps-time", one double, stands, if it has to be shifted, and by how much.
  std::optional<std::size_t> gpsTimeOffset;
  double gpsTimeShift = 0;
};

/// The interleaved records of a conversion, from reading to sorting: a position of three 32-bit integers and
/// the attributes of all scans, each once. What a scan lacks is 0.
struct CloudRecords {
  static constexpr std::size_t kPositionSize = 12;

  /// Beside the position, in the order of the scans and of their attributes. Attributes of the same name that
  /// differ in type or scale, or belong to one scan, are kept apart as NAME, NAME_2, ...; so is one that is
  /// named as the position.
  std::vector<Math::Attribute> attributes;
  std::vector<std::size_t> offsets;  ///< of the attributes
  std::size_t stride = kPositionSize;
  std::vector<ScanMapping> mappings;  ///< one a scan
  std::string projection;             ///< the first that a scan states

  /// Where the attribute of that name stands; nothing when there is none.
  [[nodiscard]] std::optional<std::size_t> offsetOf(std::string_view name) const;
};

/// Joins the attributes of all scans. Times of differing encodings are brought to adjusted standard time;
/// seconds of a week stay as they are. Remarks get a sentence for times that differ and for differing
/// coordinate systems.
/// @throws ConversionError (InputGetInfoError) for differing coordinate systems when @p strictCrs.
[[nodiscard]] CloudRecords joinScans(std::span<const ScanInfo* const> scans, bool strictCrs,
                                     std::vector<std::string>& remarks);

}  // namespace Converter
