#include "formats/e57/Scan.h"

#include <algorithm>
#include <cmath>

namespace Formats::E57 {

bool ValueRange::usable() const {
  return std::isfinite(minimum) && std::isfinite(maximum) && maximum > minimum &&
         std::isfinite(maximum - minimum);
}

void ValueRange::expand(const ValueRange& other) {
  minimum = std::min(minimum, other.minimum);
  maximum = std::max(maximum, other.maximum);
}

bool Pose::rotates() const { return rotation != Pose().rotation; }

std::optional<std::array<double, 9>> Pose::rotationOf(const std::array<double, 4>& wxyz) {
  double largest = 0;
  for (const double part : wxyz) largest = std::max(largest, std::abs(part));
  if (largest == 0) return std::nullopt;
  std::array<double, 4> q = wxyz;
  double squares = 0;
  for (double& part : q) {
    part /= largest;  // squares of very large or small parts would leave the range of doubles
    squares += part * part;
  }
  const double length = std::sqrt(squares);
  for (double& part : q) part /= length;
  const auto [w, x, y, z] = q;
  return std::array{
      w * w + x * x - y * y - z * z, 2 * (x * y - w * z),           2 * (x * z + w * y),
      2 * (x * y + w * z),           w * w - x * x + y * y - z * z, 2 * (y * z - w * x),
      2 * (x * z - w * y),           2 * (y * z + w * x),           w * w - x * x - y * y + z * z};
}

Math::Point<double, 3> Pose::toWorld(const Math::Point<double, 3>& local) const {
  Math::Point<double, 3> world;
  for (std::size_t row = 0; row < 3; ++row) {
    const double* const r = rotation.data() + 3 * row;
    world[static_cast<int>(row)] = r[0] * local[0] + r[1] * local[1] + r[2] * local[2] + translation[row];
  }
  return world;
}

std::optional<std::size_t> Scan::find(Role role) const {
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (fields[i].role == role) return i;
  }
  return std::nullopt;
}

bool Scan::hasAll(std::initializer_list<Role> roles) const {
  return std::all_of(roles.begin(), roles.end(), [this](Role role) { return find(role).has_value(); });
}

}  // namespace Formats::E57
