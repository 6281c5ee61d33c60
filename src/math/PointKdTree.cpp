#include "math/PointKdTree.h"

namespace Math {

PointKdTree<float, 3>::PointKdTree(std::span<const float> positions) { static_cast<void>(positions); }

}  // namespace Math
