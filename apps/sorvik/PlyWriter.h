#pragma once

#include <cstdint>
#include <string>

#include "sorvik/OutputFile.h"
#include "sorvik/PointLayout.h"
#include "sorvik/PointSink.h"

namespace Program {

/// Points as a binary little-endian PLY file: double x, y, z, then those of uchar red, green, blue, ushort
/// intensity, uchar classification, float nx, ny, nz that the cloud stores.
///
/// The header comes first and says how many points follow, which is known last: finish() writes it again.
class PlyWriter final : public PointSink {
 public:
  /// @param file  empty so far; must outlive this object.
  PlyWriter(const PointLayout& layout, OutputFile& file);

  void add(const Sorvik::PointChunk& chunk) override;
  void finish() override;

 private:
  PointLayout layout_;
  OutputFile* file_;
  std::uint64_t numPoints_ = 0;
  std::string buffer_;  // the records of one chunk
};

}  // namespace Program
