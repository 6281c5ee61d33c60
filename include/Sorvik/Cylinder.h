#pragma once

#include <memory>

#include "Sorvik/Export.h"
#include "Sorvik/Span.h"

namespace Sorvik {

/// A cylinder around a line, without ends in both directions, surface included.
///
/// The direction is stored as given, and inside() takes it as a unit vector: callers normalise, or use
/// fromTwoPoints(), which does. With any other length the body is no cylinder of that radius. A zero
/// direction makes it the ball around the origin point. Only the square of the radius counts.
///
/// A value with its own storage: copies are deep. A moved-from object may only be destroyed or assigned to.
/// Threads: const calls are safe together.
class SORVIK_API Cylinder final {
 public:
  /// All seven values 0.
  Cylinder();
  /// Three elements each of @p origin and @p direction are read, whatever their lengths.
  Cylinder(Span<const float> origin, Span<const float> direction, float radius);
  Cylinder(const Cylinder& other);
  Cylinder(Cylinder&& other) noexcept;
  Cylinder& operator=(const Cylinder& other);
  Cylinder& operator=(Cylinder&& other) noexcept;
  ~Cylinder();

  /// The same as the constructor.
  [[nodiscard]] static Cylinder fromPointAndDirection(Span<const float> origin, Span<const float> direction,
                                                      float radius);
  /// The cylinder around the line from @p p1 to @p p2, with p1 as origin and a unit direction; zero when the
  /// two are equal. Three elements each are read, whatever their lengths.
  [[nodiscard]] static Cylinder fromTwoPoints(Span<const float> p1, Span<const float> p2, float radius);

  /// Any point of the axis.
  /// @throws std::invalid_argument "Error: originPoint.size() != 3".
  void setOrigin(Span<const float> originPoint);
  /// @throws std::invalid_argument "Error: originPoint.size() != 3".
  void getOrigin(Span<float> originPoint) const;
  /// Three elements of this object's storage, valid until it is changed or destroyed.
  [[nodiscard]] Span<const float> origin() const;

  /// Stores the direction as it is, without normalising it.
  /// @throws std::invalid_argument "Error: directionVector.size() != 3".
  void setDirection(Span<const float> directionVector);
  /// @throws std::invalid_argument "Error: directionVector.size() != 3".
  void getDirection(Span<float> directionVector) const;
  /// Three elements of this object's storage, valid until it is changed or destroyed.
  [[nodiscard]] Span<const float> direction() const;

  /// In the unit of the coordinates; stored as given, 0 and negative values too.
  void setRadius(float radius);
  [[nodiscard]] float radius() const;

  /// Whether @p p lies in the cylinder or on its surface.
  /// @throws std::invalid_argument "Error: p.size() != 3".
  [[nodiscard]] bool inside(Span<const float> p) const;

 private:
  friend struct EngineAccess;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Sorvik
