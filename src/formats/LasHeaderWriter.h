#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "formats/LasFields.h"
#include "math/Attribute.h"

namespace Formats {

/// What the public header of a LAS file says; the rest of it is fixed. (ASPRS, "LAS Specification 1.4", R15,
/// table 3; "LAS Specification 1.2", the same up to the box.)
struct LasHeaderValues {
  static constexpr std::size_t kReturns = 15;

  LasVersion version = LasVersion::V14;
  bool adjustedStandardTime = true;
  std::uint32_t pointOffset = 0;  ///< bytes before the first point
  std::uint32_t numRecords = 0;   ///< variable-length records before the points
  std::uint8_t pointFormat = 6;
  bool isCompressed = false;
  std::uint16_t pointSize = 0;
  std::array<double, 3> scale{};
  std::array<double, 3> offset{};
  std::array<double, 3> maximum{};
  std::array<double, 3> minimum{};
  std::uint64_t extendedRecordOffset = 0;  ///< of the first record behind the points; 0: there is none
  std::uint32_t numExtendedRecords = 0;    ///< 0 in 1.2
  std::uint64_t numPoints = 0;             ///< at most 2^32 - 1 in 1.2
  std::array<std::uint64_t, kReturns> pointsByReturn{};  ///< first returns first; 1.2 has the first five
};

/// A variable-length record: what else a LAS file says.
struct LasRecord {
  std::string userId;  ///< at most 16 bytes
  std::uint16_t recordId = 0;
  std::string description;  ///< cut to 32 bytes
  std::vector<std::byte> data;

  /// Whether it is too long to stand before the points, so that LAS 1.2 has no place for it.
  [[nodiscard]] bool isExtended() const { return data.size() > UINT16_MAX; }
};

/// Appends the header: 375 bytes, in version 1.2 227.
void appendLasHeader(const LasHeaderValues& values, std::vector<std::byte>& out);

/// Appends the record, in the form that isExtended() says.
void appendLasRecord(const LasRecord& record, std::vector<std::byte>& out);

/// The record that describes extra bytes: one entry for each element of each attribute, in their order, those
/// of several elements as NAME[0], NAME[1], ... Names and descriptions are cut to 32 bytes. (R15, table 24.)
[[nodiscard]] LasRecord extraBytesRecord(std::span<const Math::Attribute> attributes);

/// The record of a coordinate system given as WKT.
[[nodiscard]] LasRecord projectionRecord(std::string_view wkt);

}  // namespace Formats
