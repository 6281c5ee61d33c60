#pragma once

#include <cstdint>

namespace Math {

/// The rectangle of an image, in pixels, that a view-projection maps into, and the depths of near and far.
struct Viewport {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::uint64_t width = 640;
  std::uint64_t height = 480;
  float minimumDepth = 0.0F;
  float maximumDepth = 1.0F;

  bool operator==(const Viewport&) const = default;
};

}  // namespace Math
