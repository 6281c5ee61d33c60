#pragma once

#include <optional>

#include "formats/LasFields.h"
#include "formats/LasHeaderWriter.h"
#include "formats/PointWriter.h"
#include "formats/laz/PointAreaEncoder.h"

namespace Formats {

/// Whether a LAS file's points are compressed, which makes it a LAZ file.
enum class LasCompression { None, Laz };

/// Points as a LAS file, compressed or not: LAS 1.4 of point format 6, 7 with colours, 8 with near infrared;
/// or LAS 1.2 of point format 0, 1 with times, 2 with colours, 3 with both.
///
/// Coordinates are whole steps of the layout's scale from its offset, halves rounded away from zero. These
/// attributes, by name and type, go to the fields of the format; all others, and those of the same names and
/// other types, become extra bytes:
///   "intensity" uint16, "return number" and "number of returns" uint8 (0 to 15: larger ones are written as
///   15), "classification flags" uint8 (1 synthetic, 2 key point, 4 withheld, 8 overlap), "classification"
///   uint8, "scan flags" uint8 (bits 0 and 1 scanner channel, 2 scan direction, 3 edge of flight line), "user
///   data" uint8, "scan angle" int16 (steps of 0.006 degrees) or, without it, "scan angle rank" int8
///   (degrees), "point source id" uint16, "gps-time" double, "rgb" three uint16, or three uint8 that are
///   widened to the whole range, "nir" uint16.
///
/// LAS 1.2 holds returns from 0 to 7, classes from 0 to 31, no overlap and no scanner channel: other values
/// are refused. Its header counts the first five returns. "nir" and "scan angle" become extra bytes; the
/// field for the rank gets "scan angle rank" or, without it, the scan angle in whole degrees. The coordinate
/// system is in the record that 1.4 has for WKT.
class LasWriter final : public PointWriter {
 public:
  /// @throws std::invalid_argument when a point would take more than 65,535 bytes, and for a coordinate
  /// system
  ///         or descriptions of extra bytes that take more in LAS 1.2.
  explicit LasWriter(const PointFileLayout& layout, LasCompression compression = LasCompression::None,
                     LasVersion version = LasVersion::V14);
  ~LasWriter() override;

  [[nodiscard]] std::vector<std::byte> head() const override;
  [[nodiscard]] std::span<const std::byte> encode(const PointBatch& batch) override;
  [[nodiscard]] std::vector<std::byte> tail() override;

 private:
  struct Field;

  /// Gives each attribute its place in the records.
  /// @return those that become extra bytes.
  std::vector<Math::Attribute> addFields(std::span<const Math::Attribute> attributes);
  void beginCompression();
  /// Refuses values that the version does not hold.
  void checkHeld(const PointBatch& batch) const;
  void storeCoordinates(std::span<const double> positions);
  [[noreturn]] void refuseCoordinate(std::span<const double> positions, std::size_t index) const;
  void countReturns(std::size_t numPoints);

  LasHeaderValues header_;
  std::vector<LasRecord> records_;
  std::vector<Field> fields_;
  std::array<std::int32_t, 3> low_;   // of the stored coordinates so far
  std::array<std::int32_t, 3> high_;  // below low_ without points
  std::vector<std::byte> points_;     // the records of one batch
  std::optional<Laz::PointAreaEncoder> compressor_;
  std::uint64_t pointBytes_ = 0;  // given out so far
};

}  // namespace Formats
