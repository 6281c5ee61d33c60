#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <ranges>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "Sorvik/AttributeType.h"
#include "Sorvik/Export.h"
#include "Sorvik/Span.h"

namespace Sorvik {

/// What the points of a file hold beside their position.
struct PointFileAttribute {
  std::string name;  ///< UTF-8
  AttributeType type = AttributeType::UInt8;
  unsigned numElements = 1;      ///< values a point
  std::string description = {};  ///< LAS alone has a place for it
  /// value = stored * scale + offset: one number an element, or empty where stored values are the values.
  /// LAS keeps all three numbers, the other formats get the value.
  std::vector<double> scale = {};
  std::vector<double> offset = {};
};

/// The version of LAS and LAZ files that are written.
enum class LasVersion {
  V14,  ///< LAS 1.4, point formats 6 to 8; LAZ in layered chunks
  V12   ///< LAS 1.2, point formats 0 to 3, for programs that read no newer one; LAZ in chunks of whole points
};

/// What a point file is to hold.
///
/// LAZ files are LAS files with compressed points: what is said of LAS holds for both. These attributes, of
/// these names and types, go to the places that LAS has for them; all others become extra bytes: "intensity",
/// "point source id", "nir" (UInt16), "return number", "number of returns", "classification", "user data"
/// (UInt8), "classification flags" (UInt8: 1 synthetic, 2 key point, 4 withheld, 8 overlap), "scan flags"
/// (UInt8: bits 0 and 1 scanner channel, 2 scan direction, 3 edge of flight line), "scan angle" (Int16, steps
/// of 0.006 degrees) or "scan angle rank" (Int8, degrees), "gps-time" (Double), "rgb" (three UInt16, or three
/// UInt8, which are widened to the whole range).
///
/// LAS 1.2 holds less, and what it does not hold is refused where a point has it: return numbers and numbers
/// of returns above 7 (its header counts the first five returns), classes above 31, the flag of overlap,
/// scanner channels other than 0, more than 2^32 - 1 points. "nir" and "scan angle" become extra bytes there,
/// and the angle in whole degrees, halves away from zero, goes to the place of the rank unless "scan angle
/// rank" is an attribute as well. It describes coordinate systems by GeoTIFF keys, which are not written: the
/// WKT is stored in the record that LAS 1.4 has for it, where not all programs look for it in a file of 1.2.
///
/// CSV files begin with a line of names: x,y,z, then the attributes in their order; "rgb" is r,g,b, "NormalX"
/// to "NormalZ" are nx,ny,nz, an attribute of several elements is NAME[0],NAME[1],... PLY files are binary
/// and little-endian: double x, y, z, red, green, blue, then the other attributes in their order and types;
/// integers of 64 bits, which PLY lacks, as doubles.
struct PointFileLayout {
  /// The step between coordinates, above 0. LAS rounds to whole steps, halves away from zero; CSV has as many
  /// decimals as the step.
  std::array<double, 3> scale{0.001, 0.001, 0.001};
  /// World coordinates of LAS's stored integers 0, from which points are less than 2^31 steps away.
  std::array<double, 3> offset{};
  std::vector<PointFileAttribute> attributes;  ///< of distinct names
  std::string projection;                      ///< the coordinate system as WKT, or empty; LAS only
  /// Whether "gps-time" is adjusted standard GPS time (seconds since 1980-01-06 less 10^9), otherwise seconds
  /// of the GPS week; LAS says so.
  bool adjustedStandardTime = true;
  LasVersion lasVersion = LasVersion::V14;  ///< LAS and LAZ only
};

/// The values of one attribute of many points: a view that neither owns nor copies them.
class PointFileColumn {
 public:
  /// @param values  a std::vector, std::array, std::span or Span of numbers: the values of point 0 beside
  /// each
  ///                other, then those of point 1, ...
  /// @param stride  how many values there are from one point to the next; 0: as many as the attribute has
  ///                elements.
  template <class Range>
  requires(!std::same_as<std::remove_cvref_t<Range>, PointFileColumn> && std::ranges::contiguous_range<Range>)
      // NOLINTNEXTLINE(*-forwarding-reference-overload): the constraint leaves the class itself out.
      PointFileColumn(Range&& values, std::uint64_t stride = 0)
      : type_(attributeTypeOf<std::ranges::range_value_t<Range>>()),
        data_(std::ranges::data(values)),
        size_(std::ranges::size(values)),
        stride_(stride) {}

