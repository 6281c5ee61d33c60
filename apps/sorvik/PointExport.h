#pragma once

#include <string>
#include <vector>

#include "Sorvik/PointChunk.h"
#include "Sorvik/PointFileWriter.h"
#include "sorvik/Output.h"
#include "sorvik/PointLayout.h"

namespace Program {

/// Writes the points of chunks, in the frame that the layout's origin says: to LAS and LAZ files every
/// attribute as it is stored, to others the columns that every chunk has (intensity, rgb, classification,
/// normals) and the layout's further attributes. Coordinates are exact where chunks bring the attribute
/// "position".
class PointExport {
 public:
  /// To a file of a format that PointFileWriter knows. Throws what that does.
  /// @param lasVersion  of a LAS or LAZ file.
  PointExport(const std::string& path, const PointLayout& layout, Sorvik::LasVersion lasVersion);
  /// As CSV text.
  /// @param output  must outlive this object.
  PointExport(Output& output, const PointLayout& layout);

  /// Throws what PointFileWriter::write() and Output::write() throw.
  void add(const Sorvik::PointChunk& chunk);

  /// As PointFileWriter::unfinishedFile().
  [[nodiscard]] std::string unfinishedFile() const { return writer_.unfinishedFile(); }

  /// Puts the file in place. One that was not closed is removed.
  void close() { writer_.close(); }

 private:
  /// An attribute that is written: as it is stored, or from one of the columns that every chunk has.
  struct Exported {
    Sorvik::PointFileAttribute attribute;
    bool asStored = false;
  };

  [[nodiscard]] static std::vector<Exported> storedAttributes(const PointLayout& layout);
  [[nodiscard]] static std::vector<Exported> shownAttributes(const PointLayout& layout);
  [[nodiscard]] static Sorvik::PointFileLayout fileLayout(const PointLayout& layout,
                                                          const std::vector<Exported>& exported,
                                                          Sorvik::LasVersion lasVersion);
  void fillPositions(const Sorvik::PointChunk& chunk);

  std::array<double, 3> origin_;  // of the octree frame
  std::array<double, 3> scale_;
  std::vector<Exported> exported_;
  Sorvik::PointFileWriter writer_;
  std::vector<double> positions_;  // of one chunk
};

}  // namespace Program
