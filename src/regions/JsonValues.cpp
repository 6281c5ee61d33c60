#include "regions/JsonValues.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

namespace Math::Json {
namespace {

using nlohmann::json;

/// A number of JSON that no float holds.
constexpr double kInfinite = 1e300;
constexpr double kEndOfUnsigned = 0x1p64;

/// The shortest decimals that are this float among floats, as double.
double shortest(float value) {
  std::array<char, 32> text{};
  const char* const end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
  double decimal = 0;
  std::from_chars(text.data(), end, decimal);
  return static_cast<float>(decimal) == value ? decimal : static_cast<double>(value);
}

/// The number without its fraction.
double wholeNumber(const json& value, double least, double end) {
  const double whole = std::trunc(value.get<double>());
  if (whole >= least && whole < end) return whole;
  throw std::runtime_error("expected a whole number from " + json(least).dump() + " to below " +
                           json(end).dump() + ", found " + value.dump());
}

}  // namespace

json fromFloat(float value) {
  if (std::isinf(value)) return std::copysign(kInfinite, static_cast<double>(value));
  if (std::isnan(value)) return nullptr;
  return shortest(value);
}

template <int N>
json fromPoint(const Point<float, N>& point) {
  json list = json::array();
  for (const float coordinate : point.coordinates) list.push_back(fromFloat(coordinate));
  return list;
}
template json fromPoint(const Point<float, 2>&);
template json fromPoint(const Point<float, 3>&);

json fromMatrix(const Matrix4<float>& matrix) {
  json rows = json::array();
  for (std::size_t row = 0; row < 4; ++row) {
    json elements = json::array();
    for (std::size_t column = 0; column < 4; ++column)
      elements.push_back(fromFloat(matrix[row + 4 * column]));
    rows.push_back(std::move(elements));
  }
  return rows;
}

float narrow(double value) {
  constexpr auto kMost = static_cast<double>(std::numeric_limits<float>::max());
  if (std::abs(value) > kMost) {
    return std::copysign(std::numeric_limits<float>::infinity(), value < 0 ? -1.0F : 1.0F);
  }
  return static_cast<float>(value);
}

template <int N>
Point<float, N> narrow(const Point<double, N>& point) {
  Point<float, N> result;
  for (int i = 0; i < N; ++i) result[i] = narrow(point[i]);
  return result;
}
template Point<float, 2> narrow(const Point<double, 2>&);
template Point<float, 3> narrow(const Point<double, 3>&);

Matrix4<float> narrow(const Matrix4<double>& matrix) {
  Matrix4<float> result;
  for (std::size_t i = 0; i < matrix.size(); ++i) result[i] = narrow(matrix[i]);
  return result;
}

const json& checkArray(const json& value) {
  // Asked for a list, the library refuses other kinds in its own words.
  if (!value.is_array()) static_cast<void>(value.get<std::vector<double>>());
  return value;
}

std::vector<double> toNumbers(const json& value, std::size_t count) {
  auto numbers = value.get<std::vector<double>>();
  if (numbers.size() != count) {
    throw std::runtime_error("expected " + std::to_string(count) + " numbers, found " +
                             std::to_string(numbers.size()));
  }
  return numbers;
}

float toFloat(const json& value) { return narrow(value.get<double>()); }

template <int N>
Point<double, N> toPoint(const json& value) {
  const std::vector<double> numbers = toNumbers(value, static_cast<std::size_t>(N));
  Point<double, N> point;
  for (int i = 0; i < N; ++i) point[i] = numbers[static_cast<std::size_t>(i)];
  return point;
}
template Point<double, 2> toPoint(const json&);
template Point<double, 3> toPoint(const json&);

Matrix4<double> toMatrix(const json& value) {
  if (checkArray(value).size() != 4) {
    throw std::runtime_error("expected 4 rows, found " + std::to_string(value.size()));
  }
  Matrix4<double> matrix;
  for (std::size_t row = 0; row < 4; ++row) {
    const std::vector<double> elements = toNumbers(value[row], 4);
    for (std::size_t column = 0; column < 4; ++column) matrix[row + 4 * column] = elements[column];
  }
  return matrix;
}

std::uint64_t toUnsigned(const json& value) {
  // Doubles do not hold the largest ones.
  if (value.is_number_unsigned()) return value.get<std::uint64_t>();
  return static_cast<std::uint64_t>(wholeNumber(value, 0, kEndOfUnsigned));
}

std::int32_t toInt32(const json& value) {
  return static_cast<std::int32_t>(wholeNumber(value, -0x1p31, 0x1p31));
}

}  // namespace Math::Json
