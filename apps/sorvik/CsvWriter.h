#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "sorvik/CoordinateFormat.h"
#include "sorvik/Output.h"
#include "sorvik/PointLayout.h"
#include "sorvik/PointSink.h"

namespace Program {

/// Points as lines of comma-separated values, behind one line with the columns' names: x, y, z, then those of
/// intensity, r, g, b, classification, nx, ny, nz that the cloud stores. Coordinates have the decimals of the
/// cloud's scale, normals as many digits as it takes to read back the same float.
class CsvWriter final : public PointSink {
 public:
  /// @param output  must outlive this object.
  CsvWriter(const PointLayout& layout, Output& output);

  void add(const Sorvik::PointChunk& chunk) override;
  void finish() override { flush(); }

 private:
  void flush();

  PointLayout layout_;
  std::array<CoordinateFormat, 3> formats_;
  Output* output_;
  std::vector<char> buffer_;
  std::size_t used_ = 0;  // bytes of buffer_ that are to be written
};

}  // namespace Program
