#pragma once

#include <array>
#include <cstddef>

namespace Math {

/// The upper-left N×N block of an M×M matrix; both column-major.
template <std::size_t N, std::size_t M>
[[nodiscard]] constexpr std::array<float, N * N> upperLeftBlock(const std::array<float, M * M>& matrix) {
  static_assert(N <= M);
  std::array<float, N * N> block{};
  for (std::size_t column = 0; column < N; ++column) {
    for (std::size_t row = 0; row < N; ++row) block[N * column + row] = matrix[M * column + row];
  }
  return block;
}

/// The M×M identity whose upper-left N×N block is @p block; both column-major.
template <std::size_t M, std::size_t N>
[[nodiscard]] constexpr std::array<float, M * M> identityWithBlock(const std::array<float, N * N>& block) {
  static_assert(N <= M);
  std::array<float, M * M> matrix{};
  for (std::size_t i = 0; i < M; ++i) matrix[(M + 1) * i] = 1.0F;
  for (std::size_t column = 0; column < N; ++column) {
    for (std::size_t row = 0; row < N; ++row) matrix[M * column + row] = block[N * column + row];
  }
  return matrix;
}

}  // namespace Math
