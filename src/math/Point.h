#pragma once

namespace Math {

/// N coordinates: a point or a vector. An aggregate: Point<float, 3>{{x, y, z}}.
template <class T, int N>
struct Point {
  T coordinates[N] = {};

  /// The point whose coordinates all are @p value.
  [[nodiscard]] static constexpr Point filled(T value) {
    Point point;
    for (int i = 0; i < N; ++i) point[i] = value;
    return point;
  }

  constexpr T& operator[](int axis) { return coordinates[axis]; }
  constexpr const T& operator[](int axis) const { return coordinates[axis]; }

  friend constexpr Point operator-(const Point& a, const Point& b) {
    Point difference;
    for (int i = 0; i < N; ++i) difference[i] = a[i] - b[i];
    return difference;
  }

  bool operator==(const Point&) const = default;
};

/// The sum of the coordinates' products, added from the first axis to the last: every inside test relies on
/// this order for equal bits on every processor.
template <class T, int N>
[[nodiscard]] constexpr T dot(const Point<T, N>& a, const Point<T, N>& b) {
  T sum = a[0] * b[0];
  for (int i = 1; i < N; ++i) sum += a[i] * b[i];
  return sum;
}

}  // namespace Math
