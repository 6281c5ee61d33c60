#pragma once

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

#include "core/TypeFactory.h"
#include "math/Point.h"
#include "regions/ClippingRegion.h"

namespace Math {

/// The origin of the frame that a region is wanted in, in the frame of its document.
using RegionOrigin = Point<double, 3>;
using RegionTypes = Core::TypeFactory<ClippingRegion<float>, RegionOrigin>;

/// All types of regions: made on first use, never changed.
[[nodiscard]] const RegionTypes& regionTypes();

/// The document of a region, by the writer of its type.
[[nodiscard]] nlohmann::json writeRegion(const ClippingRegion<float>& region);

/// The region of a document, by the reader of its type. Its coordinates are those of the document less
/// @p origin, taken in double precision before they become floats.
/// @throws std::invalid_argument "Unknown typeName"; std::runtime_error "Invalid region type"; the JSON
///         library's exceptions for members that are missing or of the wrong kind; std::invalid_argument and
///         std::runtime_error for what cannot be meant, such as a list of the wrong length.
[[nodiscard]] std::unique_ptr<ClippingRegion<float>> readRegion(const nlohmann::json& document,
                                                                const RegionOrigin& origin = {});

/// Compact JSON; "null" without a region.
[[nodiscard]] std::string regionText(const ClippingRegion<float>* region);

/// The most bytes of a region's text.
inline constexpr std::size_t kMostRegionBytes = 8U << 20U;

/// readRegion() of a text of at most kMostRegionBytes, whose regions are nested no deeper than
/// CompositeRegion::kMostNested and whose objects name no member twice: else std::runtime_error.
[[nodiscard]] std::unique_ptr<ClippingRegion<float>> parseRegion(std::string_view text,
                                                                 const RegionOrigin& origin = {});

}  // namespace Math
