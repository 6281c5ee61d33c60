#pragma once

#include <array>

namespace Math {

/// 4×4 matrices, column-major: the element of row r and column c at 4 c + r.
template <class T>
using Matrix4 = std::array<T, 16>;

inline constexpr Matrix4<float> kIdentity4{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

}  // namespace Math
