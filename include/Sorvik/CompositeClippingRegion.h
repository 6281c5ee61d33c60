#pragma once

#include "Sorvik/ClippingRegion.h"
#include "Sorvik/Export.h"
#include "Sorvik/Span.h"

namespace Sorvik {

/// What does not lie in another region, whose model it shares.
class SORVIK_API InvertedClippingRegion : public ClippingRegion {
 public:
  /// @param region  one without a model counts as everything.
  /// @throws std::invalid_argument "Error: regions are nested deeper than 1000".
  explicit InvertedClippingRegion(const ClippingRegion& region);
};

/// What lies in at least one of its regions, whose models it shares; they are asked in order.
class SORVIK_API UnionClippingRegion : public ClippingRegion {
 public:
  /// Of no regions: nothing is inside.
  UnionClippingRegion();
  explicit UnionClippingRegion(Span<const ClippingRegion> regions);

  /// Appends a region. One without a model counts as everything.
  /// @throws std::invalid_argument with nothing changed: "Error: region contains itself" when @p region is
  ///         this one or contains it; "Error: regions are nested deeper than 1000".
  /// @throws std::logic_error "Error: not a UnionRegion" when a text has made another type of this object.
  void addRegion(const ClippingRegion& region);

  /// Takes all regions out. Throws std::logic_error as addRegion().
  void clear();
};

/// What lies in all its regions, whose models it shares; they are asked in order.
class SORVIK_API IntersectionClippingRegion : public ClippingRegion {
 public:
  /// Of no regions: everything is inside.
  IntersectionClippingRegion();
  explicit IntersectionClippingRegion(Span<const ClippingRegion> regions);

  /// As UnionClippingRegion::addRegion(); the other text is "Error: not an IntersectionRegion".
  void addRegion(const ClippingRegion& region);

  /// Takes all regions out. Throws std::logic_error as addRegion().
  void clear();
};

}  // namespace Sorvik
