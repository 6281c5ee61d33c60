#pragma once

#include <memory>

#include "Sorvik/Export.h"
#include "Sorvik/Span.h"

namespace Sorvik {

/// A cylinder around the segment from start to end, with flat ends, surface included. When start and end are
/// equal it contains nothing. Only the square of the radius counts.
///
/// A value with its own storage: copies are deep. A moved-from object may only be destroyed or assigned to.
/// Threads: const calls are safe together.
class SORVIK_API CylinderFinite final {
 public:
  /// All seven values 0.
  CylinderFinite();
  /// Three elements each of @p start and @p end are read, whatever their lengths.
  CylinderFinite(Span<const float> start, Span<const float> end, float radius);
  CylinderFinite(const CylinderFinite& other);
  CylinderFinite(CylinderFinite&& other) noexcept;
  CylinderFinite& operator=(const CylinderFinite& other);
  CylinderFinite& operator=(CylinderFinite&& other) noexcept;
  ~CylinderFinite();

  /// The same as the constructor.
  [[nodiscard]] static CylinderFinite fromTwoPoints(Span<const float> start, Span<const float> end,
                                                    float radius);

  /// Moves one end; the other stays.
  /// @throws std::invalid_argument "Error: startPoint.size() != 3".
  void setStart(Span<const float> startPoint);
  /// Writes x, y, z.
  /// @throws std::invalid_argument "Error: startPoint.size() != 3".
  void getStart(Span<float> startPoint) const;
  /// Three elements of this object's storage, valid until it is changed or destroyed.
  [[nodiscard]] Span<const float> start() const;

  /// Moves one end; the other stays.
  /// @throws std::invalid_argument "Error: endPoint.size() != 3".
  void setEnd(Span<const float> endPoint);
  /// Writes x, y, z.
  /// @throws std::invalid_argument "Error: endPoint.size() != 3".
  void getEnd(Span<float> endPoint) const;
  /// Three elements of this object's storage, valid until it is changed or destroyed.
  [[nodiscard]] Span<const float> end() const;

  /// In the unit of the coordinates; stored as given, 0 and negative values too.
  void setRadius(float radius);
  [[nodiscard]] float radius() const;

  /// Whether @p p lies in the cylinder, on its wall or on one of its ends.
  /// @throws std::invalid_argument "Error: p.size() != 3".
  [[nodiscard]] bool inside(Span<const float> p) const;

 private:
  friend struct EngineAccess;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Sorvik
