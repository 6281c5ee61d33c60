#pragma once

#include <memory>
#include <string>

#include "Sorvik/Export.h"
#include "Sorvik/Span.h"

namespace Sorvik {

/// A part of space that says of points whether they lie in it: the inside of a shape, what a shape drawn on
/// an image covers, or a combination of such regions. What is made of a region by a constructor, by
/// UnionClippingRegion::addRegion or by a copy shares its model: a change through one is seen by all.
/// The classes that derive from this one add constructors alone, so that any region fits into a
/// ClippingRegion, in a std::vector of them, too.
///
/// Coordinates are single precision; those of a region for a cloud are in its octree frame.
///
/// No region contains itself, and none is nested deeper than 1,000 regions.
///
/// A moved-from object may only be destroyed or assigned to. Threads: const calls are safe together, also on
/// objects that share a model, and so is making regions of them; a call that changes a model excludes all
/// others on it and on regions that contain it.
class SORVIK_API ClippingRegion {
 public:
  /// Without a model: every point is inside.
  ClippingRegion();
  /// Shares the model.
  ClippingRegion(const ClippingRegion& other);
  ClippingRegion(ClippingRegion&& other) noexcept;
  /// Shares the other's model from now on; what shared the model before is as it was.
  ClippingRegion& operator=(const ClippingRegion& other);
  ClippingRegion& operator=(ClippingRegion&& other) noexcept;
  virtual ~ClippingRegion();

  /// Whether @p point, x, y and z, lies in the region, boundaries included.
  /// @throws std::invalid_argument "Error: point.size() != 3".
  [[nodiscard]] bool inside(Span<const float> point) const;

  /// What the region is: "Sphere", "BoundingBox", "HalfSpace", "Cylinder", "CylinderFinite", "Circle",
  /// "BoundingRectangle", "Polygon", "ImageSegmentation", "UnionRegion", "IntersectionRegion",
  /// "InvertedRegion" or "TransformedRegion". Empty without a model.
  [[nodiscard]] std::string typeName() const;

  /// The region as compact JSON, from which fromJsonString() makes an equal one; docs/regions.md describes
  /// it. "null" without a model. A NaN is written as null, which cannot be read back.
  [[nodiscard]] std::string toJsonString() const;

  /// Replaces this object's model by the region that @p text describes, of whatever type. What shared the
  /// model before is as it was.
  /// @return false, with nothing changed, for whatever is no region: also for more than 8 MiB, for regions
  ///         nested deeper than 1,000 and for objects that name a member twice. Never throws.
  bool fromJsonString(const std::string& text);

  /// The region that @p text describes, as fromJsonString() takes it, in another frame: with coordinates less
  /// @p origin, taken in double precision before they become floats.
  /// @param origin  x, y, z of the wanted frame's origin in the frame of the text; empty: the same frame.
  /// @throws std::runtime_error that says what is wrong with the text.
  /// @throws std::invalid_argument "Error: origin.size() != 3".
  [[nodiscard]] static ClippingRegion parse(const std::string& text, Span<const double> origin = {});

 protected:
  struct Impl;
  SORVIK_LOCAL explicit ClippingRegion(std::unique_ptr<Impl> impl);

 private:
  friend struct EngineAccess;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Sorvik
