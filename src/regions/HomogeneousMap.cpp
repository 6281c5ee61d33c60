#include "regions/HomogeneousMap.h"

#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <limits>

namespace Math {
namespace {

using Box = NBoundingBox<float, 3>;

bool isFinite(const Box& box) {
  for (int i = 0; i < 3; ++i) {
    if (!std::isfinite(box.minimum[i]) || !std::isfinite(box.maximum[i])) return false;
  }
  return true;
}

bool isAffine(const Matrix4<float>& m) { return m[3] == 0 && m[7] == 0 && m[11] == 0 && m[15] == 1; }

/// Eight products and sums of single precision lose less than this share of the magnitudes that are added.
constexpr double kRelativeError = 0x1p-20;
/// What underflow may lose beside it.
constexpr double kSmallestError = 0x1p-120;
/// Numbers up to here cannot overflow on the way.
constexpr double kLargestMagnitude = 0x1p120;

/// One row of the matrix over a box, in double: its values at the corners and how far single precision may be
/// from them.
struct RowOverBox {
  std::array<double, 8> atCorner{};
  double error = 0;

  RowOverBox(const Matrix4<float>& m, std::size_t row, const Box& box) {
    double magnitude = std::abs(static_cast<double>(m[row + 12]));
    for (int axis = 0; axis < 3; ++axis) {
      const auto element = static_cast<double>(m[row + 4 * static_cast<std::size_t>(axis)]);
      const auto low = static_cast<double>(box.minimum[axis]);
      const auto high = static_cast<double>(box.maximum[axis]);
      magnitude += std::abs(element) * std::max(std::abs(low), std::abs(high));
      for (std::size_t corner = 0; corner < 8; ++corner) {
        atCorner[corner] += element * ((corner >> static_cast<unsigned>(axis) & 1U) != 0 ? high : low);
      }
    }
    for (double& value : atCorner) value += static_cast<double>(m[row + 12]);
    error = magnitude <= kLargestMagnitude ? kRelativeError * magnitude + kSmallestError
                                           : std::numeric_limits<double>::infinity();
  }
};

/// The float below (direction -1) or above (1) a number, whatever its rounding to float.
float outward(double value, float direction) {
  return std::nextafter(static_cast<float>(value), direction * std::numeric_limits<float>::infinity());
}

}  // namespace

HomogeneousMap::HomogeneousMap(const Matrix4<float>& matrix) : matrix_(matrix) {
  kind_ = matrix == kIdentity4 ? Kind::Identity : isAffine(matrix) ? Kind::Affine : Kind::Projective;
}

std::optional<Box> HomogeneousMap::bounds(const Box& box) const {
  switch (kind_) {
    case Kind::Identity:
      return box;
    case Kind::Affine:
      return affineBounds(box);
    case Kind::Projective:
      break;
  }
  return projectiveBounds(box);
}

/// Every step of a row is monotone in each coordinate, so the corners give the exact ends. Where they are
/// finite nothing overflows between them.
std::optional<Box> HomogeneousMap::affineBounds(const Box& box) const {
  Box result;
  for (int axis = 0; axis < 3; ++axis) {
    Point<float, 3> toLow;
    Point<float, 3> toHigh;
    for (int i = 0; i < 3; ++i) {
      const bool rising = matrix_[static_cast<std::size_t>(axis + 4 * i)] >= 0.0F;
      toLow[i] = rising ? box.minimum[i] : box.maximum[i];
      toHigh[i] = rising ? box.maximum[i] : box.minimum[i];
    }
    result.minimum[axis] = row(static_cast<std::size_t>(axis), toLow);
    result.maximum[axis] = row(static_cast<std::size_t>(axis), toHigh);
  }
  if (!isFinite(result)) return std::nullopt;
  return result;
}

/// Where w keeps its sign, the quotients of a box lie between those of its corners.
std::optional<Box> HomogeneousMap::projectiveBounds(const Box& box) const {
  const RowOverBox w(matrix_, 3, box);
  const auto [least, most] = std::minmax_element(w.atCorner.begin(), w.atCorner.end());
  const double nearestToZero = *least > 0 ? *least - w.error : -*most - w.error;
  if (!(nearestToZero > 0)) return std::nullopt;
  Box result;
  for (int axis = 0; axis < 3; ++axis) {
    const RowOverBox numerator(matrix_, static_cast<std::size_t>(axis), box);
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (std::size_t corner = 0; corner < 8; ++corner) {
      const double quotient = numerator.atCorner[corner] / w.atCorner[corner];
      low = std::min(low, quotient);
      high = std::max(high, quotient);
    }
    const double largest = std::max(std::abs(low), std::abs(high));
    const double inNumbers = (numerator.error + largest * w.error) / nearestToZero;
    const double error = inNumbers + kRelativeError * (largest + inNumbers) + kSmallestError;
    if (!(largest + error <= kLargestMagnitude)) return std::nullopt;
    result.minimum[axis] = outward(low - error, -1);
    result.maximum[axis] = outward(high + error, 1);
  }
  return result;
}

std::optional<Matrix4<float>> inverse(const Matrix4<float>& matrix) {
  if (matrix == kIdentity4) return matrix;
  using Matrix = Eigen::Matrix4d;
  const Matrix inverted = Eigen::Map<const Eigen::Matrix4f>(matrix.data()).cast<double>().inverse();
  Matrix4<float> result;
  Eigen::Map<Eigen::Matrix4f>(result.data()) = inverted.cast<float>();
  for (const float element : result) {
    if (!std::isfinite(element)) return std::nullopt;
  }
  if (isAffine(matrix)) {
    result[3] = result[7] = result[11] = 0;
    result[15] = 1;
  }
  return result;
}

Matrix4<float> product(const Matrix4<float>& a, const Matrix4<float>& b) {
  Matrix4<float> result;
  for (std::size_t column = 0; column < 4; ++column) {
    for (std::size_t row = 0; row < 4; ++row) {
      double sum = 0;
      for (std::size_t i = 0; i < 4; ++i) {
        sum += static_cast<double>(a[4 * i + row]) * static_cast<double>(b[4 * column + i]);
      }
      result[4 * column + row] = static_cast<float>(sum);
    }
  }
  return result;
}

}  // namespace Math
