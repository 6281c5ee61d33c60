#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "formats/PointWriter.h"
#include "math/Attribute.h"

namespace Formats {

/// The version of a LAS file that is written, which goes with its point formats.
enum class LasVersion {
  V14,  ///< LAS 1.4, point formats 6 to 8
  V12   ///< LAS 1.2, point formats 0 to 3
};

/// Puts the values of an attribute at @p out, in records that are @p stride bytes apart and were zero before.
using StoreLasField = void (*)(const AttributeValues& values, std::size_t count, std::byte* out,
                               std::size_t stride);

/// Parts of a record whose place depends on the point format, or that not all formats have.
enum class LasPart { Core, GpsTime, Rgb, Nir };

/// A field of LAS points that an attribute of a name and a type goes to. (ASPRS, "LAS Specification 1.4",
/// R15, tables 7 to 16; what 1.2 has of it is the same.)
struct LasField {
  std::string_view name;
  Math::AttributeType type = Math::AttributeType::UInt8;
  std::uint32_t numElements = 1;
  LasPart part = LasPart::Core;
  std::size_t offset = 0;  ///< in the part
  StoreLasField store = nullptr;
  /// Whether the field can hold a value; null where it holds all. Of attributes of one UInt8.
  bool (*holds)(std::uint8_t value) = nullptr;
  std::string_view held = {};  ///< which it holds, for messages
};

/// The field for an attribute; null where it becomes extra bytes.
[[nodiscard]] const LasField* lasFieldOf(const Math::Attribute& attribute, LasVersion version);

/// Where returns are counted: bits 0 to 2 of the byte in LAS 1.2, 0 to 3 in 1.4.
inline constexpr std::size_t kLasReturnByte = 14;

/// Steps of 0.006 degrees to the whole degrees of LAS 1.2, halves away from zero, at most a byte's.
void storeScanAngleRank(const AttributeValues& values, std::size_t count, std::byte* out, std::size_t stride);
inline constexpr std::size_t kScanAngleRankOffset = 16;

}  // namespace Formats
