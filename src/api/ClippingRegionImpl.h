#pragma once

#include <memory>
#include <utility>

#include "Sorvik/ClippingRegion.h"
#include "api/EngineAccess.h"
#include "regions/ClippingRegion.h"

namespace Sorvik {

/// What every public region holds.
struct ClippingRegion::Impl {
  std::shared_ptr<::Math::ClippingRegion<float>> region;  ///< null: every point is inside
};

}  // namespace Sorvik
