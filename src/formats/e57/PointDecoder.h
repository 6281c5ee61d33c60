#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "formats/e57/PacketIndex.h"
#include "formats/e57/Scan.h"
#include "formats/e57/ValueScale.h"
#include "math/Attribute.h"

namespace Formats::E57 {

/// What the points of a scan are given out with, beside their position, in this order.
enum class PointAttribute : std::uint8_t {
  Intensity,        ///< "intensity" uint16
  ReturnNumber,     ///< "return number" uint8, from 1
  NumberOfReturns,  ///< "number of returns" uint8
  GpsTime,          ///< "gps-time" double: adjusted standard GPS time (less 10^9 s)
  TimeStamp,        ///< "timeStamp" double: seconds since the scan's start, where that is unknown
  Rgb,              ///< "rgb" 3 * uint16
  NormalX,          ///< "NormalX" double, turned with the scan, as the next two
  NormalY,
  NormalZ,
  RowIndex,     ///< "rowIndex" uint32
  ColumnIndex,  ///< "columnIndex" uint32
  ScanIndex     ///< "ScanIndex" uint32: the scan's number in the file
};
inline constexpr std::size_t kNumPointAttributes = 12;

/// Name, type and number of elements.
[[nodiscard]] Math::Attribute describe(PointAttribute attribute);
/// Whether the points of a scan have it.
[[nodiscard]] bool holds(const Scan& scan, PointAttribute attribute);

/// Where decoded points go: attribute a of point p to records + p * stride + offsets[a].
struct PointTarget {
  static constexpr std::size_t kUnwanted = SIZE_MAX;

  std::byte* records = nullptr;
  std::size_t stride = 0;
  std::array<std::size_t, kNumPointAttributes> offsets{};  ///< kUnwanted leaves one out
};

/// Points that were left out.
struct DroppedPoints {
  std::uint64_t invalid = 0;    ///< flagged as no measurement
  std::uint64_t notFinite = 0;  ///< with coordinates that are NaN or infinite

  void add(const DroppedPoints& other) {
    invalid += other.invalid;
    notFinite += other.notFinite;
  }
};

/// Makes points of the columns of one scan. Cartesian coordinates count where they are valid, else spherical
/// ones; the pose is applied in double. What a scan does not hold, and intensities, colours and times that
/// are flagged invalid, are written as 0. Immutable. Threads: calls are safe together.
class PointDecoder {
 public:
  /// @param scan  with Cartesian or spherical coordinates.
  PointDecoder(Scan scan, const ValueScale& intensityScale, const ValueScale& colorScale);

  /// The fields that decode() looks at for a target; not 0: one a field of the scan.
  [[nodiscard]] std::vector<char> wanted(const PointTarget& target) const;

  /// @param columns  of @p count records; those of unwanted fields are not looked at.
  /// @param world    gets x, y, z of each point; has room for @p count.
  /// @param target   has room for @p count records.
  /// @return the number of points: those that were dropped leave no gap.
  std::size_t decode(const Columns& columns, std::size_t count, double* world, const PointTarget& target,
                     DroppedPoints& dropped) const;

 private:
  class Batch;

  Scan scan_;
  std::array<std::size_t, kNumRoles> fields_{};  // by role: the place in scan_.fields, or kAbsent
  ValueScale intensityScale_;
  ValueScale colorScale_;
};

}  // namespace Formats::E57
