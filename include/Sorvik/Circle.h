#pragma once

#include <memory>

#include "Sorvik/Export.h"
#include "Sorvik/Span.h"

namespace Sorvik {

/// A disc in the plane, edge included. Only the square of the radius counts for inside(), so a negative
/// radius acts as its magnitude.
///
/// Every operation with a span checks its length before anything is changed or written; the text is the same
/// for all of them, the point of inside() included. A value with its own storage: copies are deep. A
/// moved-from object may only be destroyed or assigned to. Threads: const calls are safe together.
class SORVIK_API Circle final {
 public:
  /// Radius 1 around the origin.
  Circle();
  /// The centre's coordinates and the radius, in the same unit.
  Circle(float x, float y, float radius);
  /// @throws std::invalid_argument "Error: enter.size() != 2".
  Circle(Span<const float> center, float radius);
  Circle(const Circle& other);
  Circle(Circle&& other) noexcept;
  Circle& operator=(const Circle& other);
  Circle& operator=(Circle&& other) noexcept;
  ~Circle();

  /// Moves it; the radius stays.
  /// @throws std::invalid_argument "Error: enter.size() != 2".
  void setCenter(Span<const float> center);
  /// The same from single coordinates.
  void setCenter(float x, float y);
  /// Writes x, y.
  /// @throws std::invalid_argument "Error: enter.size() != 2".
  void getCenter(Span<float> center) const;
  /// Two elements of this object's storage, valid until it is changed or destroyed.
  [[nodiscard]] Span<const float> center() const;

  /// In the unit of the coordinates; stored as given, 0 and negative values too.
  void setRadius(float radius);
  [[nodiscard]] float radius() const;

  /// Centre and radius at once.
  void set(float x, float y, float radius);

  /// Whether @p p lies in the disc or on its edge.
  /// @throws std::invalid_argument "Error: enter.size() != 2".
  [[nodiscard]] bool inside(Span<const float> p) const;

 private:
  friend struct EngineAccess;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Sorvik
