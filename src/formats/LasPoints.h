#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "formats/LasExtraBytes.h"
#include "formats/LasStandardFields.h"
#include "math/Attribute.h"

namespace Formats {

/// The names of what the standard fields of LAS points are given out as.
inline constexpr std::array<std::string_view, 14> kStandardLasNames{"position",
                                                                    "intensity",
                                                                    "return number",
                                                                    "number of returns",
                                                                    "classification flags",
                                                                    "classification",
                                                                    "scan angle rank",
                                                                    "scan angle",
                                                                    "user data",
                                                                    "point source id",
                                                                    "gps-time",
                                                                    "rgb",
                                                                    "nir",
                                                                    "scan flags"};

/// Decodes the records of one LAS file, of point formats 0 to 10. Immutable. Threads: calls are safe
/// together.
///
/// Attributes, in this order, as far as the format has them: "intensity" uint16, "return number" uint8,
/// "number of returns" uint8, "classification flags" uint8 (1 synthetic, 2 key point, 4 withheld, 8 overlap),
/// "classification" uint8, "scan angle rank" int8 in degrees (formats 0 to 5) or "scan angle" int16 in units
/// of 0.006 degrees, "user data" uint8, "point source id" uint16, "gps-time" double, "rgb" 3 * uint16, "nir"
/// uint16, "scan flags" uint8 (bits 0 and 1 scanner channel, 2 scan direction, 3 edge of flight line), then
/// the extra bytes. Waveform fields are left out.
class LasPointDecoder {
 public:
  /// Marks an attribute that decode() leaves out.
  static constexpr std::size_t kUnwanted = SIZE_MAX;

  /// @param pointFormat   0 to 10.
  /// @param recordLength  bytes of a record, not fewer than lasRecordSize(pointFormat).
  /// @param extraFields   each inside the bytes behind the standard fields.
  /// @throws std::invalid_argument when they do not fit together.
  LasPointDecoder(std::uint8_t pointFormat, std::size_t recordLength,
                  std::span<const LasExtraField> extraFields);

  [[nodiscard]] const std::vector<Math::Attribute>& attributes() const { return attributes_; }
  [[nodiscard]] std::size_t recordLength() const { return recordLength_; }

  /// Writes attribute i of record p to out + p * stride + offsets[i].
  /// @param records  whole records.
  /// @param offsets  one an attribute; kUnwanted leaves it out. Fastest where no standard attribute is left
  /// out.
  void decode(std::span<const std::byte> records, std::byte* out, std::size_t stride,
              std::span<const std::size_t> offsets) const;

  /// Writes the stored X, Y and Z of each record to @p out, which has room for 3 numbers a record.
  /// @param complemented  the axes whose numbers X are given out as ~X (see LasHeader).
  void decodeCoordinates(std::span<const std::byte> records, const std::array<bool, 3>& complemented,
                         std::int32_t* out) const;

 private:
  struct Field;
  /// Takes one field out of @p count records of @p recordLength bytes.
  using Extract = void (*)(const Field& field, const std::byte* records, std::size_t recordLength,
                           std::size_t count, std::byte* out, std::size_t stride);
  /// How an attribute comes out of a record.
  struct Field {
    Extract extract = nullptr;
    std::size_t offset = 0;  ///< in the record
    unsigned shift = 0;      ///< bit fields: value = byte >> shift & mask
    unsigned mask = 0;
    double scale = 1;  ///< normals
    double valueOffset = 0;
  };

  template <std::size_t size>
  static void copyBytes(const Field& field, const std::byte* records, std::size_t recordLength,
                        std::size_t count, std::byte* out, std::size_t stride);
  static void takeBits(const Field& field, const std::byte* records, std::size_t recordLength,
                       std::size_t count, std::byte* out, std::size_t stride);
  template <class Stored>
  static void scaleToDouble(const Field& field, const std::byte* records, std::size_t recordLength,
                            std::size_t count, std::byte* out, std::size_t stride);
  static Extract copierOf(std::size_t size);
  static Extract scalerOf(Math::AttributeType storedType);

  void add(std::string_view name, Math::AttributeType type, std::uint32_t numElements, std::size_t offset);
  void addBits(std::string_view name, std::size_t offset, unsigned shift, unsigned mask);
  void addStandardFields(std::uint8_t pointFormat);

  std::size_t recordLength_;
  std::vector<Math::Attribute> attributes_;
  std::vector<Field> fields_;    // one an attribute
  std::size_t numStandard_ = 0;  // of these, the first
  StandardFieldsDecoder decodeStandard_ = nullptr;
};

}  // namespace Formats
