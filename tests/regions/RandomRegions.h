#pragma once

#include <memory>
#include <random>

#include "math/RandomShapes.h"
#include "regions/ProjectedClippingRegion.h"

namespace Testing {

using Region = Math::ClippingRegion<float>;

/// Random regions about the terrain's origin; the same for the same seed.
class RandomRegions {
 public:
  RandomRegions(unsigned seed, const Terrain& terrain)
      : shapes_(seed, terrain), random_(seed), terrain_(terrain) {}

  [[nodiscard]] RandomShapes& shapes() { return shapes_; }
  [[nodiscard]] float uniform(float low, float high) { return shapes_.uniform(low, high); }

  /// Identity, moved, turned and scaled, skewed, projective, or without an inverse.
  [[nodiscard]] Math::Matrix4<float> transformation();
  /// Of a camera near the terrain's origin, perspective or parallel; now and then any numbers.
  [[nodiscard]] Math::Matrix4<float> viewProjection();
  [[nodiscard]] Math::RegionViewport viewport();

  [[nodiscard]] std::unique_ptr<Region> volumetric();
  [[nodiscard]] std::unique_ptr<Region> projected();
  [[nodiscard]] std::unique_ptr<Region> leaf() { return shapes_.oneIn(2) ? volumetric() : projected(); }
  /// Composites of leaves and of each other, @p levels deep at most.
  [[nodiscard]] std::unique_ptr<Region> tree(int levels);

  /// In pixels of a default viewport.
  [[nodiscard]] Math::Polygon<float> pixelPolygon(std::size_t numVertices);
  [[nodiscard]] Math::ImageSegmentation segmentation(std::uint64_t width, std::uint64_t height);

 private:
  [[nodiscard]] std::size_t below(std::size_t end) {
    return std::uniform_int_distribution<std::size_t>(0, end - 1)(random_);
  }

  RandomShapes shapes_;
  std::mt19937 random_;
  Terrain terrain_;
};

}  // namespace Testing