  /// The @p size values of @p type from @p data on, which need not be aligned.
  PointFileColumn(AttributeType type, const void* data, std::uint64_t size, std::uint64_t stride = 0)
      : type_(type), data_(data), size_(size), stride_(stride) {}

  [[nodiscard]] AttributeType type() const { return type_; }
  [[nodiscard]] const void* data() const { return data_; }
  [[nodiscard]] std::uint64_t size() const { return size_; }
  [[nodiscard]] std::uint64_t stride() const { return stride_; }

 private:
  AttributeType type_;
  const void* data_;
  std::uint64_t size_;
  std::uint64_t stride_;
};

/// Writes points to a file, batch by batch, in little memory whatever their number. The name's extension says
/// the format: .las, .laz, .ply or .csv, in small or capital letters.
///
/// LAZ files are compressed on all processors, in chunks of 50,000 points, two a processor at once; the bytes
/// do not depend on how many processors there are.
///
/// The file appears under its name with close(): until then it is written beside it, under the name with
/// ".partial" behind, and a file of that name stays as it was. What was not closed is removed.
///
/// Once a call has thrown a std::runtime_error, or close() was called, nothing more can be written. A
/// moved-from object may only be destroyed or assigned to. Not to be used by two threads at once.
class SORVIK_API PointFileWriter {
 public:
  /// @param path  absolute or relative to the working directory; a file there will be replaced.
  /// @throws std::invalid_argument for an extension that is none of the formats, and for a layout that is
  /// none:
  ///         a scale that is not above 0, an offset that is not finite, attributes without a name, of equal
  ///         names, of no elements, of more scales or offsets than elements; for LAS more than 65,535 bytes a
  ///         point; for LAS 1.2 a projection of more than 65,534 bytes, and more than 341 elements in extra
  ///         bytes.
  /// @throws std::runtime_error naming the path when it cannot be written, or is there and no plain file.
  PointFileWriter(const std::wstring& path, const PointFileLayout& layout);

  /// Hands CSV text, whole lines, to @p sink as it comes, instead of writing a file. What @p sink throws
  /// comes out of the call that it was called in; the constructor gives it the line of names.
  /// @throws std::invalid_argument as above.
  PointFileWriter(std::function<void(Span<const char>)> sink, const PointFileLayout& layout);

  PointFileWriter(const PointFileWriter&) = delete;
  PointFileWriter(PointFileWriter&& other) noexcept;
  PointFileWriter& operator=(const PointFileWriter&) = delete;
  PointFileWriter& operator=(PointFileWriter&& other) noexcept;
  ~PointFileWriter();

  /// Whether the extension of @p path is that of a format that can be written.
  [[nodiscard]] static bool canWrite(const std::wstring& path);

  /// Writes points behind those written before.
  /// @param positions  x, y, z of each point, world coordinates.
  /// @param columns    one for each of the layout's attributes, in that order: of its type, with values for
  ///                   every point.
  /// @throws std::invalid_argument for positions and columns that do not match, with nothing written.
  /// @throws std::runtime_error naming the path when writing fails, or a coordinate, or a value in LAS 1.2,
  ///         does not fit the file (std::range_error, which also names the point).
  /// @throws std::logic_error when nothing more can be written.
  void write(Span<const double> positions, Span<const PointFileColumn> columns);

  /// The number of points written so far.
  [[nodiscard]] std::uint64_t numPoints() const;

  /// The path of the file that is written until close(), in UTF-8, for who ends the process without
  /// destroying this object; empty when there is none.
  [[nodiscard]] std::string unfinishedFile() const;

  /// Writes what is still to be written and puts the file in place, on the disk.
  /// @throws std::runtime_error naming the path when that fails.
  /// @throws std::logic_error when nothing more can be written.
  void close();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// A coordinate as CSV files have it: with as many decimals as the step between coordinates has, rounded,
/// with a point whatever the locale; with 17 significant digits where @p scale is no short decimal number.
[[nodiscard]] SORVIK_API std::string coordinateText(double value, double scale);

}  // namespace Sorvik
