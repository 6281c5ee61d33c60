#include "math/Polygon.h"

#include <cmath>

namespace Math {

template <class T>
Polygon<T>::Polygon(std::span<const T> interleaved) {
  ring_.reserve(interleaved.size() / 2 + 1);
  for (std::size_t i = 0; i + 1 < interleaved.size(); i += 2) {
    ring_.push_back({{interleaved[i], interleaved[i + 1]}});
    bounds_.expand(ring_.back());
  }
  ring_.push_back(ring_.empty() ? Point<T, 2>{} : ring_.front());
}

template <class T>
T Polygon<T>::perimeter() const {
  T sum = 0;
  for (std::size_t k = 0; k + 1 < ring_.size(); ++k) {
    const Point<T, 2> edge = ring_[k + 1] - ring_[k];
    sum += std::sqrt(dot(edge, edge));
  }
  return sum;
}

template <class T>
T Polygon<T>::area() const {
  if (ring_.size() < 3) return 0;
  // Relative to the bounding rectangle's corner, so that large coordinates keep their precision.
  T sum = 0;
  for (std::size_t k = 0; k + 1 < ring_.size(); ++k) {
    const Point<T, 2> a = ring_[k] - bounds_.minimum;
    const Point<T, 2> b = ring_[k + 1] - bounds_.minimum;
    sum += a[0] * b[1] - a[1] * b[0];
  }
  return std::abs(sum) * T{0.5};
}

template class Polygon<float>;

}  // namespace Math
