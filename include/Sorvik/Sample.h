#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "Sorvik/Export.h"
#include "Sorvik/PointFileWriter.h"

namespace Sorvik {

/// How a sample is made; the defaults are those of the program.
struct SampleOptions {
  /// Called after each part of the work, a fraction of a second, with the number of points written so far.
  /// What it throws ends the work, and no file appears.
  std::function<void(std::uint64_t numPoints)> onProgress;
  /// Of LAS and LAZ files. Points for 1.2, which has no flag of overlap, go without their flags.
  LasVersion lasVersion = LasVersion::V14;
};

/// Writes a synthetic airborne survey: strips of scan lines over hills, a river, roads, houses and trees, 8
/// points a square metre (fewer on the least area, 200 m x 200 m), in metres near easting 452,000, northing
/// 5,411,000. Points have intensity, returns, flags, class, user data, scan angle, point source id, GPS time
/// (adjusted standard time) and colour, and stand in the order in which they were measured. The same number
/// of points and seed make the same file, byte by byte, on every machine.
/// @param path       the file, of a format that PointFileWriter writes; one that is there will be replaced.
/// @param numPoints  at most 10^12.
/// @throws std::invalid_argument for too many points, and what PointFileWriter throws.
SORVIK_API void makeSample(const std::wstring& path, std::uint64_t numPoints, std::uint64_t seed,
                           const SampleOptions& options = {});

}  // namespace Sorvik
