#pragma once

#include <cstddef>
#include <vector>

#include "converter/SortedPoints.h"
#include "converter/Spread.h"

namespace Testing {

/// Records of a position and the point's number, a uint32.
inline constexpr std::size_t kNumberedStride = 16;
[[nodiscard]] Converter::RawBytes numberedRecords(const std::vector<Converter::StoredPosition>& places);

/// Clouds that fill many levels with a few thousand points each: clusters of ever denser points, a surface, a
/// volume, a line, and many points on few places. All coordinates are below 2^edgeBits (10 to 31).
[[nodiscard]] std::vector<std::vector<Converter::StoredPosition>> treeClouds(unsigned edgeBits);

/// The stored position of a point.
[[nodiscard]] Place placeOf(const Converter::SortedPoints& points, std::size_t i);

}  // namespace Testing
