#pragma once

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "Sorvik/Span.h"

namespace Testing {

using Vector2 = std::array<float, 2>;
using Vector3 = std::array<float, 3>;

/// A copy of what @p view shows, for comparisons.
[[nodiscard]] inline std::vector<float> elements(Sorvik::Span<const float> view) {
  return {view.begin(), view.end()};
}

/// What a getter of @p shape writes into a span of N elements. Also expects that it writes nothing behind
/// them.
template <std::size_t N, class Shape>
[[nodiscard]] std::array<float, N> filled(const Shape& shape,
                                          void (Shape::*getter)(Sorvik::Span<float>) const) {
  constexpr float untouched = -12345.0F;
  std::array<float, N + 1> storage;
  storage.fill(untouched);
  (shape.*getter)(Sorvik::Span<float>(storage.data(), N));
  EXPECT_EQ(storage[N], untouched);
  std::array<float, N> result;
  for (std::size_t i = 0; i < N; ++i) result[i] = storage[i];
  return result;
}

}  // namespace Testing
