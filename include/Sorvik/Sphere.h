#pragma once

#include <memory>

#include "Sorvik/Export.h"
#include "Sorvik/Span.h"

namespace Sorvik {

/// A ball in space, surface included. Only the square of the radius counts for inside(), so a negative radius
/// acts as its magnitude.
///
/// Every operation with a span checks its length, before anything is changed or written.
/// A value with its own storage: copies are deep. A moved-from object may only be destroyed or assigned to.
/// Threads: const calls are safe together.
class SORVIK_API Sphere final {
 public:
  /// Radius 1 around the origin.
  Sphere();
  /// The centre's coordinates and the radius, in the same unit.
  Sphere(float x, float y, float z, float radius);
  /// @throws std::invalid_argument "Error: center.size() != 3".
  Sphere(Span<const float> center, float radius);
  Sphere(const Sphere& other);
  Sphere(Sphere&& other) noexcept;
  Sphere& operator=(const Sphere& other);
  Sphere& operator=(Sphere&& other) noexcept;
  ~Sphere();

  /// Moves it; the radius stays.
  /// @throws std::invalid_argument "Error: center.size() != 3".
  void setCenter(Span<const float> center);
  /// The same from single coordinates.
  void setCenter(float x, float y, float z);
  /// Writes x, y, z.
  /// @throws std::invalid_argument "Error: center.size() != 3".
  void getCenter(Span<float> center) const;
  /// Three elements of this object's storage, valid until it is changed or destroyed.
  [[nodiscard]] Span<const float> center() const;

  /// In the unit of the coordinates; stored as given, 0 and negative values too.
  void setRadius(float radius);
  [[nodiscard]] float radius() const;

  /// Centre and radius at once.
  void set(float x, float y, float z, float radius);

  /// Whether @p p lies in the ball or on its surface; of radius 0, whether it is the centre.
  /// @throws std::invalid_argument "Error: p.size() != 3".
  [[nodiscard]] bool inside(Span<const float> p) const;

 private:
  friend struct EngineAccess;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Sorvik
