// A byte that chooses the option, then its text: refused by a CallError, or a shape of the octree frame whose
// numbers are finite and which answers for any point.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <variant>

#include "sorvik/CallError.h"
#include "sorvik/ShapeArguments.h"

namespace {

using Sorvik::Span;

bool allFinite(Span<const float> values) {
  return std::all_of(values.begin(), values.end(), [](float value) { return std::isfinite(value); });
}

bool isFinite(const Sorvik::BoundingBox& box) { return allFinite(box.minimum()) && allFinite(box.maximum()); }
bool isFinite(const Sorvik::BoundingRectangle& rectangle) {
  return allFinite(rectangle.minimum()) && allFinite(rectangle.maximum());
}
bool isFinite(const Sorvik::OrientedBoundingBox& box) {
  return allFinite(box.center()) && allFinite(box.halfSize()) && allFinite(box.rotationMatrix33());
}
bool isFinite(const Sorvik::OrientedBoundingRectangle& rectangle) {
  return allFinite(rectangle.center()) && allFinite(rectangle.halfSize()) &&
         allFinite(rectangle.rotationMatrix22());
}
bool isFinite(const Sorvik::Sphere& sphere) {
  return allFinite(sphere.center()) && std::isfinite(sphere.radius()) && sphere.radius() >= 0;
}
bool isFinite(const Sorvik::Circle& circle) {
  return allFinite(circle.center()) && std::isfinite(circle.radius()) && circle.radius() >= 0;
}
bool isFinite(const Sorvik::Cylinder& cylinder) {
  const Span<const float> direction = cylinder.direction();
  const float length = std::hypot(direction[0], direction[1], direction[2]);
  return allFinite(cylinder.origin()) && std::abs(length - 1) < 1e-5F && std::isfinite(cylinder.radius());
}
bool isFinite(const Sorvik::CylinderFinite& cylinder) {
  return allFinite(cylinder.start()) && allFinite(cylinder.end()) && std::isfinite(cylinder.radius());
}
bool isFinite(const Sorvik::Polygon& polygon) {
  for (std::uint64_t i = 0; i <= polygon.numVertices(); ++i) {
    if (!allFinite(polygon.vertex(i))) return false;
  }
  return polygon.numVertices() >= 3;
}

template <class Shape>
constexpr std::size_t kDimensions = 3;
template <>
constexpr std::size_t kDimensions<Sorvik::BoundingRectangle> = 2;
template <>
constexpr std::size_t kDimensions<Sorvik::OrientedBoundingRectangle> = 2;
template <>
constexpr std::size_t kDimensions<Sorvik::Circle> = 2;
template <>
constexpr std::size_t kDimensions<Sorvik::Polygon> = 2;

template <class Shape>
void check(const Shape& shape) {
  if (!isFinite(shape)) std::abort();
  const std::array<float, 3> point{1, 2, 3};
  (void)shape.inside(Span<const float>(point.data(), kDimensions<Shape>));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const auto options = Program::shapeOptions();
  const Program::ShapeOption& option = options[data[0] % options.size()];
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  try {
    const Program::ShapeArgument argument = Program::parseShape(option, text);
    std::visit([](const auto& shape) { check(shape); },
               Program::makeShape(argument, {-844'161.69, 5'456'000, 200}));
  } catch (const Program::CallError&) {  // the only way to refuse
  }
  return 0;
}
