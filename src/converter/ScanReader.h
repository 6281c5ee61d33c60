#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "math/Attribute.h"
#include "math/BoundingBox.h"
#include "math/Point.h"

namespace Converter {

/// What a scan file tells before its points are read. Coordinates are the file's own, in its units.
struct ScanInfo {
  std::string name;             ///< the file's path, for messages and reports
  std::uint64_t numPoints = 0;  ///< that the blocks will give, at most
  /// As the file states it: it may be wrong, and need not be finite. Left as it is where none is stated.
  Math::NBoundingBox<double, 3> statedBox;
  /// Where coordinates are stored as integers: world = stored * scale + offset, scale above 0.
  struct Grid {
    std::array<double, 3> scale{};
    std::array<double, 3> offset{};
  };
  std::optional<Grid> grid;                 ///< nothing where coordinates are stored as floating point
  std::vector<Math::Attribute> attributes;  ///< beside the position, in the order of the output
  std::string projection;  ///< the coordinate system: WKT, or what GeoTIFF keys say; or empty
  /// To be added to "gps-time" to get adjusted standard time; nothing where times are seconds of a week.
  std::optional<double> toAdjustedStandardTime;
  std::vector<std::string> warnings;  ///< what was found odd and passed over, each a sentence
};

/// Where a block's attribute values go: record p of the block begins at records + p * stride, and attribute
/// number i of ScanInfo::attributes stands at offsets[i] in it. Attributes of offset kUnwanted are left out.
struct RecordTarget {
  static constexpr std::size_t kUnwanted = SIZE_MAX;

  std::byte* records = nullptr;
  std::size_t stride = 0;
  std::span<const std::size_t> offsets;
};

/// The coordinates of a block's points, x, y, z interleaved: stored integers where the scan has a grid, else
/// world coordinates.
struct BlockCoordinates {
  std::vector<std::int32_t> stored;
  std::vector<double> world;
};

/// One scan file, opened. The points stand in blocks of at most kMostPointsPerBlock that can be read in any
/// order. Threads: const calls are safe together.
class ScanReader {
 public:
  static constexpr std::size_t kMostPointsPerBlock = std::size_t{1} << 16U;

  virtual ~ScanReader() = default;

  [[nodiscard]] virtual const ScanInfo& info() const = 0;

  [[nodiscard]] virtual std::uint64_t numBlocks() const = 0;

  /// The most points that a block can hold.
  [[nodiscard]] virtual std::size_t mostPointsOf(std::uint64_t block) const = 0;

  /// Reads a block. The target has room for mostPointsOf(block) records; @p coordinates is overwritten.
  /// @return the number of points: fewer where the file holds points that are no measurement.
  /// @throws ConversionError naming file and place.
  virtual std::size_t readBlock(std::uint64_t block, const RecordTarget& target,
                                BlockCoordinates& coordinates) const = 0;

  /// World coordinates of about @p count points, spread over the file; the same for the same file and count.
  /// Reads little more than these. For estimates alone: what is odd is left out.
  /// @throws ConversionError naming file and place.
  [[nodiscard]] virtual std::vector<Math::Point<double, 3>> sample(std::size_t count) const = 0;

  /// What reading has shown, each a sentence; complete once every block was read.
  [[nodiscard]] virtual std::vector<std::string> remarks() const { return {}; }

  /// @throws ConversionError (InputCannotRead) when the file is no longer as it was when it was opened.
  virtual void checkUnchanged() const = 0;
};

}  // namespace Converter
