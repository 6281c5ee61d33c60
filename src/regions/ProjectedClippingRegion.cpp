#include "regions/ProjectedClippingRegion.h"

#include <bit>
#include <cmath>
#include <limits>

#include "math/BoxTests.h"

namespace Math {
namespace {

constexpr std::string_view nameOf(const Polygon<float>& /*shape*/) { return "Polygon"; }
constexpr std::string_view nameOf(const NSphere<float, 2>& /*shape*/) { return "Circle"; }
constexpr std::string_view nameOf(const NBoundingBox<float, 2>& /*shape*/) { return "BoundingRectangle"; }
constexpr std::string_view nameOf(const ImageSegmentation& /*shape*/) { return "ImageSegmentation"; }

template <class Shape>
bool same(const Shape& a, const Shape& b) {
  return a == b;
}
bool same(const Polygon<float>& a, const Polygon<float>& b) {
  const auto ringA = a.ring();
  const auto ringB = b.ring();
  return std::equal(ringA.begin(), ringA.end(), ringB.begin(), ringB.end());
}

std::uint64_t wholeDepth(float depth) {
  constexpr float kEnd = 0x1p64F;
  if (!(depth >= 1.0F)) return 0;
  return depth < kEnd ? static_cast<std::uint64_t>(depth) : std::numeric_limits<std::uint64_t>::max();
}

/// Keeps the points of @p inside that @p accepts.
template <class Accepts>
void keep(const PointBatch& batch, PointMask& inside, const Accepts& accepts) {
  for (std::size_t first = 0; first < batch.size; first += PointBatch::kWordBits) {
    std::uint64_t& word = inside.words[first / PointBatch::kWordBits];
    for (std::uint64_t left = word; left != 0; left &= left - 1) {
      const auto bit = static_cast<std::size_t>(std::countr_zero(left));
      const Point<float, 3> p = batch.point(first + bit);
      word ^= std::uint64_t{accepts({{p[0], p[1]}}) ? 0U : 1U} << bit;
    }
  }
}

}  // namespace

RegionViewport RegionViewport::of(const Viewport& viewport) {
  return {viewport.x,
          viewport.y,
          viewport.width,
          viewport.height,
          wholeDepth(viewport.minimumDepth),
          wholeDepth(viewport.maximumDepth)};
}

template <class Shape>
ProjectedClippingRegion<Shape>::ProjectedClippingRegion(Shape shape, const RegionViewport& viewport,
                                                        const Matrix4<float>& viewProjection,
                                                        const Matrix4<float>& transformation)
    : shape_(std::move(shape)), viewport_(viewport), viewProjection_(viewProjection) {
  if constexpr (std::is_same_v<Shape, Polygon<float>>) rows_ = PolygonRows(shape_);
  ProjectedClippingRegion::setTransformation(transformation);
}

template <class Shape>
std::string_view ProjectedClippingRegion<Shape>::typeName() const {
  return nameOf(shape_);
}

template <class Shape>
void ProjectedClippingRegion<Shape>::setTransformation(const Matrix4<float>& matrix) {
  transformation_ = matrix;
  toDevice_.reset();
  if (const std::optional<Matrix4<float>> inverted = inverse(matrix)) {
    toDevice_.emplace(*inverted == kIdentity4 ? viewProjection_ : product(viewProjection_, *inverted));
  }
}

template <class Shape>
PixelScale ProjectedClippingRegion<Shape>::pixelScale() const {
  return {static_cast<float>(viewport_.width), static_cast<float>(viewport_.height),
          static_cast<float>(viewport_.x), static_cast<float>(viewport_.y)};
}

template <class Shape>
bool ProjectedClippingRegion<Shape>::pointInsideImpl(const Point<float, 3>& p) const {
  if (!toDevice_) return false;
  const Point<float, 3> device = toDevice_->apply(p);
  if (static_cast<float>(viewport_.minimumDepth) > device[2] ||
      device[2] > static_cast<float>(viewport_.maximumDepth)) {
    return false;
  }
  const Point<float, 2> pixel = pixelScale().apply(device[0], device[1]);
  return rows_.empty() ? shape_.inside(pixel) : rows_.inside(pixel);
}

/// The pixels of a box of device coordinates; each step from the one to the other is monotone. None when they
/// are no numbers.
template <class Shape>
std::optional<NBoundingBox<float, 3>> ProjectedClippingRegion<Shape>::pixelBounds(const Box& device) const {
  const Point<float, 2> topLeft = pixelScale().apply(device.minimum[0], device.maximum[1]);
  const Point<float, 2> bottomRight = pixelScale().apply(device.maximum[0], device.minimum[1]);
  for (const float value : {topLeft[0], topLeft[1], bottomRight[0], bottomRight[1]}) {
    if (!std::isfinite(value)) return std::nullopt;
  }
  return Box{{{topLeft[0], topLeft[1], 0.0F}}, {{bottomRight[0], bottomRight[1], 0.0F}}};
}

template <class Shape>
bool ProjectedClippingRegion<Shape>::boxIntersectsImpl(const Box& box) const {
  if (!toDevice_) return false;
  const std::optional<Box> device = toDevice_->bounds(box);
  if (!device) return true;
  if (static_cast<float>(viewport_.minimumDepth) > device->maximum[2] ||
      device->minimum[2] > static_cast<float>(viewport_.maximumDepth)) {
    return false;
  }
  const std::optional<Box> pixels = pixelBounds(*device);
  return !pixels || overlaps(shape_, *pixels);
}

template <class Shape>
bool ProjectedClippingRegion<Shape>::boxInsideImpl(const Box& box) const {
  if (!toDevice_) return false;
  const std::optional<Box> device = toDevice_->bounds(box);
  if (!device) return false;
  const bool depthsInside = static_cast<float>(viewport_.minimumDepth) <= device->minimum[2] &&
                            device->maximum[2] <= static_cast<float>(viewport_.maximumDepth);
  if (!depthsInside) return false;
  const std::optional<Box> pixels = pixelBounds(*device);
  return pixels && contains(shape_, *pixels);
}

template <class Shape>
bool ProjectedClippingRegion<Shape>::equals(const ClippingRegion<float>& other) const {
  const auto& region = dynamic_cast<const ProjectedClippingRegion&>(other);
  return same(shape_, region.shape_) && viewport_ == region.viewport_ &&
         viewProjection_ == region.viewProjection_ && transformation_ == region.transformation_;
}

template <class Shape>
void ProjectedClippingRegion<Shape>::pointsInsideImpl(const PointBatch& batch, PointMask& inside) const {
  if (!toDevice_) {
    inside = PointMask::filled(false);
    return;
  }
  PointBatch pixels;
  mapBatch(*toDevice_, batch, pixels);
  testDepths(static_cast<float>(viewport_.minimumDepth), static_cast<float>(viewport_.maximumDepth), pixels,
             inside);
  scaleBatch(pixelScale(), pixels);
  testPixels(pixels, inside);
}

template <class Shape>
void ProjectedClippingRegion<Shape>::testPixels(const PointBatch& pixels, PointMask& inside) const {
  if constexpr (std::is_same_v<Shape, ImageSegmentation>) {
    keep(pixels, inside, [this](const Point<float, 2>& pixel) { return shape_.inside(pixel); });
  } else if (rows_.empty()) {
    PointMask inShape;
    testBatch(&shape_, pixels, inShape);
    inside &= inShape;
  } else {
    keep(pixels, inside, [this](const Point<float, 2>& pixel) { return rows_.inside(pixel); });
  }
}

template class ProjectedClippingRegion<Polygon<float>>;
template class ProjectedClippingRegion<NSphere<float, 2>>;
template class ProjectedClippingRegion<NBoundingBox<float, 2>>;
template class ProjectedClippingRegion<ImageSegmentation>;

}  // namespace Math
