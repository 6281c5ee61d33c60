#include "regions/RandomRegions.h"

#include <cmath>
#include <vector>

#include "regions/InvertedRegion.h"
#include "regions/ListRegions.h"
#include "regions/TransformedRegion.h"
#include "regions/VolumetricClippingRegion.h"

namespace Testing {
namespace {

using Math::Matrix4;

Matrix4<float> translation(float x, float y, float z) {
  return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1};
}

Matrix4<float> withBlock(const std::array<float, 9>& block) {
  return {block[0], block[1], block[2], 0, block[3], block[4], block[5], 0,
          block[6], block[7], block[8], 0, 0,        0,        0,        1};
}

}  // namespace

Matrix4<float> RandomRegions::transformation() {
  const std::size_t kind = below(10);
  if (kind < 3) return Math::kIdentity4;
  const float reach = terrain_.extent / 2;
  const Matrix4<float> move =
      translation(uniform(-reach, reach), uniform(-reach, reach), uniform(-reach, reach));
  if (kind < 5) return move;
  Matrix4<float> block = withBlock(shapes_.shape<Math::NOrientedBoundingBox<float, 3>>().rotation);
  if (kind == 9) block[3] = block[7] = uniform(-0.02F, 0.02F);
  if (kind == 8 && shapes_.oneIn(4)) block[8] = block[9] = block[10] = 0;
  return Math::product(move, block);
}

Matrix4<float> RandomRegions::viewProjection() {
  if (shapes_.oneIn(10)) {
    Matrix4<float> any{};
    for (float& element : any) element = uniform(-1, 1);
    return any;
  }
  const float far = 3 * terrain_.extent;
  const float near = far / 100;
  const float angle = uniform(-3.1F, 3.1F);
  const Matrix4<float> turn =
      withBlock({std::cos(angle), 0, -std::sin(angle), 0, 1, 0, std::sin(angle), 0, std::cos(angle)});
  const float distance = uniform(0, 1.5F * terrain_.extent);
  const Matrix4<float> back = translation(0, 0, -distance);
  const Matrix4<float> move = translation(-terrain_.origin, -terrain_.origin, -terrain_.origin);
  const Matrix4<float> view = Math::product(back, Math::product(turn, move));
  const float scale = uniform(0.5F, 2);
  Matrix4<float> projection{
      scale, 0, 0, 0, 0, scale, 0, 0, 0, 0, far / (near - far), -1, 0, 0, near * far / (near - far), 0};
  if (shapes_.oneIn(3)) {
    const float size = scale / terrain_.extent;
    projection = {size, 0, 0, 0, 0, size, 0, 0, 0, 0, -1 / far, 0, 0, 0, 0, 1};
  }
  return Math::product(projection, view);
}

Math::RegionViewport RandomRegions::viewport() {
  Math::RegionViewport viewport;
  if (shapes_.oneIn(2)) return viewport;
  viewport.x = static_cast<std::int32_t>(below(200)) - 100;
  viewport.y = static_cast<std::int32_t>(below(200)) - 100;
  viewport.width = below(2000);
  viewport.height = below(2000);
  viewport.maximumDepth = below(3);
  return viewport;
}

std::unique_ptr<Region> RandomRegions::volumetric() {
  const auto make = [this](const auto& shape) {
    using Shape = std::remove_cvref_t<decltype(shape)>;
    return std::make_unique<Math::VolumetricClippingRegion<Shape>>(shape, transformation());
  };
  switch (below(5)) {
    case 0:
      return make(shapes_.shape<Math::NSphere<float, 3>>());
    case 1:
      return make(shapes_.shape<Math::NBoundingBox<float, 3>>());
    case 2:
      return make(shapes_.shape<Math::Cylinder<float>>());
    case 3:
      return make(shapes_.shape<Math::CylinderFinite<float>>());
    default:
      return make(Math::HalfSpace<float>::of(Math::Plane<float>::throughPoint(
          shapes_.shape<Math::Cylinder<float>>().direction, shapes_.point<3>())));
  }
}

Math::Polygon<float> RandomRegions::pixelPolygon(std::size_t numVertices) {
  const float x = uniform(100, 500);
  const float y = uniform(100, 400);
  const float reach = uniform(20, 400);
  std::vector<float> interleaved;
  for (std::size_t i = 0; i < numVertices; ++i) {
    const float angle = 6.2831853F * static_cast<float>(i) / static_cast<float>(numVertices);
    const float radius = reach * uniform(0.3F, 1);
    interleaved.push_back(x + radius * std::cos(angle));
    interleaved.push_back(y + radius * std::sin(angle));
  }
  return Math::Polygon<float>(interleaved);
}

Math::ImageSegmentation RandomRegions::segmentation(std::uint64_t width, std::uint64_t height) {
  std::vector<std::uint64_t> counts;
  std::uint64_t left = width * height;
  while (left > 0 && !shapes_.oneIn(60)) {
    counts.push_back(std::min<std::uint64_t>(left, below(shapes_.oneIn(4) ? 5 * width + 1 : width)));
    left -= counts.back();
  }
  return {width, height, counts};
}

std::unique_ptr<Region> RandomRegions::projected() {
  const auto make = [this](const auto& shape) {
    using Shape = std::remove_cvref_t<decltype(shape)>;
    return std::make_unique<Math::ProjectedClippingRegion<Shape>>(shape, viewport(), viewProjection(),
                                                                  transformation());
  };
  switch (below(4)) {
    case 0:
      return make(Math::NSphere<float, 2>{{{uniform(0, 640), uniform(0, 480)}}, uniform(0, 400)});
    case 1: {
      Math::NBoundingBox<float, 2> box;
      for (int corner = 0; corner < 2; ++corner) box.expand({{uniform(-50, 700), uniform(-50, 500)}});
      return make(box);
    }
    case 2:
      return make(pixelPolygon(3 + below(60)));
    default:
      return make(segmentation(640, 480));
  }
}

std::unique_ptr<Region> RandomRegions::tree(int levels) {
  const std::size_t kind = levels == 0 ? 0 : below(5);
  if (kind == 0) return leaf();
  if (kind == 1) return std::make_unique<Math::InvertedRegion>(tree(levels - 1));
  if (kind == 2) return std::make_unique<Math::TransformedRegion>(tree(levels - 1), transformation());
  std::unique_ptr<Math::ListRegion> list;
  if (kind == 3) {
    list = std::make_unique<Math::UnionRegion>();
  } else {
    list = std::make_unique<Math::IntersectionRegion>();
  }
  for (std::size_t i = below(4); i > 0; --i) list->append(tree(levels - 1));
  return list;
}

}  // namespace Testing
