#include "regions/HalfSpace.h"

namespace Math {
namespace {

/// The value of the inside test at the box's corner farthest along the normal, or against it.
float valueAtCorner(const HalfSpace<float>& shape, const NBoundingBox<float, 3>& box, bool farthest) {
  Point<float, 3> corner;
  for (int i = 0; i < 3; ++i) {
    corner[i] = (shape.normal[i] >= 0.0F) == farthest ? box.maximum[i] : box.minimum[i];
  }
  return dot(shape.normal, corner) + shape.constant;
}

}  // namespace

bool overlaps(const HalfSpace<float>& shape, const NBoundingBox<float, 3>& box) {
  return !(valueAtCorner(shape, box, true) < 0.0F);
}

bool contains(const HalfSpace<float>& shape, const NBoundingBox<float, 3>& box) {
  return valueAtCorner(shape, box, false) >= 0.0F;
}

}  // namespace Math
