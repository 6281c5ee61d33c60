#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "Sorvik/AttributeColumn.h"
#include "Sorvik/Color.h"
#include "Sorvik/Export.h"
#include "Sorvik/Span.h"

namespace Sorvik {

/// The points of one octree node, or those of them inside a shape, as iterators hand them out. A chunk shares
/// the decoded points with the cloud's cache and with its copies; nothing is copied. It stays valid after its
/// iterator and cloud are gone. Index i is the same point in every column.
///
/// A default-constructed chunk is empty. A moved-from one may only be destroyed or assigned to. No accessor
/// checks an index against size() or the length of a span.
/// Threads: const calls are safe together.
class SORVIK_API PointChunk {
 public:
  PointChunk();
  PointChunk(const PointChunk& other);
  PointChunk(PointChunk&& other) noexcept;
  PointChunk& operator=(const PointChunk& other);
  PointChunk& operator=(PointChunk&& other) noexcept;
  ~PointChunk();

  [[nodiscard]] std::uint64_t size() const;
  [[nodiscard]] bool empty() const;

  /// Writes x, y, z in the octree frame.
  void getPosition(std::uint64_t index, Span<float> position) const;
  /// Writes the three components of the normal.
  void getNormal(std::uint64_t index, Span<float> normal) const;
  void getClassIndex(std::uint64_t index, unsigned char& classIndex) const;
  void getIntensity(std::uint64_t index, unsigned short& intensity) const;
  void getColor(std::uint64_t index, Color& color) const;

  // Whole columns, valid while the chunk or a copy of it lives.

  /// x, y, z of point 0, x, y, z of point 1, ... in the octree frame.
  [[nodiscard]] Span<const float> positions() const;
  /// Three components a point, as for positions().
  [[nodiscard]] Span<const float> normals() const;
  /// Red, green, blue, alpha a point: not the order of Color.
  [[nodiscard]] Span<const unsigned char> colors() const;
  [[nodiscard]] Span<const unsigned short> intensities() const;
  [[nodiscard]] Span<const unsigned char> classIndices() const;

  /// The column of one of the attributes that the cloud was opened for (PointCloudOptions), as stored: "rgb"
  /// and "position" are the stored integers, "intensity" and "classification" those of the columns above.
  /// Points for which an external attribute octree holds no value have zeros. No column when the cloud does
  /// not store the attribute, or when it was not asked for; nor in the chunk of a node that cannot be read.
  [[nodiscard]] AttributeColumn attribute(std::string_view name) const;

 private:
  friend struct EngineAccess;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Sorvik
