#pragma once

#include <cstdint>
#include <vector>

#include "Sorvik/PointFileWriter.h"
#include "formats/PointWriter.h"
#include "math/Attribute.h"

namespace Sorvik {

/// The engine's attributes.
/// @throws std::invalid_argument for one without a name, type or elements, with more scales or offsets than
///         elements, and for two of one name.
[[nodiscard]] std::vector<::Math::Attribute> checkedAttributes(
    const std::vector<PointFileAttribute>& attributes);

/// The values of @p column for @p numPoints points.
/// @throws std::invalid_argument when it is not of the attribute's type, or holds too few.
[[nodiscard]] ::Formats::AttributeValues checkedValues(const PointFileColumn& column,
                                                       const ::Math::Attribute& attribute,
                                                       std::uint64_t numPoints);

}  // namespace Sorvik
