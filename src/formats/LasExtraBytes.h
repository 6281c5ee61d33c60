#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "math/Attribute.h"

namespace Formats {

/// Bytes of one description in the extra-bytes record (user id "LASF_Spec", record id 4).
inline constexpr std::size_t kExtraBytesDescriptionSize = 192;

/// One described part of the bytes that follow a LAS point's standard fields.
struct LasExtraField {
  Math::Attribute attribute;  ///< as it is given out
  Math::AttributeType storedType = Math::AttributeType::UInt8;
  std::size_t offset = 0;  ///< from the first extra byte
  /// A component of the normal, given out as double: value = stored * normalScale + normalOffset. Other
  /// fields are given out as they are stored.
  bool isNormal = false;
  double normalScale = 1;
  double normalOffset = 0;
};

/// The fields that a file's extra-bytes record describes (ASPRS LAS 1.4 R15, table 24, with the outdated
/// types of two and three values). Undocumented bytes are left out. Names are made unique, also against the
/// standard attributes, by a suffix "_2", "_3" and so on. Three fields that are a normal by their names, or
/// one of three values, become "NormalX", "NormalY" and "NormalZ".
/// @param record         the record's data.
/// @param numExtraBytes  bytes of a point record behind its standard fields: fields that do not fit are left
/// out.
/// @param[out] warnings  gets a sentence for whatever is left out.
[[nodiscard]] std::vector<LasExtraField> readLasExtraBytes(std::span<const std::byte> record,
                                                           std::size_t numExtraBytes,
                                                           std::vector<std::string>& warnings);

}  // namespace Formats
