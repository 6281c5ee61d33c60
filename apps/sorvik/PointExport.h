#pragma once

#include <string>
#include <vector>

#include "Sorvik/PointChunk.h"
#include "Sorvik/PointFileWriter.h"
#include "sorvik/Output.h"
#include "sorvik/PointLayout.h"

namespace Program {

/// The attributes of the columns that every chunk has, as far as the cloud stores them: intensity, rgb,
/// classification, NormalX, NormalY, NormalZ.
[[nodiscard]] std::vector<Sorvik::PointFileAttribute> standardAttributes(const PointLayout& layout);

/// Writes the points of chunks, in the frame that the layout's origin says, with the given attributes.
class PointExport {
 public:
  /// To a file of a format that PointFileWriter knows. Throws what that does.
  PointExport(const std::string& path, const PointLayout& layout,
              std::vector<Sorvik::PointFileAttribute> attributes);
  /// As CSV text.
  /// @param output  must outlive this object.
  PointExport(Output& output, const PointLayout& layout, std::vector<Sorvik::PointFileAttribute> attributes);

  /// Throws what PointFileWriter::write() and Output::write() throw.
  void add(const Sorvik::PointChunk& chunk);

  /// Puts the file in place. One that was not closed is removed.
  void close() { writer_.close(); }

 private:
  std::array<double, 3> origin_;  // of the octree frame
  std::vector<Sorvik::PointFileAttribute> attributes_;
  Sorvik::PointFileWriter writer_;
  std::vector<double> positions_;  // of one chunk
};

}  // namespace Program
