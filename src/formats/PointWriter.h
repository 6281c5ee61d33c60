#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "math/Attribute.h"

namespace Formats {

/// What a point file holds, beside the points themselves.
struct PointFileLayout {
  std::array<double, 3> scale{0.001, 0.001, 0.001};  ///< the step between coordinates, above 0
  std::array<double, 3> offset{};  ///< where steps are counted from; text and floating point need none
  std::vector<Math::Attribute> attributes;  ///< beside the position, with distinct names, in the file's order
  std::string projection;                   ///< the coordinate system as WKT, or empty
  bool adjustedStandardTime = true;         ///< what "gps-time" counts; otherwise the seconds of a week
};

/// The values of one attribute of many points; views them.
struct AttributeValues {
  const std::byte* first = nullptr;  ///< the attribute's numElements values of point 0, beside each other
  std::size_t stride = 0;            ///< bytes from one point to the next
};

/// Points by columns; views them.
struct PointBatch {
  std::span<const double> positions;            ///< x, y, z a point, world coordinates
  std::span<const AttributeValues> attributes;  ///< one for each of the layout's, in that order

  [[nodiscard]] std::size_t size() const { return positions.size() / 3; }
};

/// Turns points into the bytes of a file: head, points, tail. Pure; whoever uses it writes the bytes. Not to
/// be used by two threads at once.
class PointWriter {
 public:
  PointWriter() = default;
  virtual ~PointWriter() = default;
  PointWriter(const PointWriter&) = delete;
  PointWriter& operator=(const PointWriter&) = delete;

  /// What stands before the points: always as many bytes, which speak of the points encoded so far, so that
  /// those written first are written over at the end.
  [[nodiscard]] virtual std::vector<std::byte> head() const = 0;

  /// Takes further points, at least one.
  /// @return bytes of points, which may be kept back; valid until the next call.
  /// @throws std::range_error naming point and axis for a coordinate that the format cannot hold; none of the
  ///         batch's points then counts.
  [[nodiscard]] virtual std::span<const std::byte> encode(const PointBatch& batch) = 0;

  /// Ends the points.
  /// @return the bytes of those kept back, and what stands behind the points. Called once, after all points
  /// and
  ///         before the last head().
  [[nodiscard]] virtual std::vector<std::byte> tail() { return {}; }
};

/// Copies @p size bytes of each of @p count points to records that are @p outStride apart.
void copyValues(const AttributeValues& values, std::size_t size, std::size_t count, std::byte* out,
                std::size_t outStride);

}  // namespace Formats
