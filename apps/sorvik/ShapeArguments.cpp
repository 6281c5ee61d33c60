#include "sorvik/ShapeArguments.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "sorvik/CallError.h"
#include "sorvik/NumberArguments.h"

namespace Program {
namespace {

constexpr std::array<ShapeOption, 9> kOptions{{
    {ShapeKind::Box, "--box", "MINX,MINY,MINZ,MAXX,MAXY,MAXZ", "Points in a box, faces included", 6},
    {ShapeKind::OrientedBox, "--oriented-box", "CX,CY,CZ,HX,HY,HZ,QX,QY,QZ,QW",
     "Points in a turned box: centre, half sizes along its axes, rotation as a quaternion", 10},
    {ShapeKind::Sphere, "--sphere", "X,Y,Z,R", "Points in a ball: centre, radius", 4},
    {ShapeKind::Cylinder, "--cylinder", "OX,OY,OZ,DX,DY,DZ,R",
     "Points around an endless line: a point on it, its direction, radius", 7},
    {ShapeKind::CylinderFinite, "--cylinder-finite", "X1,Y1,Z1,X2,Y2,Z2,R",
     "Points around a segment, between its ends: start, end, radius", 7},
    {ShapeKind::Rectangle, "--rectangle", "MINX,MINY,MAXX,MAXY",
     "Points of any height over a rectangle, edges included", 4},
    {ShapeKind::OrientedRectangle, "--oriented-rectangle", "CX,CY,HX,HY,ANGLE",
     "Points of any height over a turned rectangle: centre, half sizes, angle in radians, counter-clockwise",
     5},
    {ShapeKind::Circle, "--circle", "X,Y,R", "Points of any height over a disc: centre, radius", 3},
    {ShapeKind::Polygon, "--polygon", "X1,Y1,X2,Y2,...",
     "Points of any height over a polygon (even-odd rule): its vertices, the last joined to the first", 0},
}};

constexpr std::size_t kLeastVertices = 3;

[[noreturn]] void refuse(const ShapeOption& option, const std::string& why) {
  throw CallError(std::string(option.name) + ": " + why);
}

void checkCount(const ShapeOption& option, std::size_t count) {
  const std::string found = std::to_string(count) + (count == 1 ? " number" : " numbers");
  if (option.count == 0) {
    if (count % 2 != 0) refuse(option, "expected x and y of each vertex, found " + found);
    if (count < 2 * kLeastVertices) refuse(option, "expected at least 3 vertices, found " + found);
  } else if (count != option.count) {
    refuse(option, "expected the " + std::to_string(option.count) + " numbers " + option.form + ", found " +
                       std::to_string(count));
  }
}

bool hasRadius(ShapeKind kind) {
  return kind == ShapeKind::Sphere || kind == ShapeKind::Cylinder || kind == ShapeKind::CylinderFinite ||
         kind == ShapeKind::Circle;
}

bool allZero(std::span<const double> values) {
  return std::all_of(values.begin(), values.end(), [](double value) { return value == 0; });
}

float narrow(double value) {
  constexpr auto kMost = static_cast<double>(std::numeric_limits<float>::max());
  return static_cast<float>(std::clamp(value, -kMost, kMost));
}

/// Hands out the numbers of a shape one group after the other.
class Groups {
 public:
  Groups(std::span<const double> numbers, const std::array<double, 3>& origin)
      : numbers_(numbers), origin_(origin) {}

  /// The next point of N coordinates, in the octree frame.
  template <std::size_t N>
  std::array<float, N> point() {
    std::array<float, N> point{};
    for (std::size_t axis = 0; axis < N; ++axis) point[axis] = narrow(next() - origin_[axis]);
    return point;
  }

  /// The next N sizes.
  template <std::size_t N>
  std::array<float, N> sizes() {
    std::array<float, N> sizes{};
    for (float& size : sizes) size = narrow(next());
    return sizes;
  }

