#pragma once

#include <array>

#include "formats/CoordinateFormat.h"
#include "formats/PointWriter.h"

namespace Formats {

/// Points as lines of comma-separated values, behind one line with the columns' names: x, y, z, then the
/// layout's attributes. "rgb" makes the columns r, g, b, normals are nx, ny, nz, other attributes have their
/// own names, in quotation marks where they need them, and NAME[0], NAME[1], ... for several elements.
/// Coordinates have the decimals of the layout's scale, floats as many digits as it takes to read back the
/// same; scaled attributes are written as the values that they stand for.
class CsvWriter final : public PointWriter {
 public:
  explicit CsvWriter(const PointFileLayout& layout);
  ~CsvWriter() override;

  [[nodiscard]] std::vector<std::byte> head() const override;
  [[nodiscard]] std::span<const std::byte> encode(const PointBatch& batch) override;

 private:
  struct Column;

  char* appendPoint(const PointBatch& batch, std::size_t point, char* out) const;

  std::array<CoordinateFormat, 3> formats_;
  std::vector<Column> columns_;
  std::size_t longestLine_;
  std::vector<char> text_;
};

}  // namespace Formats
