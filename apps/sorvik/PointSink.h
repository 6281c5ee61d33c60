#pragma once

#include "Sorvik/PointChunk.h"

namespace Program {

/// A form in which points are written.
class PointSink {
 public:
  PointSink() = default;
  virtual ~PointSink() = default;
  PointSink(const PointSink&) = delete;
  PointSink& operator=(const PointSink&) = delete;

  /// Writes all points of the chunk. Throws what Output::write() throws.
  virtual void add(const Sorvik::PointChunk& chunk) = 0;
  /// Writes what is still to be written, after the last chunk.
  virtual void finish() = 0;
};

}  // namespace Program
