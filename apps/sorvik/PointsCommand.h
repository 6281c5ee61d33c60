#pragma once

#include <optional>
#include <string>

#include "Sorvik/PointFileWriter.h"
#include "sorvik/ExitStatus.h"
#include "sorvik/Output.h"
#include "sorvik/PointAttributes.h"
#include "sorvik/PointLayout.h"
#include "sorvik/ShapeArguments.h"

namespace Program {

/// What `sorvik points` was asked for.
struct PointsOptions {
  std::string location;                ///< as given
  std::optional<ShapeArgument> shape;  ///< in `frame`; none: all points
  std::optional<std::string> region;   ///< a file, instead of a shape
  Frame regionFrame = Frame::Octree;   ///< of the region's file
  float minSpacing = 0;                ///< in cloud units
  AttributeNames attributes;           ///< what is written beside the positions
  std::optional<std::string> file;     ///< of a format that point files have; none: standard output
  Sorvik::LasVersion lasVersion = Sorvik::LasVersion::V14;  ///< of the file
  Frame frame = Frame::World;  ///< of the shape, of what is printed and of what is written
  bool count = false;          ///< print how many points there are
  bool json = false;           ///< print a summary of the points; goes before `count`
  bool skipUnreadable = false;
};

/// Writes the points, or counts them. Without a file, `count` and `json` they go to the results as CSV.
/// Failed when a part of the cloud could not be read, unless `skipUnreadable`; a file is then not written.
/// Throws what opening the cloud and writing throw, and CallError for the location.
ExitStatus runPoints(const PointsOptions& options, const Streams& streams);

}  // namespace Program
