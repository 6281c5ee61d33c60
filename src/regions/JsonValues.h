#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <vector>

#include "math/Point.h"
#include "regions/HomogeneousMap.h"

/// Numbers, points and matrices in JSON documents. Readers throw the JSON library's type errors, and
/// std::runtime_error for lists of the wrong length and numbers out of range.
namespace Math::Json {

/// The shortest number that is read back as the same float. Infinite values become ±1e300, which is read back
/// as infinite; NaN becomes null, which is no number.
[[nodiscard]] nlohmann::json fromFloat(float value);
template <int N>
[[nodiscard]] nlohmann::json fromPoint(const Point<float, N>& point);
/// Four rows of four numbers.
[[nodiscard]] nlohmann::json fromMatrix(const Matrix4<float>& matrix);

/// @p value as float; beyond the range of floats infinite.
[[nodiscard]] float narrow(double value);
template <int N>
[[nodiscard]] Point<float, N> narrow(const Point<double, N>& point);
[[nodiscard]] Matrix4<float> narrow(const Matrix4<double>& matrix);

[[nodiscard]] float toFloat(const nlohmann::json& value);
template <int N>
[[nodiscard]] Point<double, N> toPoint(const nlohmann::json& value);
[[nodiscard]] Matrix4<double> toMatrix(const nlohmann::json& value);
/// Numbers with a fraction lose it.
[[nodiscard]] std::uint64_t toUnsigned(const nlohmann::json& value);
[[nodiscard]] std::int32_t toInt32(const nlohmann::json& value);

/// @p value itself.
[[nodiscard]] const nlohmann::json& checkArray(const nlohmann::json& value);
[[nodiscard]] std::vector<double> toNumbers(const nlohmann::json& value, std::size_t count);

}  // namespace Math::Json