  /// The next N numbers as a vector of length 1.
  template <std::size_t N>
  std::array<float, N> unitVector() {
    double length = 0;
    for (const double value : numbers_.first(N)) length = std::hypot(length, value);
    std::array<float, N> vector{};
    for (float& element : vector) element = narrow(next() / length);
    return vector;
  }

  float size() { return narrow(next()); }

  [[nodiscard]] bool done() const { return numbers_.empty(); }

 private:
  double next() {
    const double value = numbers_.front();
    numbers_ = numbers_.subspan(1);
    return value;
  }

  std::span<const double> numbers_;
  const std::array<double, 3>& origin_;
};

Sorvik::OrientedBoundingBox orientedBox(Groups groups) {
  const auto center = groups.point<3>();
  const auto halfSize = groups.sizes<3>();
  Sorvik::OrientedBoundingBox box(center, halfSize);
  box.setRotationByQuaternion(groups.unitVector<4>());
  return box;
}

Sorvik::Cylinder cylinder(Groups groups) {
  const auto origin = groups.point<3>();
  const auto direction = groups.unitVector<3>();
  return {origin, direction, groups.size()};
}

Sorvik::CylinderFinite cylinderFinite(Groups groups) {
  const auto start = groups.point<3>();
  const auto end = groups.point<3>();
  return {start, end, groups.size()};
}

Sorvik::OrientedBoundingRectangle orientedRectangle(Groups groups) {
  const auto center = groups.point<2>();
  const auto halfSize = groups.sizes<2>();
  return {center, halfSize, groups.size()};
}

Sorvik::Polygon polygon(Groups groups) {
  std::vector<float> vertices;
  while (!groups.done()) {
    const auto vertex = groups.point<2>();
    vertices.insert(vertices.end(), vertex.begin(), vertex.end());
  }
  return Sorvik::Polygon(vertices);
}

/// Two groups of N coordinates make a box, N coordinates and a radius a ball.
template <class Box, std::size_t N>
Box box(Groups groups) {
  const auto minimum = groups.point<N>();
  const auto maximum = groups.point<N>();
  return {minimum, maximum};
}

template <class Ball, std::size_t N>
Ball ball(Groups groups) {
  const auto center = groups.point<N>();
  return {center, groups.size()};
}

}  // namespace

std::span<const ShapeOption> shapeOptions() { return kOptions; }

ShapeArgument parseShape(const ShapeOption& option, std::string_view text) {
  ShapeArgument argument{option.kind, parseNumbers(option.name, text)};
  const std::span<const double> numbers = argument.numbers;
  checkCount(option, numbers.size());
  if (hasRadius(option.kind) && numbers.back() < 0) refuse(option, "the radius is negative");
  if (option.kind == ShapeKind::Cylinder && allZero(numbers.subspan(3, 3))) {
    refuse(option, "the direction has no length");
  }
  if (option.kind == ShapeKind::OrientedBox && allZero(numbers.subspan(6, 4))) {
    refuse(option, "the quaternion has no length");
  }
  return argument;
}

Shape makeShape(const ShapeArgument& argument, const std::array<double, 3>& origin) {
  const Groups groups(argument.numbers, origin);
  switch (argument.kind) {
    case ShapeKind::Box:
      return box<Sorvik::BoundingBox, 3>(groups);
    case ShapeKind::OrientedBox:
      return orientedBox(groups);
    case ShapeKind::Sphere:
      return ball<Sorvik::Sphere, 3>(groups);
    case ShapeKind::Cylinder:
      return cylinder(groups);
    case ShapeKind::CylinderFinite:
      return cylinderFinite(groups);
    case ShapeKind::Rectangle:
      return box<Sorvik::BoundingRectangle, 2>(groups);
    case ShapeKind::OrientedRectangle:
      return orientedRectangle(groups);
    case ShapeKind::Circle:
      return ball<Sorvik::Circle, 2>(groups);
    case ShapeKind::Polygon:
      break;
  }
  return polygon(groups);
}

}  // namespace Program
