#pragma once

#include <functional>
#include <optional>

#include "formats/e57/Scan.h"
#include "formats/e57/ValueScale.h"

namespace Converter {

/// Looks at values of some fields of a scan. Nothing where none of them is a finite number.
using LookAtValues = std::function<std::optional<Formats::E57::ValueRange>(
    std::initializer_list<Formats::E57::Role> roles, bool allValues)>;

/// How a scan's intensities become 16 bits: by its limits, by what its field can hold, else by the values
/// themselves.
/// @param look  is called where limits do not fit the field: with a few values first, and with all where
///              nothing else is known.
[[nodiscard]] Formats::E57::ValueScale intensityScale(const Formats::E57::Scan& scan,
                                                      const LookAtValues& look);

/// The same for colours, all three channels alike; where nothing is known, by what is common.
[[nodiscard]] Formats::E57::ValueScale colorScale(const Formats::E57::Scan& scan, const LookAtValues& look);

}  // namespace Converter
