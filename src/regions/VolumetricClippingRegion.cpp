#include "regions/VolumetricClippingRegion.h"

#include "math/BoxTests.h"
#include "regions/BatchKernels.h"

namespace Math {
namespace {

constexpr std::string_view nameOf(const HalfSpace<float>& /*shape*/) { return "HalfSpace"; }
constexpr std::string_view nameOf(const NSphere<float, 3>& /*shape*/) { return "Sphere"; }
constexpr std::string_view nameOf(const NBoundingBox<float, 3>& /*shape*/) { return "BoundingBox"; }
constexpr std::string_view nameOf(const Cylinder<float>& /*shape*/) { return "Cylinder"; }
constexpr std::string_view nameOf(const CylinderFinite<float>& /*shape*/) { return "CylinderFinite"; }

}  // namespace

template <class Shape>
std::string_view VolumetricClippingRegion<Shape>::typeName() const {
  return nameOf(shape_);
}

template <class Shape>
void VolumetricClippingRegion<Shape>::setTransformation(const Matrix4<float>& matrix) {
  transformation_ = matrix;
  toShape_.reset();
  if (const std::optional<Matrix4<float>> inverted = inverse(matrix)) toShape_.emplace(*inverted);
}

template <class Shape>
bool VolumetricClippingRegion<Shape>::boxIntersectsImpl(const Box& box) const {
  if (!toShape_) return false;
  const std::optional<Box> moved = toShape_->bounds(box);
  return !moved || overlaps(shape_, *moved);
}

template <class Shape>
bool VolumetricClippingRegion<Shape>::pointInsideImpl(const Point<float, 3>& p) const {
  return toShape_ && shape_.inside(toShape_->apply(p));
}

template <class Shape>
bool VolumetricClippingRegion<Shape>::boxInsideImpl(const Box& box) const {
  if (!toShape_) return false;
  const std::optional<Box> moved = toShape_->bounds(box);
  return moved && contains(shape_, *moved);
}

template <class Shape>
bool VolumetricClippingRegion<Shape>::equals(const ClippingRegion<float>& other) const {
  const auto& region = dynamic_cast<const VolumetricClippingRegion&>(other);
  return shape_ == region.shape_ && transformation_ == region.transformation_;
}

template <class Shape>
void VolumetricClippingRegion<Shape>::pointsInsideImpl(const PointBatch& batch, PointMask& inside) const {
  if (!toShape_) {
    inside = PointMask::filled(false);
  } else if (toShape_->kind() == HomogeneousMap::Kind::Identity) {
    testBatch(&shape_, batch, inside);
  } else {
    PointBatch moved;
    mapBatch(*toShape_, batch, moved);
    testBatch(&shape_, moved, inside);
  }
}

/// Trees know how to search for the shapes themselves, half spaces excepted.
template <class Shape>
void VolumetricClippingRegion<Shape>::searchImpl(const PointKdTree<float, 3>& tree,
                                                 std::vector<std::uint32_t>& indices) const {
  if constexpr (!std::is_same_v<Shape, HalfSpace<float>>) {
    if (toShape_ && toShape_->kind() == HomogeneousMap::Kind::Identity) return tree.search(shape_, indices);
  }
  ClippingRegion<float>::searchImpl(tree, indices);
}

template class VolumetricClippingRegion<HalfSpace<float>>;
template class VolumetricClippingRegion<NSphere<float, 3>>;
template class VolumetricClippingRegion<NBoundingBox<float, 3>>;
template class VolumetricClippingRegion<Cylinder<float>>;
template class VolumetricClippingRegion<CylinderFinite<float>>;

}  // namespace Math
