#pragma once

#include <cstdint>
#include <memory>

#include "Sorvik/Export.h"
#include "Sorvik/Span.h"

namespace Sorvik {

/// A polygon in the plane, which may cross itself: inside is what a ray leaves after an odd number of edges.
///
/// The vertices are kept as a closed ring: n of them make n + 1 ring points, the last a copy of the first. A
/// polygon without vertices contains nothing, and neither does one of a single vertex.
///
/// A value with its own storage: copies are deep. A moved-from object may only be destroyed or assigned to.
/// Threads: const calls are safe together.
class SORVIK_API Polygon final {
 public:
  /// No vertices and no ring.
  Polygon();
  /// @param vertexPositions x, y of each vertex in turn, in either direction of rotation. Of an empty span
  /// comes
  ///        a polygon without vertices whose ring is the one point (0, 0).
  /// @throws std::invalid_argument "Error: vertexPositions.size() % 2 != 0".
  explicit Polygon(Span<const float> vertexPositions);
  Polygon(const Polygon& other);
  Polygon(Polygon&& other) noexcept;
  Polygon& operator=(const Polygon& other);
  Polygon& operator=(Polygon&& other) noexcept;
  ~Polygon();

  /// Whether @p p lies inside by the even-odd rule. Half-open: points on left and lower edges are inside,
  /// points on right and upper edges are not, so of two polygons that share an edge one contains a point on
  /// it.
  /// @param p two elements are read, whatever its length.
  [[nodiscard]] bool inside(Span<const float> p) const;

  /// As many as vertices: the last edge leads back to the first vertex.
  [[nodiscard]] std::uint64_t numEdges() const;
  /// The closing copy not counted.
  [[nodiscard]] std::uint64_t numVertices() const;

  /// The length of all edges, the closing one included.
  [[nodiscard]] float perimeter() const;
  /// Never negative, whatever the direction of rotation. Of a polygon that crosses itself, the magnitude of
  /// the difference between what it encloses in the two directions.
  [[nodiscard]] float area() const;

  /// Two elements of this object's storage, valid until it is assigned to or destroyed.
  /// @param index of a ring point, at most numVertices(), where the first vertex stands again; not checked.
  [[nodiscard]] Span<const float> vertex(std::uint64_t index) const;

 private:
  friend struct EngineAccess;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Sorvik
