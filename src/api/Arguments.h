#pragma once

#include <array>
#include <cstddef>
#include <stdexcept>

#include "Sorvik/Span.h"
#include "math/Point.h"

namespace Sorvik {

/// Refuses a call whose arguments are wrong. Called for each condition in the order of the arguments, before
/// anything is changed.
/// @throws std::invalid_argument with @p message when @p holds is false.
inline void checkArgument(bool holds, const char* message) {
  if (!holds) throw std::invalid_argument(message);
}

/// The first N elements of @p values. Its length is not looked at: what is fixed by the operation is the
/// caller's promise where the interface documents no check.
template <int N>
[[nodiscard]] ::Math::Point<float, N> toPoint(Span<const float> values) {
  ::Math::Point<float, N> point;
  for (int i = 0; i < N; ++i) point[i] = values.data()[i];
  return point;
}

/// The N elements of @p values.
/// @throws std::invalid_argument with @p message when they are more or fewer.
template <int N>
[[nodiscard]] ::Math::Point<float, N> checkedPoint(Span<const float> values, const char* message) {
  checkArgument(values.size() == N, message);
  return toPoint<N>(values);
}

/// As toPoint(), for matrices and quaternions.
template <std::size_t N>
[[nodiscard]] std::array<float, N> toArray(Span<const float> values) {
  std::array<float, N> elements;
  for (std::size_t i = 0; i < N; ++i) elements[i] = values.data()[i];
  return elements;
}

/// Writes N elements to the start of @p out. Its length is not looked at either.
template <int N>
void write(const ::Math::Point<float, N>& point, Span<float> out) {
  for (int i = 0; i < N; ++i) out.data()[i] = point[i];
}

/// Writes N elements to @p out.
/// @throws std::invalid_argument with @p message when it holds more or fewer, with nothing written.
template <int N>
void writeChecked(const ::Math::Point<float, N>& point, Span<float> out, const char* message) {
  checkArgument(out.size() == N, message);
  write(point, out);
}

/// As write() of a point, for matrices and quaternions.
template <std::size_t N>
void write(const std::array<float, N>& elements, Span<float> out) {
  for (std::size_t i = 0; i < N; ++i) out.data()[i] = elements[i];
}

}  // namespace Sorvik
