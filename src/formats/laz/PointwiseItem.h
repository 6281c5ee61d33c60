#pragma once

#include <cstddef>
#include <memory>

#include "formats/laz/LazVlr.h"
#include "formats/laz/RangeDecoder.h"

namespace Formats::Laz {

/// Decodes one item of the points of a point-wise compressed stream, point after point.
class PointwiseItem {
 public:
  virtual ~PointwiseItem() = default;

  /// Begins anew behind a first point, which is stored as it is.
  /// @param first  the item's bytes of that point.
  virtual void start(const std::byte* first) = 0;

  /// Writes the item of the next point.
  /// @param[out] out  as many bytes as the item has.
  virtual void decode(RangeDecoder& decoder, std::byte* out) = 0;
};

/// @param item  of a type and version that belongs to point-wise compression.
[[nodiscard]] std::unique_ptr<PointwiseItem> makePointwiseItem(const Item& item);

/// The same for POINT10 alone, of version 1 or 2.
[[nodiscard]] std::unique_ptr<PointwiseItem> makePoint10(std::uint16_t version);

}  // namespace Formats::Laz
