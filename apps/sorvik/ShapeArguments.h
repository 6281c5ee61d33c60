#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

#include "Sorvik/BoundingBox.h"
#include "Sorvik/BoundingRectangle.h"
#include "Sorvik/Circle.h"
#include "Sorvik/Cylinder.h"
#include "Sorvik/CylinderFinite.h"
#include "Sorvik/OrientedBoundingBox.h"
#include "Sorvik/OrientedBoundingRectangle.h"
#include "Sorvik/Polygon.h"
#include "Sorvik/Sphere.h"

namespace Program {

/// The shapes that select points.
enum class ShapeKind {
  Box,
  OrientedBox,
  Sphere,
  Cylinder,
  CylinderFinite,
  Rectangle,
  OrientedRectangle,
  Circle,
  Polygon
};

/// The option that gives a shape.
struct ShapeOption {
  ShapeKind kind;
  const char* name;   ///< "--sphere"
  const char* form;   ///< its numbers, as help and messages name them: "X,Y,Z,R"
  const char* help;   ///< what it selects
  std::size_t count;  ///< how many numbers; 0: any number of x, y pairs, from three on
};

/// All of them, in the order of the help.
[[nodiscard]] std::span<const ShapeOption> shapeOptions();

/// The numbers of a shape, checked: in double and in the frame of the caller, for floats hold world
/// coordinates to a few centimetres only.
struct ShapeArgument {
  ShapeKind kind;
  std::vector<double> numbers;  ///< in the order of ShapeOption::form; angles in radians

  bool operator==(const ShapeArgument&) const = default;
};

/// Reads the text of a shape option.
/// @throws CallError naming the option: a text that is no list of finite numbers, a wrong count of them, a
///         negative radius, a direction or quaternion without length. Boxes with a minimum above the maximum
///         are taken as they are: they hold nothing.
[[nodiscard]] ShapeArgument parseShape(const ShapeOption& option, std::string_view text);

using Shape = std::variant<Sorvik::BoundingBox, Sorvik::OrientedBoundingBox, Sorvik::Sphere, Sorvik::Cylinder,
                           Sorvik::CylinderFinite, Sorvik::BoundingRectangle,
                           Sorvik::OrientedBoundingRectangle, Sorvik::Circle, Sorvik::Polygon>;

/// The shape in the octree frame: positions less @p origin, in double, then narrowed to float. Directions and
/// quaternions are made unit vectors.
/// @param argument  a result of parseShape().
/// @param origin    the octree frame's origin in the frame of the argument.
[[nodiscard]] Shape makeShape(const ShapeArgument& argument, const std::array<double, 3>& origin);

}  // namespace Program
